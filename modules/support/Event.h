/// An event under construction, as a module keeps it until it is reported.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>

#include "tamsa/UnifiedTelemetry.h"

namespace TAMSA::support {

using FieldValue = std::variant<int64_t, float, std::string>;
using Fields = std::map<std::string, FieldValue>;

/// Used by one thread at a time.
class Event final : public UnifiedTelemetry::v7::ITelemetryEvent {
 public:
  /// Throws only if memory is short. The setters do not throw.
  explicit Event(const char* name) : name_(name) {}

  void setStringField(const char* name, const char* value) noexcept override;
  void setFloatField(const char* name, float value) noexcept override;
  void setInt64Field(const char* name, int64_t value) noexcept override;

  const std::string& name() const { return name_; }
  const Fields& fields() const { return fields_; }

  /// False if memory was too short for a field.
  bool isComplete() const { return complete_; }

 private:
  template <typename Value>
  void setField(const char* name, Value value) noexcept;

  const std::string name_;
  Fields fields_;
  bool complete_ = true;
};

/// An integer field; `fallback` if there is no integer field of that name.
int64_t integerField(const Fields& fields, const char* name, int64_t fallback);

/// The number of reports that an event combines: 1 or more.
uint64_t reportCount(const Fields& fields);

}  // namespace TAMSA::support
