/// An event that turns into one line of JSON.
#pragma once

#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tamsa/UnifiedTelemetry.h"

namespace TAMSA::jsonl {

/// Members keep the order in which they were added, and a float is written as the shortest number
/// that reads back as the same float.
using Json = nlohmann::basic_json<nlohmann::ordered_map, std::vector, std::string, bool,
                                  std::int64_t, std::uint64_t, float>;

/// Used by one thread at a time.
class JsonlEvent final : public UnifiedTelemetry::v7::ITelemetryEvent {
 public:
  /// Throws only for want of memory, as `toLine` does; the setters do not throw.
  explicit JsonlEvent(const char* name) : name_(name) {}

  void setStringField(const char* name, const char* value) noexcept override;
  void setFloatField(const char* name, float value) noexcept override;
  void setInt64Field(const char* name, int64_t value) noexcept override;

  /// False if a field was lost for want of memory.
  bool isComplete() const { return complete_; }

  /// A JSON object and a newline: the member `event` with the event's name, then the fields sorted
  /// by name. A field named `event` is left out. Bytes that are not UTF-8 become U+FFFD, a float
  /// that is not finite becomes null.
  std::string toLine() const;

 private:
  template <typename Value>
  void setField(const char* name, Value value) noexcept;

  const std::string name_;
  std::map<std::string, Json> fields_;
  bool complete_ = true;
};

}  // namespace TAMSA::jsonl
