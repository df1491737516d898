/// Telemetry of one component of the program.
#pragma once

#include <kiv/TelemetryLogger.h>

#include <chrono>
#include <memory>
#include <string>

#include "StreamDescription.h"

namespace render_service {

/// Reports through a logger of its own and counts the reports, so that the program can say how many
/// there were. Used by one thread at a time.
///
/// Holds the component's only `TelemetryEnv`, for as long as the component lives. Each
/// `TelemetryEnv` opens a session of its own, as a child of the process's root session. One for
/// each call would split the component's reports into sessions of one report, which can't be
/// aggregated.
class Reporter {
 public:
  /// `name` is the class that errors are reported for.
  explicit Reporter(const std::string& name);

  /// Calls `finish()` unless that has been called.
  ~Reporter();

  Reporter(const Reporter&) = delete;
  Reporter& operator=(const Reporter&) = delete;

  /// Reports an error of the catalogue.
  void error(android::kiv::KivError error, const std::string& api,
             android::kiv::KivErrorSeverity severity);

  /// Reports an error of the catalogue with a number that details it.
  void error(android::kiv::KivError error, int detail, const std::string& api,
             android::kiv::KivErrorSeverity severity);

  void streamEvent(const StreamDescription& stream, const std::string& event);
  void latency(const StreamDescription& stream, std::chrono::milliseconds latency);
  void clientCall(const std::string& api, bool succeeded);

  /// Reports a named value, of any type that `TelemetryLogger::logKivEvent` takes.
  template <typename T>
  void value(const std::string& name, const T& value, android::kiv::NumericAggregationType method) {
    ++reports_;
    env_.getLogger()->logKivEvent(name, value, method);
  }

  /// Reports the time between its construction and its destruction.
  class Section {
   public:
    Section(Reporter& reporter, const std::string& name);
    ~Section();

    Section(const Section&) = delete;
    Section& operator=(const Section&) = delete;

   private:
    Reporter& reporter_;
    const android::kiv::KivTraceInfo info_;
  };

  /// Begins a trace that ends in another scope, with `stopTrace` of the returned token.
  std::shared_ptr<void> startTrace(const std::string& name);
  void stopTrace(std::shared_ptr<void> token);

  /// Reports how many reports there were, this one included, and returns their number. Must be the
  /// last report.
  ///
  /// It also makes it safe to destroy the reporter. A queued latency sample holds a plain pointer
  /// to its logger, so destroying the logger before the worker has taken the sample would leave
  /// that pointer dangling. Other queued reports share ownership of the logger. The worker takes
  /// reports in their order, so this last one keeps the logger alive until all samples have been
  /// taken.
  long long finish();

 private:
  const std::string name_;
  android::kiv::TelemetryEnv env_;
  long long reports_ = 0;
  bool finished_ = false;
};

}  // namespace render_service
