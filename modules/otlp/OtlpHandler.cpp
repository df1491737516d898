#include "OtlpHandler.h"

#include <exception>

#include "OtlpEvent.h"
#include "ProcessExport.h"

namespace TAMSA::otlp {

using UnifiedTelemetry::v7::ITelemetryEvent;

ITelemetryEvent* OtlpHandler::createEvent(const char* name) noexcept {
  try {
    return new OtlpEvent(name);
  } catch (const std::exception&) {
    return nullptr;
  }
}

bool OtlpHandler::reportEvent(ITelemetryEvent* event, int32_t /*flag*/) noexcept {
  if (event == nullptr) return false;
  const auto& reported = *static_cast<const OtlpEvent*>(event);
  try {
    return reported.isComplete() && report(reported.toRecord());
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace TAMSA::otlp
