/// The handler that modules hand out.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "modules/support/EventSink.h"
#include "tamsa/UnifiedTelemetry.h"

namespace TAMSA::support {

/// Used by one thread at a time.
class Handler final : public UnifiedTelemetry::v9::ITelemetryHandler {
 public:
  explicit Handler(std::unique_ptr<EventSink> sink) : sink_(std::move(sink)) {}

  /// Null only if memory is short.
  UnifiedTelemetry::v7::ITelemetryEvent* createEvent(const char* name) noexcept override;

  /// See `EventSink::take`. Also false for null, for an event that lost a field, and if memory is
  /// short. Does not change the event.
  bool reportEvent(UnifiedTelemetry::v7::ITelemetryEvent* event, int32_t flag) noexcept override;

 private:
  const std::unique_ptr<EventSink> sink_;
};

}  // namespace TAMSA::support
