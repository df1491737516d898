#include "services/kiv/telemetry/aggregation/EventFields.h"

namespace android::kiv::internal {

void EventFields::add(const char* name, unsigned int value) {
  append(name, Type::UNSIGNED).integer = static_cast<int>(value);
}

void EventFields::add(const char* name, long long value) {
  append(name, Type::INT64).integer = value;
}

void EventFields::add(const char* name, bool value) {
  append(name, Type::BOOL).integer = value ? 1 : 0;
}

void EventFields::add(const char* name, float value) { append(name, Type::FLOAT).number = value; }

void EventFields::add(const char* name, std::string_view value) {
  append(name, Type::STRING).text = value;
}

EventFields::Field& EventFields::append(const char* name, Type type) {
  Field& field = fields_[size_++];
  field.name = name;
  field.type = type;
  return field;
}

}  // namespace android::kiv::internal
