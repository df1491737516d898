/// The loggers under test, each with what the model knows of it.
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
  bool has_pending = false;  ///< Something was posted and not waited for.
};

/// A logger under test.
struct Subject {
  std::string label;
  std::shared_ptr<kiv::TelemetryLogger> logger;
  std::unique_ptr<kiv::TelemetryHandler> handed_out;  ///< In place of `logger`, by the delegate.
  Session session;
  std::string name;
  kiv::TelemetrySubmissionModel model;
  std::shared_ptr<Worker> worker;               ///< Null in LOCKING_IMMEDIATE.
  std::shared_ptr<Aggregations> own = nullptr;  ///< In LOCKING_IMMEDIATE only.

  bool isImmediate() const { return worker == nullptr; }
  Aggregations& expected() const { return isImmediate() ? *own : worker->expected; }
  kiv::TelemetryLogger& operator*() const;
};

/// What all sequences of a process share: its manager's worker and default logger. Between
/// sequences the aggregations are stopped and every one has its handler.
class Process {
 public:
  static Process& getInstance();

  Session root;
  std::shared_ptr<kiv::TelemetryLogger> default_logger;
  std::shared_ptr<Worker> worker;
  std::map<int, int> handlers;  ///< Of the worker's aggregations, by their ids.

  /// Sets the telemetry switch, which the library itself only ever turns off.
  static void setTelemetryEnabled(bool enabled);

 private:
  Process();
};

/// A session with the given texts.
kiv::KivSessionId makeSessionId(const Session& session);

}  // namespace kiv_test::model
