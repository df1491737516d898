#include "modules/support/Event.h"

#include <algorithm>
#include <exception>

namespace TAMSA::support {

void Event::setStringField(const char* name, const char* value) noexcept { setField(name, value); }

void Event::setFloatField(const char* name, float value) noexcept { setField(name, value); }

void Event::setInt64Field(const char* name, int64_t value) noexcept { setField(name, value); }

template <typename Value>
void Event::setField(const char* name, Value value) noexcept {
  try {
    fields_.insert_or_assign(name, value);
  } catch (const std::exception&) {
    complete_ = false;
  }
}

int64_t integerField(const Fields& fields, const char* name, int64_t fallback) {
  const auto field = fields.find(name);
  if (field == fields.end()) return fallback;
  const auto* const value = std::get_if<int64_t>(&field->second);
  return value != nullptr ? *value : fallback;
}

uint64_t reportCount(const Fields& fields) {
  return static_cast<uint64_t>(std::max<int64_t>(integerField(fields, "aggregated_count", 1), 1));
}

}  // namespace TAMSA::support
