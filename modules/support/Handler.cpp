#include "modules/support/Handler.h"

#include <exception>

namespace TAMSA::support {

using UnifiedTelemetry::v7::ITelemetryEvent;

ITelemetryEvent* Handler::createEvent(const char* name) noexcept {
  try {
    return new Event(name);
  } catch (const std::exception&) {
    return nullptr;
  }
}

bool Handler::reportEvent(ITelemetryEvent* event, int32_t /*flag*/) noexcept {
  if (event == nullptr) return false;
  const auto& reported = *static_cast<const Event*>(event);
  try {
    return reported.isComplete() && sink_->take(reported);
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace TAMSA::support
