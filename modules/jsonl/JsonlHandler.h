/// The handler that writes every reported event to a file as one line of JSON.
#pragma once

#include <cstdint>
#include <utility>

#include "LineAppender.h"
#include "tamsa/UnifiedTelemetry.h"

namespace TAMSA::jsonl {

/// Used by one thread at a time; any number of handlers, in any number of processes, may append to
/// the same file.
class JsonlHandler final : public UnifiedTelemetry::v9::ITelemetryHandler {
 public:
  explicit JsonlHandler(LineAppender appender) : appender_(std::move(appender)) {}

  /// Null only for want of memory.
  UnifiedTelemetry::v7::ITelemetryEvent* createEvent(const char* name) noexcept override;

  /// True if the event's line has been handed to the kernel. Otherwise nothing of it remains that
  /// would spoil another line. The event stays as it is.
  bool reportEvent(UnifiedTelemetry::v7::ITelemetryEvent* event, int32_t flag) noexcept override;

 private:
  const LineAppender appender_;
};

}  // namespace TAMSA::jsonl
