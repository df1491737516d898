// The tracing operations of a logger.
#include "kiv/EventNames.h"
#include "kiv/TelemetryLogger.h"
#include "services/kiv/telemetry/aggregation/Clock.h"

namespace android::kiv {

namespace {

/// The time since `start`, or the longest that there is if that is longer. A client may fill in any
/// start.
std::chrono::steady_clock::duration elapsedSince(std::chrono::steady_clock::time_point start) {
  using Duration = std::chrono::steady_clock::duration;
  const Duration now = internal::steadyNow().time_since_epoch();
  Duration::rep elapsed = 0;
  if (__builtin_sub_overflow(now.count(), start.time_since_epoch().count(), &elapsed)) {
    return now < start.time_since_epoch() ? Duration::min() : Duration::max();
  }
  return Duration(elapsed);
}

}  // namespace

KivTraceInfo TelemetryLogger::kiv_beginTraceSection(const std::string& name) {
  return kiv_beginTraceSection(logger_name_, name);
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
KivTraceInfo TelemetryLogger::kiv_beginTraceSection(const std::string& kiv_class,
                                                    const std::string& name) {
  return {name, internal::steadyNow(), kiv_class};
}

void TelemetryLogger::kiv_endTraceSection(const KivTraceInfo& info) {
  const auto elapsed =
      std::chrono::duration_cast<std::chrono::microseconds>(elapsedSince(info.start_time));
  recordKivEvent<long long>(managers_.int64_event_manager_, event_names::kTracePrefix, info.name,
                            elapsed.count(), NumericAggregationType::AVG);
}

std::shared_ptr<void> TelemetryLogger::startTrace(const std::string& kiv_class,
                                                  const std::string& name) {
  // Brings up the default logger, which will report this trace, before the clock starts.
  const auto logger = TelemetryLoggerManager::getInstance().getTelemetryLoggerInstance();
  return std::make_shared<KivTraceInfo>(KivTraceInfo{name, internal::steadyNow(), kiv_class});
}

void TelemetryLogger::stopTrace(std::shared_ptr<void> token) {
  if (token == nullptr) return;
  const auto logger = TelemetryLoggerManager::getInstance().getTelemetryLoggerInstance();
  logger->kiv_endTraceSection(*static_cast<const KivTraceInfo*>(token.get()));
}

}  // namespace android::kiv
