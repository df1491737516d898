// The logging operations of a logger.
#include <android/log.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "kiv/TelemetryLogger.h"
#include "services/kiv/telemetry/TaskStrings.h"
#include "services/kiv/telemetry/aggregation/EventTraits.h"
#include "services/kiv/telemetry/vocabulary/StreamDescriptors.h"

namespace android::kiv {

namespace {

constexpr char kLogTag[] = "KivTelemetry";

/// The Android log's own limit for a formatted line, behind which it cuts.
constexpr size_t kLogLimit = 1024;

[[noreturn, gnu::noinline]] void abortWithoutOwner() {
  __android_log_assert("owner", kLogTag,
                       "A TelemetryLogger that no std::shared_ptr owns cannot queue a report");
}

/// The owner that a queued report shares. As `shared_from_this()`, which ends the process without a
/// line in the log. `weak_from_this()` would copy the weak pointer first, and count that twice.
[[gnu::always_inline]] inline std::shared_ptr<TelemetryLogger> ownerOf(TelemetryLogger& logger) {
  using Base = std::enable_shared_from_this<TelemetryLogger>;
  using Weak = std::weak_ptr<TelemetryLogger>;
  static_assert(sizeof(Base) == sizeof(Weak), "the base is a weak pointer and nothing else");
  auto owner = reinterpret_cast<const Weak&>(static_cast<const Base&>(logger)).lock();
  if (owner == nullptr) abortWithoutOwner();
  return owner;
}

/// Writes "API - CODE" as `__android_log_print` would, which spends most of its time on formatting.
void writeErrorLine(const std::string& tag, const std::string& api, const std::string& error_code) {
  char line[kLogLimit];
  char* end = line;
  for (const char* text : {api.c_str(), " - ", error_code.c_str()}) {
    const auto room = static_cast<size_t>(std::end(line) - end) - 1;
    end = std::copy_n(text, std::min(std::strlen(text), room), end);
  }
  *end = '\0';
  if (tag.size() < kLogLimit) {
    __android_log_write(ANDROID_LOG_ERROR, tag.c_str(), line);
  } else {
    __android_log_write(ANDROID_LOG_ERROR, tag.substr(0, kLogLimit - 1).c_str(), line);
  }
}

}  // namespace

// Each operation that builds an event hands itself over to the worker, where the same call, on the
// same object, does the work.

void TelemetryLogger::postToWorker(std::function<void()> task) {
  if (submission_model_ == TelemetrySubmissionModel::BLOCKING) {
    if (mayWaitForWorker()) task_runner_->postTaskAndWait(std::move(task));
  } else {
    task_runner_->postTask(std::move(task));
  }
}

template <typename Event, typename MakeEvent>
void TelemetryLogger::take(TimedAggregationManager<Event>& manager, const AggregationKey& key,
                           NumericAggregationType method, float sample,
                           const MakeEvent& make_event) {
  if (!manager.addReport(key, method, sample)) manager.add(make_event());
  if (submission_model_ == TelemetrySubmissionModel::LOCKING_IMMEDIATE) manager.flush();
}

void TelemetryLogger::logErrorCode(const std::string& error_code, const std::string& api,
                                   KivErrorSeverity severity, const std::string& kiv_class) {
  ensureLoggerRespectsTelemetrySubmissionModel();
  if (!worksOnCurrentThread()) {
    postToWorker(
        [self = ownerOf(*this), packed = TaskStrings{error_code, api, kiv_class}, severity] {
          const ScratchStrings texts(packed);
          self->logErrorCode(texts[0], texts[1], severity, texts[2]);
        });
    return;
  }
  writeErrorLine(kiv_class, api, error_code);
  const std::string& reporting_class = kiv_class.empty() ? logger_name_ : kiv_class;
  take(*error_code_manager_, ErrorCodeKey(session_id_, api, reporting_class, error_code, severity),
       NumericAggregationType::COUNT, 1, [&] {
         return KivErrorCodeEvent{session_id_, api, reporting_class, error_code, severity};
       });
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
    postToWorker([self = ownerOf(*this), pcm_info, stream_type, packed = TaskStrings{event}] {
      self->logStreamEventInternal(pcm_info, stream_type, ScratchStrings(packed)[0]);
    });
    return;
  }
  take(*stream_event_manager_, StreamEventKey(session_id_, pcm_info, stream_type, event),
       NumericAggregationType::COUNT, 1,
       [&] { return makeStreamRecord<KivStreamEvent>(session_id_, pcm_info, stream_type, event); });
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
    const bool waits = submission_model_ == TelemetrySubmissionModel::BLOCKING;
    if (waits && !mayWaitForWorker()) return;
    task_runner_->postTask(waits, &TelemetryLogger::logAudioLatencyInternal, this, pcm_info,
                           stream_type, latency);
    return;
  }
  take(*audio_latency_manager_, AudioLatencyKey(session_id_, pcm_info, stream_type),
       NumericAggregationType::AVG, static_cast<float>(static_cast<uint32_t>(latency.count())),
       [&] {
         return makeStreamRecord<KivAudioLatencyEvent>(session_id_, pcm_info, stream_type, latency);
       });
}

