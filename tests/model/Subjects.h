/// The loggers under test, each with its state in the model.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>

#include "kiv/TelemetryLogger.h"
#include "services/kiv/telemetry/aggregation/AggregationManagers.h"
#include "tests/model/Reference.h"

namespace kiv_test::model {

namespace kiv = android::kiv;

/// A worker and the six aggregations that the loggers on it share.
struct Worker {
  explicit Worker(std::shared_ptr<kiv::TaskRunnerThread> worker_thread);

  /// Runs `work` on the worker and returns when it has run, however long that takes.
  void run(const std::function<void()>& work);

  const std::shared_ptr<kiv::TaskRunnerThread> thread;
  kiv::TaskRunner runner;
  std::thread::id id;
  Aggregations expected;
  bool has_pending = false;  ///< True if posted work has not been waited for.
};

/// A logger under test.
struct Subject {
  std::string label;
  std::shared_ptr<kiv::TelemetryLogger> logger;
  std::unique_ptr<kiv::TelemetryHandler>
      handed_out;  ///< From the delegate; used if `logger` is null.
  Session session;
  std::string name;
  kiv::TelemetrySubmissionModel model;
  std::shared_ptr<Worker> worker;               ///< Null in LOCKING_IMMEDIATE.
  std::shared_ptr<Aggregations> own = nullptr;  ///< In LOCKING_IMMEDIATE only.

  bool isImmediate() const { return worker == nullptr; }
  Aggregations& expected() const { return isImmediate() ? *own : worker->expected; }
  kiv::TelemetryLogger& operator*() const;
};

/// The state that all sequences of a process share: the manager's worker and the default logger.
/// Between sequences the aggregations are stopped, and all have their handlers.
class Process {
 public:
  static Process& getInstance();

  Session root;
  std::shared_ptr<kiv::TelemetryLogger> default_logger;
  std::shared_ptr<Worker> worker;
  std::map<int, int>
      handlers;  ///< Handlers of the worker's aggregations, by the aggregations' ids.

  /// Sets the telemetry switch. The library itself can only turn it off.
  static void setTelemetryEnabled(bool enabled);

 private:
  Process();
};

/// A session with the given texts.
kiv::KivSessionId makeSessionId(const Session& session);

}  // namespace kiv_test::model
