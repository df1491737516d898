// The process-wide manager, the handle by which clients reach it, and the telemetry switch.
#include <pthread.h>

#include <mutex>
#include <optional>
#include <utility>

#include "kiv/TelemetryLogger.h"
#include "services/kiv/telemetry/ScopedManagerRef.h"
#include "services/kiv/telemetry/aggregation/AggregationManagers.h"
#include "services/kiv/telemetry/aggregation/WindowAccess.h"

namespace android::kiv {

using internal::ScopedManagerRef;
using internal::WindowAccess;

namespace {

/// How long a waited lifecycle call may stand in the shared worker's queue before it is given up.
constexpr std::chrono::milliseconds kTaskStartLimit{1000};

std::once_flag manager_once;
std::once_flag env_once;

/// The manager while its switch can be read. That includes its destruction, during which it submits
/// the last windows.
std::atomic<TelemetryLoggerManager*> manager_with_switch{nullptr};

/// Whether the manager's end has begun. Loggers that are made from then on take nothing from it.
bool manager_ended = false;

// Guards manager_ended, and is held shared while a thread takes something from the manager, so that
// the manager does not end meanwhile. A plain lock, because unlike a std::shared_mutex it needs no
// destructor, after which it could not be used any more.
pthread_rwlock_t manager_lifetime = PTHREAD_RWLOCK_INITIALIZER;

/// True in a process forked from the one that made the manager. What the manager holds there is a
/// copy of what the worker was working on at that moment: it is the parent's to submit, and left
/// alone.
bool is_forked_copy = false;

void becomeForkedCopy() {
  is_forked_copy = true;
  manager_lifetime = PTHREAD_RWLOCK_INITIALIZER;
}

union ManagerAtExit {
  constexpr ManagerAtExit() : manager(std::nullopt) {}
  ~ManagerAtExit() {
    if (is_forked_copy) return;
    pthread_rwlock_wrlock(&manager_lifetime);
    manager_ended = true;
    pthread_rwlock_unlock(&manager_lifetime);
    manager.~optional();
    manager_with_switch = nullptr;
  }

  ManagerAtExit(const ManagerAtExit&) = delete;
  ManagerAtExit& operator=(const ManagerAtExit&) = delete;

