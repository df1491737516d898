/// The fields of an event, before they are handed to the telemetry module.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace android::kiv::internal {

/// The fields of one event except its interval, in the order in which they are staged. Each name is
/// added once. Borrows the texts, each of which has a NUL behind it.
class EventFields {
 public:
  /// The overload of `populateTelemetryField` through which a field is staged.
  enum class Type : uint8_t { UNSIGNED, INT64, BOOL, FLOAT, STRING };

  struct Field {
    const char* name;
    Type type;
    float number;
    long long integer;  ///< As it is sent: unsigned values from 2^31 on are negative.
    std::string_view text;
  };

  void add(const char* name, unsigned int value);
  void add(const char* name, long long value);
  void add(const char* name, bool value);
  void add(const char* name, float value);
  void add(const char* name, std::string_view value);
  void add(const char* name, const char* value) { add(name, std::string_view(value)); }

  /// Stores one text for as long as these fields live.
  std::string_view store(std::string text) { return stored_ = std::move(text); }

  void clear() { size_ = 0; }
  const Field* begin() const { return fields_.data(); }
  const Field* end() const { return fields_.data() + size_; }

 private:
  Field& append(const char* name, Type type);

  std::array<Field, 10> fields_;
  size_t size_ = 0;
  std::string stored_;
};

}  // namespace android::kiv::internal