template <typename T>
void TelemetryLogger::recordKivEvent(const Manager<KivGenericEvent<T>>& manager,
                                     std::string_view prefix, const std::string& name,
                                     const T& value, NumericAggregationType aggregation_type) {
  ensureLoggerRespectsTelemetrySubmissionModel();
  if (!worksOnCurrentThread()) {
    if constexpr (std::is_same_v<T, std::string>) {
      postToWorker(
          [self = ownerOf(*this), packed = TaskStrings({name, value}, prefix), aggregation_type] {
            const ScratchStrings texts(packed);
            self->logKivEvent<T>(texts[0], texts[1], aggregation_type);
          });
    } else {
      postToWorker(
          [self = ownerOf(*this), packed = TaskStrings({name}, prefix), value, aggregation_type] {
            self->logKivEvent<T>(ScratchStrings(packed)[0], value, aggregation_type);
          });
    }
    return;
  }
  const std::string full_name = std::string(prefix).append(name);
  const auto make_event = [&] {
    return KivGenericEvent<T>{{session_id_, full_name, aggregation_type}, value};
  };
  if constexpr (std::is_same_v<T, std::string>) {
    take(*manager, GenericStringKey(session_id_, full_name, aggregation_type, value),
         NumericAggregationType::COUNT, 1, make_event);
  } else {
    take(*manager, GenericKey(session_id_, full_name, aggregation_type), aggregation_type,
         static_cast<float>(value), make_event);
  }
}

template void TelemetryLogger::recordKivEvent<long long>(const Manager<KivGenericEvent<long long>>&,
                                                         std::string_view, const std::string&,
                                                         const long long&, NumericAggregationType);

template <>
void TelemetryLogger::logKivEvent<long long>(const std::string& name, const long long& value,
                                             NumericAggregationType aggregation_type) {
  recordKivEvent(int64_event_manager_, {}, name, value, aggregation_type);
}

template <>
void TelemetryLogger::logKivEvent<float>(const std::string& name, const float& value,
                                         NumericAggregationType aggregation_type) {
  recordKivEvent(float_event_manager_, {}, name, value, aggregation_type);
}

template <>
void TelemetryLogger::logKivEvent<std::string>(const std::string& name, const std::string& value,
                                               NumericAggregationType aggregation_type) {
  recordKivEvent(string_event_manager_, {}, name, value, aggregation_type);
}

void TelemetryLogger::logKivClientCall(const std::string& api, const std::string& value) {
  recordKivEvent(string_event_manager_, "client_api_call.", api, value,
                 NumericAggregationType::COUNT);
}

}  // namespace android::kiv
