-- Views for lnav's SQL prompt, besides the table of all events: one for each kind of event, with its
-- own columns.

CREATE VIEW IF NOT EXISTS kiv_errors AS
SELECT log_line, log_time, log_level, aggregated_count, kiv_class, kiv_api, kiv_error_code,
       kiv_session_id
FROM kivtelemetry WHERE event = 'wexo_kiv_error_code';

CREATE VIEW IF NOT EXISTS kiv_streams AS
SELECT log_line, log_time, aggregated_count, kiv_event, stream_type, pcm_format, sample_rate,
       channels, samples, interleaved, kiv_session_id
FROM kivtelemetry WHERE event = 'wexo_kiv_stream_event';

-- The library says how many samples were taken, and not what they were.
CREATE VIEW IF NOT EXISTS kiv_audio_latencies AS
SELECT log_line, log_time, aggregated_count, aggregation_method, kiv_session_id
FROM kivtelemetry WHERE event = '';

CREATE VIEW IF NOT EXISTS kiv_traces AS
SELECT log_line, log_time, aggregated_count, substr(kiv_event_name, 16) AS api,
       value_int AS mean_us, kiv_session_id
FROM kivtelemetry
WHERE event = 'wexo_kiv_generic' AND substr(kiv_event_name, 1, 15) = 'api_latency_us.';

CREATE VIEW IF NOT EXISTS kiv_client_calls AS
SELECT log_line, log_time, aggregated_count, substr(kiv_event_name, 17) AS api,
       value_string AS result, kiv_session_id
FROM kivtelemetry
WHERE event = 'wexo_kiv_generic' AND substr(kiv_event_name, 1, 16) = 'client_api_call.';

CREATE VIEW IF NOT EXISTS kiv_values AS
SELECT log_line, log_time, aggregated_count, kiv_event_name, aggregation_method, value_int,
       value_float, value_string, kiv_session_id
FROM kivtelemetry
WHERE event = 'wexo_kiv_generic' AND substr(kiv_event_name, 1, 15) != 'api_latency_us.'
  AND substr(kiv_event_name, 1, 16) != 'client_api_call.';
