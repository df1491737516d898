// The module's entry points.
#include <cstdint>
#include <exception>

#include "OtlpEvent.h"
#include "OtlpHandler.h"
#include "ProcessExport.h"
#include "tamsa/UnifiedTelemetry.h"

namespace TAMSA::otlp {

namespace {

using UnifiedTelemetry::v7::ITelemetryEvent;
using UnifiedTelemetry::v9::ITelemetryHandler;

ITelemetryHandler* createHandler() {
  try {
    prepareExport();
    return new OtlpHandler;
  } catch (const std::exception&) {
    return nullptr;
  }
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) void* createTelemetryHandler(int64_t version) noexcept {
  return version == ITelemetryHandler::kVersion ? createHandler() : nullptr;
}

__attribute__((visibility("default"))) void destroyTelemetryHandler(int64_t version,
                                                                    void* handler) noexcept {
  if (version != ITelemetryHandler::kVersion) return;
  delete static_cast<OtlpHandler*>(static_cast<ITelemetryHandler*>(handler));
}

__attribute__((visibility("default"))) void destroyTelemetryEvent(int64_t version,
                                                                  void* event) noexcept {
  if (version != ITelemetryEvent::kVersion) return;
  delete static_cast<OtlpEvent*>(static_cast<ITelemetryEvent*>(event));
}

}  // extern "C"

}  // namespace TAMSA::otlp
