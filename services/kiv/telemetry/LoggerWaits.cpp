// Waiting for the worker without a deadlock on the loader's lock.
//
// The loader of shared libraries holds a lock while it runs the static constructors and destructors
// of a library that is loaded or unloaded. Loading the telemetry module takes the same lock. A
// worker that loads it therefore waits for a static constructor that waits for the worker. So the
// module is loaded before a thread waits, on that thread, which may hold the lock already. If
// another thread is loading it, the wait for that one has a limit, except on the worker and for a
// window that its owner's destruction submits.
#include <chrono>

#include "kiv/TelemetryLogger.h"
#include "services/kiv/telemetry/aggregation/AggregationManagers.h"
#include "services/kiv/telemetry/aggregation/WindowAccess.h"
#include "services/kiv/telemetry/vocabulary/ForkCount.h"
#include "tamsa/ModuleReadiness.h"

namespace android::kiv {

namespace {

/// The longest wait for another thread that is loading the module. It equals the time that a task
/// may be queued.
constexpr std::chrono::milliseconds kLoadLimit{1000};

}  // namespace

bool TelemetryLogger::prepareToWait() {
  // In a forked copy of a process there is no worker, and no wait.
  return TAMSA::UnifiedTelemetry::isModuleReady() || internal::isForkedCopy() || prepareToSubmit();
}

bool TelemetryLogger::prepareToSubmit() {
  using TAMSA::UnifiedTelemetry::isModuleReady;
  using TAMSA::UnifiedTelemetry::prepareModule;
  return isModuleReady() || !isTelemetryEnabled() || prepareModule(kLoadLimit);
}

bool TelemetryLogger::submitOnWorker(bool (TelemetryLogger::*operation)()) {
  return prepareToWait() && callOnWorker(operation);
}

void TelemetryLogger::startOnConstruction() {
  // The managers may be shared with a worker that stops and starts them now. A new one is started
  // here. One that was stopped is started by the worker, in order with other tasks.
  bool started = true;
  internal::forEachManager(managers_, [&started](auto& manager) {
    started = internal::WindowAccess::startIfNew(manager) && started;
  });
  if (started) return;
  if (task_runner_thread_ == nullptr || task_runner_->isRunningOnCurrentThread()) {
    startInternal();
    return;
  }
  task_runner_->postTask([managers = managers_] {
    internal::forEachManager(managers, [](auto& manager) { manager.start(); });
  });
}

}  // namespace android::kiv
