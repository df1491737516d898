#include "JsonlHandler.h"

#include <exception>

#include "JsonlEvent.h"

namespace TAMSA::jsonl {

using UnifiedTelemetry::v7::ITelemetryEvent;

ITelemetryEvent* JsonlHandler::createEvent(const char* name) noexcept {
  try {
    return new JsonlEvent(name);
  } catch (const std::exception&) {
    return nullptr;
  }
}

bool JsonlHandler::reportEvent(ITelemetryEvent* event, int32_t /*flag*/) noexcept {
  if (event == nullptr) return false;
  const auto& reported = *static_cast<const JsonlEvent*>(event);
  try {
    return reported.isComplete() && appender_.append(reported.toLine());
  } catch (const std::exception&) {
    return false;
  }
}

}  // namespace TAMSA::jsonl
