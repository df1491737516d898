// The process-wide manager, the handle by which clients reach it, and the telemetry switch.
#include <mutex>
#include <optional>
#include <utility>

#include "AggregationManagers.h"
#include "kiv/TelemetryLogger.h"

namespace android::kiv {

namespace {

/// How long a waited lifecycle call may stand in the shared worker's queue before it is given up.
constexpr std::chrono::milliseconds kTaskStartLimit{1000};

std::once_flag manager_once;
std::once_flag env_once;

/// The manager while it can be used. That includes its destruction, during which it submits the
/// last windows although the optional that holds it counts as empty by then.
std::atomic<TelemetryLoggerManager*> usable_manager{nullptr};

struct ManagerAtExit {
  ~ManagerAtExit() {
    manager.reset();
    usable_manager = nullptr;
  }

  std::optional<TelemetryLoggerManager> manager;
};

// The library's only object that is destroyed at process exit.
ManagerAtExit manager_at_exit;

/// The manager, created on first need; null once it has been destroyed at process exit.
TelemetryLoggerManager* findManager() {
  std::call_once(manager_once, [] { usable_manager = &manager_at_exit.manager.emplace(); });
  return usable_manager;
}

}  // namespace

TelemetryLoggerManager& TelemetryLoggerManager::getInstance() {
  if (TelemetryLoggerManager* const manager = findManager()) return *manager;
  // Code that runs after the manager's end may still ask for one. Leaked on purpose: nothing is
  // left that could destroy it in order.
  static TelemetryLoggerManager& afterlife = *new TelemetryLoggerManager;
  return afterlife;
}

TelemetryLoggerManager::TelemetryLoggerManager()
    : session_id_(nullptr),
      error_code_manager_(makeErrorCodeManager()),
      stream_event_manager_(makeStreamEventManager()),
      audio_latency_manager_(makeAudioLatencyManager()),
      int64_event_manager_(makeNumericEventManager<long long>()),
      float_event_manager_(makeNumericEventManager<float>()),
      string_event_manager_(makeStringEventManager()),
      task_runner_thread_(TaskRunnerThread::create(kTaskStartLimit)),
      telemetry_logger_(std::make_shared<TelemetryLogger>(
          session_id_, std::string(), task_runner_thread_, error_code_manager_,
          stream_event_manager_, audio_latency_manager_, int64_event_manager_, float_event_manager_,
          string_event_manager_, TelemetrySubmissionModel::NON_BLOCKING)) {}

TelemetryLoggerManager::~TelemetryLoggerManager() {
  // Static objects that were destroyed just before may have reported: once the resources below are
  // dropped, nobody would wait for the worker to take those reports. Each attempt lasts as long as
  // a task may stand in the queue; behind a slow telemetry module it takes several.
  TaskRunner task_runner(task_runner_thread_);
  while (task_runner.postTaskAndWait([] {}).code() == TIMED_OUT) {
  }
  task_runner_thread_.reset();
}

std::shared_ptr<TelemetryLogger> TelemetryLoggerManager::getTelemetryLoggerInstance() {
  return telemetry_logger_;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
std::shared_ptr<TelemetryLogger> TelemetryLoggerManager::createLogger(std::string name,
                                                                      KivSessionId session_id,
                                                                      bool blocking) {
  auto parent = std::make_shared<KivSessionId>(std::move(session_id));
  return std::make_shared<TelemetryLogger>(
      KivSessionId(std::move(parent)), name, task_runner_thread_, error_code_manager_,
      stream_event_manager_, audio_latency_manager_, int64_event_manager_, float_event_manager_,
      string_event_manager_, static_cast<TelemetrySubmissionModel>(blocking));
}

bool isTelemetryEnabled() {
  const TelemetryLoggerManager* const manager = findManager();
  return manager != nullptr && manager->telemetry_enabled_;
}

void disableTelemetryForTesting() {
  if (TelemetryLoggerManager* const manager = findManager()) manager->telemetry_enabled_ = false;
}

TelemetryEnv::TelemetryEnv() {
  ensureInitialized();
  logger_ = TelemetryLoggerManager::getInstance().getTelemetryLoggerInstance();
}

TelemetryEnv::TelemetryEnv(const std::string& name) {
  ensureInitialized();
  TelemetryLoggerManager& manager = TelemetryLoggerManager::getInstance();
  logger_ = manager.createLogger(name, manager.getTelemetryLoggerInstance()->session_id_, false);
}

TelemetryEnv::TelemetryEnv(const std::string& name, const KivSessionId& session_id) {
  ensureInitialized();
  logger_ = TelemetryLoggerManager::getInstance().createLogger(name, session_id, false);
}

TelemetryEnv::TelemetryEnv(std::shared_ptr<TelemetryLogger> logger) : logger_(std::move(logger)) {
  ensureInitialized();
}

void TelemetryEnv::ensureInitialized() { std::call_once(env_once, init); }

void TelemetryEnv::init() {
  const auto default_logger = TelemetryLoggerManager::getInstance().getTelemetryLoggerInstance();
  TelemetryDelegate::getInstance().registerHandler(
      default_logger.get(), [](const std::string& name) -> std::unique_ptr<TelemetryHandler> {
        return std::make_unique<TelemetryLogger>(TelemetryLoggerManager::getInstance().session_id_,
                                                 name, TelemetrySubmissionModel::LOCKING_IMMEDIATE);
      });
}

}  // namespace android::kiv
