// Construction and lifecycle of a logger.
#include "kiv/TelemetryLogger.h"

#include <utility>

#include "services/kiv/telemetry/aggregation/AggregationManagers.h"
#include "services/kiv/telemetry/vocabulary/KivFatalCheck.h"

namespace android::kiv {

TelemetryLogger::TelemetryLogger(const KivSessionId& session_id, const std::string& name,
                                 std::shared_ptr<TaskRunnerThread> task_runner_thread,
                                 Manager<KivErrorCodeEvent> error_code_manager,
                                 Manager<KivStreamEvent> stream_event_manager,
                                 Manager<KivAudioLatencyEvent> audio_latency_manager,
                                 Manager<KivGenericEvent<long long>> int64_event_manager,
                                 Manager<KivGenericEvent<float>> float_event_manager,
                                 Manager<KivGenericEvent<std::string>> string_event_manager,
                                 TelemetrySubmissionModel submission_model)
    : session_id_(session_id),
      logger_name_(name),
      managers_{std::move(error_code_manager),    std::move(stream_event_manager),
                std::move(audio_latency_manager), std::move(int64_event_manager),
                std::move(float_event_manager),   std::move(string_event_manager)},
      submission_model_(submission_model),
      task_runner_thread_(std::move(task_runner_thread)) {
  task_runner_.emplace(task_runner_thread_);
  KIV_FATAL_CHECK_AT("services/kiv/telemetry/TelemetryLogger", 41,
                     submission_model != TelemetrySubmissionModel::LOCKING_IMMEDIATE,
                     "The TelemetryLogger constructor without logger managers should be used for a "
                     "submission model of LOCKING_IMMEDIATE");
  startOnConstruction();
}

TelemetryLogger::TelemetryLogger(const KivSessionId& session_id, const std::string& name,
                                 TelemetrySubmissionModel submission_model)
    : session_id_(session_id), logger_name_(name), submission_model_(submission_model) {
  if (submission_model_ != TelemetrySubmissionModel::LOCKING_IMMEDIATE) {
    const TelemetryLoggerManager& manager = TelemetryLoggerManager::getInstance();
    managers_ = manager.managers_;
    task_runner_thread_ = manager.task_runner_thread_;
    task_runner_.emplace(task_runner_thread_);
  } else {
    managers_ = internal::makeAggregationManagers();
  }
  startOnConstruction();
}

TelemetryLogger::TelemetryLogger() : TelemetryLogger(TelemetryLoggerManager::getInstance()) {}

TelemetryLogger::TelemetryLogger(TelemetryLoggerManager& manager)
    : TelemetryLogger(
          manager.session_id_, std::string(), manager.task_runner_thread_,
          manager.managers_.error_code_manager_, manager.managers_.stream_event_manager_,
          manager.managers_.audio_latency_manager_, manager.managers_.int64_event_manager_,
          manager.managers_.float_event_manager_, manager.managers_.string_event_manager_,
          TelemetrySubmissionModel::NON_BLOCKING) {}

TelemetryLogger::~TelemetryLogger() = default;

TraceHandler::~TraceHandler() = default;

bool TelemetryLogger::start() {
  ensureLoggerRespectsTelemetrySubmissionModel();
  if (!worksOnCurrentThread()) return callOnWorker(&TelemetryLogger::startInternal);
  return startInternal();
}

bool TelemetryLogger::stop() {
  ensureLoggerRespectsTelemetrySubmissionModel();
  if (!worksOnCurrentThread()) return submitOnWorker(&TelemetryLogger::stop);
  bool stopped = true;
  // Every manager is stopped, whatever the others return.
  internal::forEachManager(managers_,
                           [&stopped](auto& manager) { stopped = manager.stop() && stopped; });
  return stopped;
}

bool TelemetryLogger::flush() {
  ensureLoggerRespectsTelemetrySubmissionModel();
  if (!worksOnCurrentThread()) return submitOnWorker(&TelemetryLogger::flush);
  bool flushed = true;
  internal::forEachManager(managers_,
                           [&flushed](auto& manager) { flushed = manager.flush() && flushed; });
  return flushed;
}

bool TelemetryLogger::startInternal() {
  internal::forEachManager(managers_, [](auto& manager) { manager.start(); });
  return true;
}

void TelemetryLogger::ensureLoggerRespectsTelemetrySubmissionModel() {
  KIV_FATAL_CHECK_AT("services/kiv/telemetry/include/kiv/TelemetryLogger", 351,
                     submission_model_ == TelemetrySubmissionModel::LOCKING_IMMEDIATE ||
                         (task_runner_thread_ != nullptr && task_runner_ != std::nullopt),
                     "TelemetryLogger has a TelemetrySubmissionModel which requires a valid "
                     "TaskRunnerThread and TaskRunner member, but at least one is null");
}

bool TelemetryLogger::worksOnCurrentThread() const {
  return submission_model_ == TelemetrySubmissionModel::LOCKING_IMMEDIATE ||
         task_runner_->isRunningOnCurrentThread();
}

bool TelemetryLogger::callOnWorker(bool (TelemetryLogger::*operation)()) {
  // Shares the logger, if it is shared: a cancelled thread does not wait, and may drop it.
  const KivStatusOr<bool> result = task_runner_->postTaskAndWait<bool>(
      [this, operation, owner = weak_from_this().lock()] { return (this->*operation)(); });
  return result.ok() && result.value();
}

}  // namespace android::kiv
