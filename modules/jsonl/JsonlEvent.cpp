#include "JsonlEvent.h"

#include <exception>

namespace TAMSA::jsonl {

void JsonlEvent::setStringField(const char* name, const char* value) noexcept {
  setField(name, value);
}

void JsonlEvent::setFloatField(const char* name, float value) noexcept { setField(name, value); }

void JsonlEvent::setInt64Field(const char* name, int64_t value) noexcept { setField(name, value); }

template <typename Value>
void JsonlEvent::setField(const char* name, Value value) noexcept {
  try {
    fields_.insert_or_assign(name, Json(value));
  } catch (const std::exception&) {
    complete_ = false;
  }
}

std::string JsonlEvent::toLine() const {
  Json line = Json::object();
  line.emplace("event", name_);
  // Keeps a member that is already there, so no field takes the place of the event's name.
  for (const auto& [name, value] : fields_) line.emplace(name, Json(value));
  return line.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace TAMSA::jsonl
