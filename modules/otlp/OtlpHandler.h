/// The handler that sends every reported event to an OpenTelemetry Collector.
#pragma once

#include <cstdint>

#include "tamsa/UnifiedTelemetry.h"

namespace TAMSA::otlp {

/// Used by one thread at a time. All handlers of a process share one queue and one thread.
class OtlpHandler final : public UnifiedTelemetry::v9::ITelemetryHandler {
 public:
  /// Null only for want of memory.
  UnifiedTelemetry::v7::ITelemetryEvent* createEvent(const char* name) noexcept override;

  /// True if the event has been taken into the queue. The event stays as it is.
  bool reportEvent(UnifiedTelemetry::v7::ITelemetryEvent* event, int32_t flag) noexcept override;
};

}  // namespace TAMSA::otlp
