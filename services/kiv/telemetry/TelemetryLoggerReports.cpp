// The logging operations of a logger.
#include <android/log.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "kiv/EventNames.h"
#include "kiv/TelemetryLogger.h"
#include "services/kiv/telemetry/TaskStrings.h"
#include "services/kiv/telemetry/aggregation/Reports.h"
#include "services/kiv/telemetry/aggregation/WindowAccess.h"
#include "services/kiv/telemetry/vocabulary/StreamDescriptors.h"
#include "tamsa/ModuleReadiness.h"

namespace android::kiv {

using internal::AudioLatencyReport;
using internal::ErrorCodeReport;
using internal::ReportedStream;
using internal::ScratchStrings;
using internal::StreamEventReport;
using internal::TaskStrings;
using internal::ValueReport;

namespace {

constexpr char kLogTag[] = "KivTelemetry";

/// The Android log's own limit for a formatted line, behind which it cuts.
constexpr size_t kLogLimit = 1024;

[[noreturn, gnu::noinline]] void abortWithoutOwner() {
  __android_log_assert("owner", kLogTag,
                       "A TelemetryLogger that no std::shared_ptr owns cannot queue a report");
}

/// The owner that a queued report shares. `shared_from_this()` would abort without a log line.
std::shared_ptr<TelemetryLogger> ownerOf(TelemetryLogger& logger) {
  auto owner = logger.weak_from_this().lock();
  if (owner == nullptr) abortWithoutOwner();
  return owner;
}

/// Writes "API - CODE". The log formats the line when it is complete: that takes fewer instructions
/// than giving it the two texts.
void writeErrorLine(const std::string& tag, const std::string& api, const std::string& error_code) {
  char line[kLogLimit];
  char* end = line;
  for (const char* text : {api.c_str(), " - ", error_code.c_str()}) {
    const auto room = static_cast<size_t>(std::end(line) - end) - 1;
    end = std::copy_n(text, std::min(std::strlen(text), room), end);
  }
  *end = '\0';
  if (tag.size() < kLogLimit) {
    __android_log_print(ANDROID_LOG_ERROR, tag.c_str(), "%s", line);
  } else {
    __android_log_print(ANDROID_LOG_ERROR, tag.substr(0, kLogLimit - 1).c_str(), "%s", line);
  }
}

// Calls of an operation for the worker. Types with names, because the library has the name of each
// type that a std::function holds, and a lambda's has the whole signature of its function in it.

struct ErrorCodeTask {
  std::shared_ptr<TelemetryLogger> logger;
  TaskStrings texts;
  KivErrorSeverity severity;

  void operator()() const {
    const ScratchStrings strings(texts);
    logger->logErrorCode(strings[0], strings[1], severity, strings[2]);
  }
};

struct StreamEventTask {
  std::shared_ptr<TelemetryLogger> logger;
  TaskStrings texts;
  KivPcmInfoExt pcm_info;
  ::kiv::KivStreamType stream_type;

  void operator()() const {
    const ScratchStrings strings(texts);
    logger->logStreamEventInternal(pcm_info, stream_type, strings[0]);
  }
};

struct TextTask {
  std::shared_ptr<TelemetryLogger> logger;
  TaskStrings texts;
  NumericAggregationType aggregation_type;

  void operator()() const {
    const ScratchStrings strings(texts);
    logger->logKivEvent<std::string>(strings[0], strings[1], aggregation_type);
  }
};

template <typename T>
struct NumberTask {
  std::shared_ptr<TelemetryLogger> logger;
  TaskStrings texts;
  T value;
  NumericAggregationType aggregation_type;

