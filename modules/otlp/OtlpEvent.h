/// An event that turns into a log record.
#pragma once

#include <cstdint>

#include "LogRecord.h"
#include "tamsa/UnifiedTelemetry.h"

namespace TAMSA::otlp {

/// Used by one thread at a time.
class OtlpEvent final : public UnifiedTelemetry::v7::ITelemetryEvent {
 public:
  /// Throws only for want of memory, as `toRecord` does; the setters do not throw.
  explicit OtlpEvent(const char* name) { record_.name = name; }

  void setStringField(const char* name, const char* value) noexcept override;
  void setFloatField(const char* name, float value) noexcept override;
  void setInt64Field(const char* name, int64_t value) noexcept override;

  /// False if a field was lost for want of memory.
  bool isComplete() const { return complete_; }

  /// A copy of what has been set so far, observed now.
  LogRecord toRecord() const;

 private:
  template <typename Value>
  void setField(const char* name, Value value) noexcept;

  LogRecord record_;
  bool complete_ = true;
};

}  // namespace TAMSA::otlp
