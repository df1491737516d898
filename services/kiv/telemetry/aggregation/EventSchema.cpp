#include "services/kiv/telemetry/aggregation/EventSchema.h"

#include "services/kiv/telemetry/aggregation/AggregationMethod.h"

namespace android::kiv {

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

void beginFields(const AggregateView& aggregate, NumericAggregationType method,
                 EventFields& fields) {
  fields.add("aggregation_method", aggregationMethodToString(method));
  fields.add("aggregated_count", static_cast<unsigned int>(aggregate.count));
  fields.add("kiv_session_id", aggregate.session);
}

Description::Description(Describe* describe, const AggregationKey& key,
                         NumericAggregationType method, float value, uint32_t count)
    : session(key.session->toString()) {
  describe({key, session, method, value, count}, fields);
}

Description::~Description() = default;

}  // namespace android::kiv
