#include "tests/support/PrivateMembers.h"

namespace kiv_test {

namespace {

using android::kiv::KivSessionId;
using android::kiv::TelemetryLoggerManager;

/// Defines `memberOf(Tag)`, which returns `member`. An explicit instantiation may name private
/// members.
template <typename Tag, auto member>
struct Opened {
  friend auto memberOf(Tag /*tag*/) { return member; }
};

struct Id {
  friend auto memberOf(Id tag);
};
template struct Opened<Id, &KivSessionId::id_>;

struct Switch {
  friend auto memberOf(Switch tag);
};
template struct Opened<Switch, &TelemetryLoggerManager::telemetry_enabled_>;

struct Worker {
  friend auto memberOf(Worker tag);
};
template struct Opened<Worker, &TelemetryLoggerManager::task_runner_thread_>;

struct CreateLogger {
  friend auto memberOf(CreateLogger tag);
};
template struct Opened<CreateLogger, &TelemetryLoggerManager::createLogger>;

}  // namespace

std::string& idOf(KivSessionId& session) { return session.*memberOf(Id{}); }

std::atomic<bool>& switchOf(TelemetryLoggerManager& manager) { return manager.*memberOf(Switch{}); }

std::shared_ptr<android::kiv::TaskRunnerThread> workerOf(TelemetryLoggerManager& manager) {
  return manager.*memberOf(Worker{});
}

std::shared_ptr<android::kiv::TelemetryLogger> createLogger(TelemetryLoggerManager& manager,
                                                            const std::string& name,
                                                            const KivSessionId& session,
                                                            bool blocking) {
  return (manager.*memberOf(CreateLogger{}))(name, session, blocking);
}

}  // namespace kiv_test
