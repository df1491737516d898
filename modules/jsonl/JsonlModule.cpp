// The module's entry points.
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <string>

#include "JsonlEvent.h"
#include "JsonlHandler.h"
#include "LineAppender.h"
#include "tamsa/UnifiedTelemetry.h"

namespace TAMSA::jsonl {

namespace {

using UnifiedTelemetry::v7::ITelemetryEvent;
using UnifiedTelemetry::v9::ITelemetryHandler;

/// Where events go: a path, or "-" for the standard output.
std::string pathFromEnvironment() {
  const char* const path = std::getenv("TAMSA_JSONL_PATH");
  return path != nullptr && *path != '\0' ? path : "telemetry.jsonl";
}

ITelemetryHandler* createHandler() {
  try {
    return new JsonlHandler(LineAppender(pathFromEnvironment()));
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
  delete static_cast<JsonlHandler*>(static_cast<ITelemetryHandler*>(handler));
}

__attribute__((visibility("default"))) void destroyTelemetryEvent(int64_t version,
                                                                  void* event) noexcept {
  if (version != ITelemetryEvent::kVersion) return;
  delete static_cast<JsonlEvent*>(static_cast<ITelemetryEvent*>(event));
}

}  // extern "C"

}  // namespace TAMSA::jsonl
