// The logging operations of a logger.
#include <android/log.h>

#include <utility>

#include "PackedTexts.h"
#include "StreamDescription.h"
#include "kiv/TelemetryLogger.h"

namespace android::kiv {

// Each operation that builds an event hands itself over to the worker, where the same call, on the
// same object, does the work.

void TelemetryLogger::handOver(std::function<void()> task) {
  if (submission_model_ == TelemetrySubmissionModel::BLOCKING) {
    task_runner_->postTaskAndWait(std::move(task));
  } else {
    task_runner_->postTask(std::move(task));
  }
}

template <typename Event>
void TelemetryLogger::take(TimedAggregationManager<Event>& manager, const Event& event) {
  manager.add(event);
  if (submission_model_ == TelemetrySubmissionModel::LOCKING_IMMEDIATE) manager.flush();
}

void TelemetryLogger::logErrorCode(const std::string& error_code, const std::string& api,
                                   KivErrorSeverity severity, const std::string& kiv_class) {
  ensureLoggerRespectsTelemetrySubmissionModel();
  if (!worksOnCurrentThread()) {
    handOver([self = shared_from_this(), texts = PackedTexts{error_code, api, kiv_class},
              severity] { self->logErrorCode(texts[0], texts[1], severity, texts[2]); });
    return;
  }
  __android_log_print(ANDROID_LOG_ERROR, kiv_class.c_str(), "%s - %s", api.c_str(),
                      error_code.c_str());
  take(*error_code_manager_,
       KivErrorCodeEvent{session_id_, api, kiv_class.empty() ? logger_name_ : kiv_class, error_code,
                         severity});
}

void TelemetryLogger::logKivErrorCode(KivError error, const std::string& api,
                                      KivErrorSeverity severity, const std::string& kiv_class) {
  logErrorCode("kiv." + kivErrorToString(error), api, severity, kiv_class);
}

void TelemetryLogger::logKivErrorCode(KivError error, int detail, const std::string& api,
                                      KivErrorSeverity severity, const std::string& kiv_class) {
  logErrorCode("kiv." + kivErrorToString(error) + "=" + std::to_string(detail), api, severity,
               kiv_class);
}

void TelemetryLogger::logAndroidStatusErrorCode(int status, const std::string& api,
                                                KivErrorSeverity severity) {
  logErrorCode("android." + statusToString(status), api, severity, std::string());
}

void TelemetryLogger::logStreamEvent(const ::kiv::KivPcmInfo& pcm_info,
                                     ::kiv::KivStreamType stream_type, const std::string& event) {
  logStreamEventInternal(toExtended(pcm_info), stream_type, event);
}

void TelemetryLogger::logStreamEvent(const KivPcmInfoExt& pcm_info,
                                     ::kiv::KivStreamType stream_type, const std::string& event) {
  logStreamEventInternal(pcm_info, stream_type, event);
}

void TelemetryLogger::logStreamEventInternal(const KivPcmInfoExt& pcm_info,
                                             ::kiv::KivStreamType stream_type,
                                             const std::string& event) {
  ensureLoggerRespectsTelemetrySubmissionModel();
  if (!worksOnCurrentThread()) {
    handOver([self = shared_from_this(), pcm_info, stream_type, texts = PackedTexts{event}] {
      self->logStreamEventInternal(pcm_info, stream_type, texts[0]);
    });
    return;
  }
  take(*stream_event_manager_,
       makeStreamRecord<KivStreamEvent>(session_id_, pcm_info, stream_type, event));
}

void TelemetryLogger::logAudioLatency(const ::kiv::KivPcmInfo& pcm_info,
                                      ::kiv::KivStreamType stream_type,
                                      std::chrono::milliseconds latency) {
  logAudioLatencyInternal(toExtended(pcm_info), stream_type, latency);
}

void TelemetryLogger::logAudioLatency(const KivPcmInfoExt& pcm_info,
                                      ::kiv::KivStreamType stream_type,
                                      std::chrono::milliseconds latency) {
  logAudioLatencyInternal(pcm_info, stream_type, latency);
}

void TelemetryLogger::logAudioLatencyInternal(const KivPcmInfoExt& pcm_info,
                                              ::kiv::KivStreamType stream_type,
                                              std::chrono::milliseconds latency) {
  ensureLoggerRespectsTelemetrySubmissionModel();
  if (!worksOnCurrentThread()) {
    // Latency samples come from audio callbacks of loggers that outlive their streams: unlike the
    // other reports they do not share in owning the logger.
    task_runner_->postTask(submission_model_ == TelemetrySubmissionModel::BLOCKING,
                           &TelemetryLogger::logAudioLatencyInternal, this, pcm_info, stream_type,
                           latency);
    return;
  }
  take(*audio_latency_manager_,
       makeStreamRecord<KivAudioLatencyEvent>(session_id_, pcm_info, stream_type, latency));
}

template <typename T>
void TelemetryLogger::takeKivEvent(const Manager<KivGenericEvent<T>>& manager,
                                   const std::string& name, const T& value,
                                   NumericAggregationType aggregation_type) {
  ensureLoggerRespectsTelemetrySubmissionModel();
  if (!worksOnCurrentThread()) {
    if constexpr (std::is_same_v<T, std::string>) {
      handOver([self = shared_from_this(), texts = PackedTexts{name, value}, aggregation_type] {
        self->logKivEvent<T>(texts[0], texts[1], aggregation_type);
      });
    } else {
      handOver([self = shared_from_this(), texts = PackedTexts{name}, value, aggregation_type] {
        self->logKivEvent<T>(texts[0], value, aggregation_type);
      });
    }
    return;
  }
  take(*manager, KivGenericEvent<T>{{session_id_, name, aggregation_type}, value});
}

template <>
void TelemetryLogger::logKivEvent<long long>(const std::string& name, const long long& value,
                                             NumericAggregationType aggregation_type) {
  takeKivEvent(int64_event_manager_, name, value, aggregation_type);
}

template <>
void TelemetryLogger::logKivEvent<float>(const std::string& name, const float& value,
                                         NumericAggregationType aggregation_type) {
  takeKivEvent(float_event_manager_, name, value, aggregation_type);
}

template <>
void TelemetryLogger::logKivEvent<std::string>(const std::string& name, const std::string& value,
                                               NumericAggregationType aggregation_type) {
  takeKivEvent(string_event_manager_, name, value, aggregation_type);
}

void TelemetryLogger::logKivClientCall(const std::string& api, const std::string& value) {
  logKivEvent<std::string>("client_api_call." + api, value, NumericAggregationType::COUNT);
}

}  // namespace android::kiv
