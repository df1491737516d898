// The process-wide manager, the handle by which clients reach it, and the telemetry switch.
#include <android/log.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>

#include "kiv/TelemetryLogger.h"
#include "services/kiv/telemetry/ProcessExit.h"
#include "services/kiv/telemetry/aggregation/AggregationManagers.h"
#include "services/kiv/telemetry/aggregation/WindowAccess.h"
#include "services/kiv/telemetry/vocabulary/ForkCount.h"
#include "services/kiv/telemetry/vocabulary/SessionForks.h"
#include "tamsa/ScopedNoCancellation.h"

namespace android::kiv {

using internal::WindowAccess;
using TAMSA::internal::ScopedNoCancellation;

namespace {

constexpr char kLogTag[] = "KivTelemetry";

/// The kinds of events, each of which has a window.
constexpr int kKinds = 6;

/// The time after which a waited lifecycle call gives up if the shared worker has not started it.
constexpr std::chrono::milliseconds kTaskStartLimit{1000};

std::once_flag manager_once;
std::once_flag env_once;

/// The process's manager, once there is one. Never destroyed, because threads go on reporting while
/// a process exits, and static destructors may report at any time: only its windows are submitted.
std::atomic<TelemetryLoggerManager*> process_manager{nullptr};

/// Set when the last windows have been submitted, or given up.
std::atomic<bool> submission_is_over{false};

std::shared_ptr<TelemetryLogger> makeLogger(const KivSessionId& session_id, const std::string& name,
                                            const std::shared_ptr<TaskRunnerThread>& thread,
                                            const internal::AggregationManagers& managers,
                                            TelemetrySubmissionModel model) {
  return std::make_shared<TelemetryLogger>(
      session_id, name, thread, managers.error_code_manager_, managers.stream_event_manager_,
      managers.audio_latency_manager_, managers.int64_event_manager_, managers.float_event_manager_,
      managers.string_event_manager_, model);
}

}  // namespace

/// Submits what the manager holds when the process exits: the library's only static object with a
/// constructor and a destructor.
struct SubmissionAtExit {
  SubmissionAtExit() {
    internal::generateSessionsAcrossForks();
    internal::watchForks();
  }

