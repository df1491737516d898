/// One report of each kind, as views of what its caller passed. A report gives the key, method and
/// sample under which it is aggregated, and the record that a client's aggregator takes instead.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "kiv/KivAudioLatencyAggregator.h"
#include "kiv/KivErrorCodeAggregator.h"
#include "kiv/KivGenericEventAggregator.h"
#include "kiv/KivStreamEventAggregator.h"
#include "services/kiv/telemetry/aggregation/AggregationKey.h"
#include "services/kiv/telemetry/aggregation/EventSchema.h"
#include "services/kiv/telemetry/vocabulary/SaturatingCast.h"

namespace android::kiv::internal {

struct ErrorCodeReport {
  using Event = KivErrorCodeEvent;
  static constexpr const EventSchema& kSchema = kErrorCodeSchema;

  static ErrorCodeReport of(const Event& event) {
    return {event.session_id, event.api, event.kiv_class, event.error_code, event.severity};
  }

  AggregationKey key() const {
    return {&session, {static_cast<uint32_t>(severity)}, {api, kiv_class, error_code}};
  }
  static NumericAggregationType method() { return NumericAggregationType::COUNT; }
  static float sample() { return 1; }
  Event event() const {
    return {session, std::string(api), std::string(kiv_class), std::string(error_code), severity};
  }

  const KivSessionId& session;
  std::string_view api;
  std::string_view kiv_class;
  std::string_view error_code;
  KivErrorSeverity severity;
};

/// The stream that a report is about.
struct ReportedStream {
  static ReportedStream of(const KivSessionId& session, const KivPcmInfoExt& pcm_info,
                           ::kiv::KivStreamType stream_type) {
    return {session,
            pcm_info.format,
            stream_type,
            saturatingCast<uint32_t>(pcm_info.sampleRate),
            pcm_info.samples,
            pcm_info.channels,
            pcm_info.interleaved};
  }

  /// From an event or a key, which start with the seven fields of a stream.
  template <typename Record>
  static ReportedStream of(const Record& record) {
    return {record.session, record.format,   record.streamType, record.sampleRate,
            record.samples, record.channels, record.interleaved};
  }

  AggregationKey key(std::string_view event = {}) const {
    return {&session,
            {static_cast<uint32_t>(format), static_cast<uint32_t>(type) ^ StreamKey::kTypeSign,
             sample_rate, samples, channels, static_cast<uint32_t>(interleaved)},
            {event}};
  }

  /// A record that starts with the seven fields and ends with `rest`.
  template <typename Record, typename Rest>
  Record record(Rest rest) const {
    return {session, format, type, sample_rate, samples, channels, interleaved, std::move(rest)};
  }

  const KivSessionId& session;
  audio_format_t format;
  ::kiv::KivStreamType type;
  uint32_t sample_rate;
  uint32_t samples;
  uint32_t channels;
  bool interleaved;
};

struct StreamEventReport {
  using Event = KivStreamEvent;
  static constexpr const EventSchema& kSchema = kStreamEventSchema;

  static StreamEventReport of(const Event& event) {
    return {ReportedStream::of(event), event.event};
  }

  AggregationKey key() const { return stream.key(name); }
  static NumericAggregationType method() { return NumericAggregationType::COUNT; }
  static float sample() { return 1; }
  Event event() const { return stream.record<Event>(std::string(name)); }

  ReportedStream stream;
  std::string_view name;
};

struct AudioLatencyReport {
  using Event = KivAudioLatencyEvent;
  static constexpr const EventSchema& kSchema = kAudioLatencySchema;

  static AudioLatencyReport of(const Event& event) {
    return {ReportedStream::of(event), event.latency};
  }

  AggregationKey key() const { return stream.key(); }
  static NumericAggregationType method() { return NumericAggregationType::AVG; }
  float sample() const { return static_cast<float>(static_cast<uint32_t>(latency.count())); }
  Event event() const { return stream.record<Event>(latency); }

  ReportedStream stream;
  std::chrono::milliseconds latency;
};

/// The key of named values. Texts have their value in it.
inline AggregationKey valueKey(const KivSessionId& session, std::string_view name,
                               NumericAggregationType method, std::string_view value = {}) {
  return {&session, {static_cast<uint32_t>(method)}, {name, value}};
}

/// `T` is `long long` or `float`.
template <typename T>
struct ValueReport {
  using Event = KivGenericEvent<T>;
  static constexpr const EventSchema& kSchema =
      std::is_same_v<T, float> ? kFloatValueSchema : kIntegerValueSchema;

  static ValueReport of(const Event& event) {
    return {event.session, event.name, event.aggregationType, event.value};
  }

  AggregationKey key() const { return valueKey(session, name, aggregation_type); }
  NumericAggregationType method() const { return aggregation_type; }
  float sample() const { return static_cast<float>(value); }
  Event event() const { return {{session, std::string{name}, aggregation_type}, value}; }

  const KivSessionId& session;
  std::string_view name;
  NumericAggregationType aggregation_type;
  T value;
};

template <>
struct ValueReport<std::string> {
  using Event = KivGenericEvent<std::string>;
  static constexpr const EventSchema& kSchema = kTextValueSchema;

  static ValueReport of(const Event& event) {
    return {event.session, event.name, event.aggregationType, event.value};
  }

  AggregationKey key() const { return valueKey(session, name, aggregation_type, value); }
  static NumericAggregationType method() { return NumericAggregationType::COUNT; }
  static float sample() { return 1; }
  Event event() const {
    return {{session, std::string(name), aggregation_type}, std::string(value)};
  }

  const KivSessionId& session;
  std::string_view name;
  NumericAggregationType aggregation_type;
  std::string_view value;
};

/// The report type of an event.
template <typename Event>
struct ReportOf;
template <>
struct ReportOf<KivErrorCodeEvent> {
  using Type = ErrorCodeReport;
};
template <>
struct ReportOf<KivStreamEvent> {
  using Type = StreamEventReport;
};
template <>
struct ReportOf<KivAudioLatencyEvent> {
  using Type = AudioLatencyReport;
};
template <typename T>
struct ReportOf<KivGenericEvent<T>> {
  using Type = ValueReport<T>;
};

}  // namespace android::kiv::internal