  void operator()() const {
    const ScratchStrings strings(texts);
    logger->logKivEvent<T>(strings[0], value, aggregation_type);
  }
};

}  // namespace

// Off the worker, each operation posts a call of itself, which does the work on the worker.

void TelemetryLogger::postToWorker(std::function<void()> task) {
  if (submission_model_ == TelemetrySubmissionModel::BLOCKING) {
    if (prepareToWait()) task_runner_->postTaskAndWait(std::move(task));
  } else {
    task_runner_->postTask(std::move(task));
  }
}

template <typename Report>
void TelemetryLogger::recordReport(TimedAggregationManager<typename Report::Event>& manager,
                                   const Report& report) {
  internal::WindowAccess::add(manager, report);
  if (submission_model_ != TelemetrySubmissionModel::LOCKING_IMMEDIATE) return;
  if (prepareToSubmit()) {
    manager.flush();
  } else if (!TAMSA::UnifiedTelemetry::isPreparingModule()) {
    internal::WindowAccess::begin(manager);
  }
}

void TelemetryLogger::logErrorCode(const std::string& error_code, const std::string& api,
                                   KivErrorSeverity severity, const std::string& kiv_class) {
  ensureLoggerRespectsTelemetrySubmissionModel();
  if (!worksOnCurrentThread()) {
    postToWorker(ErrorCodeTask{ownerOf(*this), TaskStrings{error_code, api, kiv_class}, severity});
    return;
  }
  writeErrorLine(kiv_class, api, error_code);
  const std::string& reporting_class = kiv_class.empty() ? logger_name_ : kiv_class;
  recordReport(*managers_.error_code_manager_,
               ErrorCodeReport{session_id_, api, reporting_class, error_code, severity});
}

void TelemetryLogger::logKivErrorCode(KivError error, const std::string& api,
                                      KivErrorSeverity severity, const std::string& kiv_class) {
  logErrorCode(event_names::kKivErrorPrefix + kivErrorToString(error), api, severity, kiv_class);
}

void TelemetryLogger::logKivErrorCode(KivError error, int detail, const std::string& api,
                                      KivErrorSeverity severity, const std::string& kiv_class) {
  logErrorCode(
      event_names::kKivErrorPrefix + kivErrorToString(error) + "=" + std::to_string(detail), api,
      severity, kiv_class);
}

void TelemetryLogger::logAndroidStatusErrorCode(int status, const std::string& api,
                                                KivErrorSeverity severity) {
  logErrorCode(event_names::kAndroidStatusPrefix + statusToString(status), api, severity,
               std::string());
}

void TelemetryLogger::logStreamEvent(const ::kiv::KivPcmInfo& pcm_info,
                                     ::kiv::KivStreamType stream_type, const std::string& event) {
  logStreamEventInternal(internal::toExtended(pcm_info), stream_type, event);
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
    postToWorker(StreamEventTask{ownerOf(*this), TaskStrings{event}, pcm_info, stream_type});
    return;
  }
  recordReport(*managers_.stream_event_manager_,
               StreamEventReport{ReportedStream::of(session_id_, pcm_info, stream_type), event});
}

void TelemetryLogger::logAudioLatency(const ::kiv::KivPcmInfo& pcm_info,
                                      ::kiv::KivStreamType stream_type,
                                      std::chrono::milliseconds latency) {
  logAudioLatencyInternal(internal::toExtended(pcm_info), stream_type, latency);
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
    if (waits && !prepareToWait()) return;
    task_runner_->postTask(waits, &TelemetryLogger::logAudioLatencyInternal, this, pcm_info,
                           stream_type, latency);
    return;
  }
  recordReport(*managers_.audio_latency_manager_,
               AudioLatencyReport{ReportedStream::of(session_id_, pcm_info, stream_type), latency});
}

template <typename T>
void TelemetryLogger::recordKivEvent(const Manager<KivGenericEvent<T>>& manager,
                                     std::string_view prefix, const std::string& name,
                                     const T& value, NumericAggregationType aggregation_type) {
  ensureLoggerRespectsTelemetrySubmissionModel();
  if (!worksOnCurrentThread()) {
    if constexpr (std::is_same_v<T, std::string>) {
      postToWorker(TextTask{ownerOf(*this), TaskStrings({name, value}, prefix), aggregation_type});
    } else {
      postToWorker(
          NumberTask<T>{ownerOf(*this), TaskStrings({name}, prefix), value, aggregation_type});
    }
    return;
  }
  if (prefix.empty()) {
    recordReport(*manager, ValueReport<T>{session_id_, name, aggregation_type, value});
  } else {
    const TaskStrings full_name({name}, prefix);
    recordReport(*manager, ValueReport<T>{session_id_, full_name[0], aggregation_type, value});
  }
}

template void TelemetryLogger::recordKivEvent<long long>(const Manager<KivGenericEvent<long long>>&,
                                                         std::string_view, const std::string&,
                                                         const long long&, NumericAggregationType);

template <>
void TelemetryLogger::logKivEvent<long long>(const std::string& name, const long long& value,
                                             NumericAggregationType aggregation_type) {
  recordKivEvent(managers_.int64_event_manager_, {}, name, value, aggregation_type);
}

template <>
void TelemetryLogger::logKivEvent<float>(const std::string& name, const float& value,
                                         NumericAggregationType aggregation_type) {
  recordKivEvent(managers_.float_event_manager_, {}, name, value, aggregation_type);
}

template <>
void TelemetryLogger::logKivEvent<std::string>(const std::string& name, const std::string& value,
                                               NumericAggregationType aggregation_type) {
  recordKivEvent(managers_.string_event_manager_, {}, name, value, aggregation_type);
}

void TelemetryLogger::logKivClientCall(const std::string& api, const std::string& value) {
  recordKivEvent(managers_.string_event_manager_, event_names::kClientCallPrefix, api, value,
                 NumericAggregationType::COUNT);
}

}  // namespace android::kiv