  std::optional<TelemetryLoggerManager> manager;
};

// The library's only object that is destroyed at process exit.
ManagerAtExit manager_at_exit;

/// The manager, created on first need. It may have ended.
TelemetryLoggerManager& findManager() {
  static TelemetryLoggerManager* manager = nullptr;
  std::call_once(manager_once, [] {
    manager = &manager_at_exit.manager.emplace();
    manager_with_switch = manager;
    pthread_atfork(nullptr, nullptr, becomeForkedCopy);
  });
  return *manager;
}

/// The manager for those who ask for one after the end of the real one. Leaked on purpose: nothing
/// is left that could destroy it in order.
TelemetryLoggerManager& postExitManager() {
  static TelemetryLoggerManager& afterlife = *new TelemetryLoggerManager;
  return afterlife;
}

std::shared_ptr<TelemetryLogger> makeLogger(const KivSessionId& session_id, const std::string& name,
                                            const std::shared_ptr<TaskRunnerThread>& thread,
                                            const internal::AggregationManagers& managers,
                                            TelemetrySubmissionModel model) {
  return std::make_shared<TelemetryLogger>(
      session_id, name, thread, managers.error_code_manager_, managers.stream_event_manager_,
      managers.audio_latency_manager_, managers.int64_event_manager_, managers.float_event_manager_,
      managers.string_event_manager_, model);
}

/// Submits what a manager holds, if somebody else keeps it beyond the process manager's end: nobody
/// will do it then. `owners` are the ones that let go of it now. One that was stopped holds
/// nothing, and that is no fault to be logged.
template <typename Event>
void submitIfKept(const TelemetryLogger::Manager<Event>& manager, long owners) {
  if (manager.use_count() > owners && WindowAccess::isRunning(*manager)) manager->flush();
}

}  // namespace

internal::ScopedManagerRef::ScopedManagerRef() : manager_(&findManager()) {
  pthread_rwlock_rdlock(&manager_lifetime);
  if (manager_ended) manager_ = &postExitManager();
}

internal::ScopedManagerRef::~ScopedManagerRef() { pthread_rwlock_unlock(&manager_lifetime); }

TelemetryLoggerManager& TelemetryLoggerManager::getInstance() { return *ScopedManagerRef(); }

TelemetryLoggerManager::TelemetryLoggerManager()
    : session_id_(nullptr),
      managers_(internal::makeAggregationManagers()),
      task_runner_thread_(TaskRunnerThread::create(kTaskStartLimit)),
      telemetry_logger_(makeLogger(session_id_, std::string(), task_runner_thread_, managers_,
                                   TelemetrySubmissionModel::NON_BLOCKING)) {}

TelemetryLoggerManager::~TelemetryLoggerManager() {
  // Static objects that were destroyed just before may have reported: once the resources below are
  // dropped, nobody would wait for the worker to take those reports. Each attempt lasts as long as
  // a task may stand in the queue; behind a slow telemetry module it takes several.
  TaskRunner task_runner(task_runner_thread_);
  while (task_runner.postTaskAndWait([this] { submitKeptWindows(); }).code() == TIMED_OUT) {
  }
  task_runner_thread_.reset();
}

void TelemetryLoggerManager::submitKeptWindows() {
  // The default logger and this manager own each aggregation; a default logger that is kept keeps
  // them all.
  const long owners = telemetry_logger_.use_count() > 1 ? 0 : 2;
  submitIfKept(managers_.string_event_manager_, owners);
  submitIfKept(managers_.float_event_manager_, owners);
  submitIfKept(managers_.int64_event_manager_, owners);
  submitIfKept(managers_.audio_latency_manager_, owners);
  submitIfKept(managers_.stream_event_manager_, owners);
  submitIfKept(managers_.error_code_manager_, owners);
}

std::shared_ptr<TelemetryLogger> TelemetryLoggerManager::getTelemetryLoggerInstance() {
  // Through a use of its own: the caller may have got its reference before the manager's end.
  const ScopedManagerRef manager;
  return this == &findManager() ? manager->telemetry_logger_ : telemetry_logger_;
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
  findManager();
  const TelemetryLoggerManager* const manager = manager_with_switch;
  return manager != nullptr && manager->telemetry_enabled_;
}

void disableTelemetryForTesting() {
  findManager();
  if (TelemetryLoggerManager* const manager = manager_with_switch) {
    manager->telemetry_enabled_ = false;
  }
}

TelemetryEnv::TelemetryEnv() {
  ensureInitialized();
  logger_ = ScopedManagerRef()->telemetry_logger_;
}

TelemetryEnv::TelemetryEnv(const std::string& name) {
  ensureInitialized();
  const ScopedManagerRef manager;
  logger_ = manager->createLogger(name, manager->telemetry_logger_->session_id_, false);
}

TelemetryEnv::TelemetryEnv(const std::string& name, const KivSessionId& session_id) {
  ensureInitialized();
  logger_ = ScopedManagerRef()->createLogger(name, session_id, false);
}

TelemetryEnv::TelemetryEnv(std::shared_ptr<TelemetryLogger> logger) : logger_(std::move(logger)) {
  ensureInitialized();
}

TelemetryEnv::~TelemetryEnv() = default;

void TelemetryEnv::ensureInitialized() { std::call_once(env_once, init); }

void TelemetryEnv::init() {
  const auto default_logger = TelemetryLoggerManager::getInstance().getTelemetryLoggerInstance();
  TelemetryDelegate::getInstance().registerHandler(
      default_logger.get(), [](const std::string& name) -> std::unique_ptr<TelemetryHandler> {
        return std::make_unique<TelemetryLogger>(ScopedManagerRef()->session_id_, name,
                                                 TelemetrySubmissionModel::LOCKING_IMMEDIATE);
      });
}

}  // namespace android::kiv
