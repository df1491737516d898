#include "tamsa/UnifiedTelemetry.h"

#include "tamsa/ModuleReadiness.h"
#include "tamsa/Ptr.h"

namespace TAMSA::UnifiedTelemetry {

Ptr<v7::ITelemetryEvent> v7::ITelemetryEvent::rawToPtr(ITelemetryEvent* event) {
  using Factory = internal::PtrFactory<ITelemetryEvent, Symbol::kDestroyTelemetryEvent, kVersion>;
  return {event, &Factory::destroy};
}

Ptr<v9::ITelemetryHandler> v9::createTelemetryHandlerPtr() {
  using Factory = internal::PtrFactory<ITelemetryHandler, Symbol::kDestroyTelemetryHandler,
                                       ITelemetryHandler::kVersion>;
  if (!prepareModule()) return {};
  auto* const create = Symbol::Cache<Symbol::kCreateTelemetryHandler, void*(int64_t)>::getCached();
  if (create == nullptr) return {};
  void* const handler = create(ITelemetryHandler::kVersion);
  return {static_cast<ITelemetryHandler*>(handler), &Factory::destroy};
}

}  // namespace TAMSA::UnifiedTelemetry
