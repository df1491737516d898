/// Telemetry of one part of the program.
#pragma once

#include <kiv/TelemetryLogger.h>

#include <chrono>
#include <memory>
#include <string>

#include "StreamDescription.h"

namespace render_service {

/// Reports through a logger of its own and counts the reports, so that the program can say how many
/// there were. Used by one thread at a time.
class Reporter {
 public:
  /// `name` is what the reports are filed under, in a session below `session`.
  Reporter(const std::string& name, const android::kiv::KivSessionId& session);
  ~Reporter() = default;

  Reporter(const Reporter&) = delete;
  Reporter& operator=(const Reporter&) = delete;

  /// An error of the catalogue.
  void error(android::kiv::KivError error, const std::string& api,
             android::kiv::KivErrorSeverity severity);

  /// An error of the catalogue and the number that tells more about it.
  void error(android::kiv::KivError error, int detail, const std::string& api,
             android::kiv::KivErrorSeverity severity);

  /// An error of the operating system, as `errno` has it.
  void systemError(int error_number, const std::string& api,
                   android::kiv::KivErrorSeverity severity);

  void streamEvent(const StreamDescription& stream, const std::string& event);
  void latency(const StreamDescription& stream, std::chrono::milliseconds latency);
  void clientCall(const std::string& api, bool succeeded);

  /// A named value: a signed integer, a float or a string.
  template <typename T>
  void value(const std::string& name, const T& value, android::kiv::NumericAggregationType method) {
    ++reports_;
    env_.getLogger()->logKivEvent(name, value, method);
  }

  /// Reports how long it lived.
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

  /// The same for what begins and ends in different places. The token goes back to `stopTrace`.
  std::shared_ptr<void> startTrace(const std::string& name);
  void stopTrace(std::shared_ptr<void> token);

  /// Reports how many reports there were, this one included, and returns it. To be called at the
  /// end, and before destruction if any latency was reported: those reports do not keep their
  /// logger alive, but this one comes after them and does.
  long long finish();

 private:
  const std::string name_;
  android::kiv::TelemetryEnv env_;
  long long reports_ = 0;
};

}  // namespace render_service