  ~SubmissionAtExit() {
    TelemetryLoggerManager* const manager = process_manager;
    // A forked process leaves the windows that it inherited to its parent.
    if (manager != nullptr && !internal::isForkedCopy()) manager->submitAtExit();
    submission_is_over = true;
  }
};

namespace {

const SubmissionAtExit submission_at_exit;

}  // namespace

TelemetryLoggerManager& TelemetryLoggerManager::getInstance() {
  if (TelemetryLoggerManager* const manager = process_manager) return *manager;
  // Also around the wait for another thread: with some standard libraries, a thread that is
  // cancelled there keeps a lock.
  const ScopedNoCancellation no_cancellation;
  std::call_once(manager_once, [] {
    internal::claimProcess();
    // Around the exit handler that the common library registers with its first worker.
    internal::ExitBudget::registerEnd();
    auto* const manager = new TelemetryLoggerManager;
    internal::ExitBudget::registerBegin();
    process_manager = manager;
  });
  return *process_manager;
}

TelemetryLoggerManager::TelemetryLoggerManager()
    : session_id_(nullptr),
      managers_(internal::makeAggregationManagers()),
      task_runner_thread_(TaskRunnerThread::create(kTaskStartLimit)),
      telemetry_logger_(makeLogger(session_id_, std::string(), task_runner_thread_, managers_,
                                   TelemetrySubmissionModel::NON_BLOCKING)) {}

TelemetryLoggerManager::~TelemetryLoggerManager() { task_runner_thread_.reset(); }

void TelemetryLoggerManager::submitAtExit() {
  // Shared with the task, which may outlive the wait.
  const auto progress = std::make_shared<internal::ExitProgress>(kKinds);
  TaskRunner task_runner(task_runner_thread_);
  if (task_runner.isRunningOnCurrentThread()) {
    submitOpenWindows(*progress);
    return;
  }
  {
    // Called when the task is released, whether it ran or not.
    const std::shared_ptr<void> end(nullptr, [progress](void* /*none*/) { progress->end(); });
    task_runner.postTask([this, progress, end] { submitOpenWindows(*progress); });
  }
  progress->waitForEnd(internal::ExitBudget::deadline());
  if (const int left = progress->left(); left > 0) {
    __android_log_print(ANDROID_LOG_ERROR, kLogTag,
                        "Gave up %d of %d windows at process exit: the worker is busy", left,
                        kKinds);
  }
}

void TelemetryLoggerManager::submitOpenWindows(internal::ExitProgress& progress) const {
  const auto submit = [&progress](const auto& manager) {
    WindowAccess::finish(*manager);
    progress.advance();
  };
  submit(managers_.string_event_manager_);
  submit(managers_.float_event_manager_);
  submit(managers_.int64_event_manager_);
  submit(managers_.audio_latency_manager_);
  submit(managers_.stream_event_manager_);
  submit(managers_.error_code_manager_);
  // Reports behind this task belong to windows that nothing submits.
  submission_is_over = true;
}

std::shared_ptr<TelemetryLogger> TelemetryLoggerManager::getTelemetryLoggerInstance() {
  return telemetry_logger_;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
std::shared_ptr<TelemetryLogger> TelemetryLoggerManager::createLogger(std::string name,
                                                                      KivSessionId session_id,
                                                                      bool blocking) {
  auto parent = std::make_shared<KivSessionId>(std::move(session_id));
  return makeLogger(KivSessionId(std::move(parent)), name, task_runner_thread_, managers_,
                    static_cast<TelemetrySubmissionModel>(blocking));
}

bool isTelemetryEnabled() {
  const TelemetryLoggerManager& manager = TelemetryLoggerManager::getInstance();
  return manager.telemetry_enabled_ && !submission_is_over;
}

void disableTelemetryForTesting() {
  TelemetryLoggerManager::getInstance().telemetry_enabled_ = false;
}

TelemetryEnv::TelemetryEnv() {
  ensureInitialized();
  logger_ = TelemetryLoggerManager::getInstance().telemetry_logger_;
}

TelemetryEnv::TelemetryEnv(const std::string& name) {
  ensureInitialized();
  TelemetryLoggerManager& manager = TelemetryLoggerManager::getInstance();
  logger_ = manager.createLogger(name, manager.telemetry_logger_->session_id_, false);
}

TelemetryEnv::TelemetryEnv(const std::string& name, const KivSessionId& session_id) {
  ensureInitialized();
  logger_ = TelemetryLoggerManager::getInstance().createLogger(name, session_id, false);
}

TelemetryEnv::TelemetryEnv(std::shared_ptr<TelemetryLogger> logger) : logger_(std::move(logger)) {
  ensureInitialized();
}

TelemetryEnv::~TelemetryEnv() = default;

void TelemetryEnv::ensureInitialized() {
  // A handler factory that the first handle replaces may make a handle in its destructor.
  thread_local bool is_initializing = false;
  if (is_initializing) return;
  const ScopedNoCancellation no_cancellation;
  std::call_once(env_once, [] {
    is_initializing = true;
    init();
    is_initializing = false;
  });
}

void TelemetryEnv::init() {
  const auto default_logger = TelemetryLoggerManager::getInstance().getTelemetryLoggerInstance();
  TelemetryDelegate::getInstance().registerHandler(
      default_logger.get(), [](const std::string& name) -> std::unique_ptr<TelemetryHandler> {
        return std::make_unique<TelemetryLogger>(TelemetryLoggerManager::getInstance().session_id_,
                                                 name, TelemetrySubmissionModel::LOCKING_IMMEDIATE);
      });
}

}  // namespace android::kiv
