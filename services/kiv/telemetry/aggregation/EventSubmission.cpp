#include "EventSubmission.h"

#include <android/log.h>

#include "Ptr.h"

namespace android::kiv {

namespace {

constexpr int32_t kReportFlag = 1;

}  // namespace

long long toEpochMilliseconds(std::chrono::system_clock::time_point time) {
  using std::chrono::duration_cast;
  const auto microseconds = duration_cast<std::chrono::microseconds>(time.time_since_epoch());
  return duration_cast<std::chrono::milliseconds>(microseconds).count();
}

void submitEvent(TAMSA::UnifiedTelemetry::v9::ITelemetryHandler& handler, const char* event_name,
                 const std::unordered_map<std::string, int64_t>& int_fields,
                 const std::unordered_map<std::string, float>& float_fields,
                 const std::unordered_map<std::string, std::string>& string_fields) {
  using TAMSA::UnifiedTelemetry::v7::ITelemetryEvent;
  const auto event = ITelemetryEvent::rawToPtr(handler.createEvent(event_name)).toShared();
  bool reported = false;
  if (event != nullptr) {
    for (const auto& [name, value] : int_fields) event->setInt64Field(name.c_str(), value);
    for (const auto& [name, value] : float_fields) event->setFloatField(name.c_str(), value);
    for (const auto& [name, value] : string_fields) {
      event->setStringField(name.c_str(), value.c_str());
    }
    reported = handler.reportEvent(event.get(), kReportFlag);
  }
  if (!reported) {
    __android_log_print(ANDROID_LOG_ERROR, nullptr,
                        "%s: Failed to report UnifiedTelemetry event: %s", "submitEvents",
                        event_name);
  }
}

}  // namespace android::kiv
