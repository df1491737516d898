/// Private members of public classes, for tests of what clients cannot see. They are reached
/// without friends, which installed headers would have to name.
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "kiv/TelemetryLogger.h"

namespace kiv_test {

/// The identifier of a session, without its chain. Tests may choose it.
std::string& idOf(android::kiv::KivSessionId& session);

/// The telemetry switch of a manager.
std::atomic<bool>& switchOf(android::kiv::TelemetryLoggerManager& manager);

/// The worker that loggers of a manager share.
std::shared_ptr<android::kiv::TaskRunnerThread> workerOf(
    android::kiv::TelemetryLoggerManager& manager);

/// Calls the manager's `createLogger`.
std::shared_ptr<android::kiv::TelemetryLogger> createLogger(
    android::kiv::TelemetryLoggerManager& manager, const std::string& name,
    const android::kiv::KivSessionId& session, bool blocking);

}  // namespace kiv_test
