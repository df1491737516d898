#include "modules/support/EntryPoints.h"

#include <exception>

#include "modules/support/Event.h"
#include "modules/support/EventSink.h"
#include "modules/support/Handler.h"

namespace TAMSA::support {

using UnifiedTelemetry::v7::ITelemetryEvent;
using UnifiedTelemetry::v9::ITelemetryHandler;

extern "C" {

void* createTelemetryHandler(int64_t version) noexcept {
  if (version != ITelemetryHandler::kVersion) return nullptr;
  try {
    return static_cast<ITelemetryHandler*>(new Handler(createEventSink()));
  } catch (const std::exception&) {
    return nullptr;
  }
}

void destroyTelemetryHandler(int64_t version, void* handler) noexcept {
  if (version != ITelemetryHandler::kVersion) return;
  delete static_cast<Handler*>(static_cast<ITelemetryHandler*>(handler));
}

void destroyTelemetryEvent(int64_t version, void* event) noexcept {
  if (version != ITelemetryEvent::kVersion) return;
  delete static_cast<Event*>(static_cast<ITelemetryEvent*>(event));
}

}  // extern "C"

}  // namespace TAMSA::support
