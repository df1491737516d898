/// Stages an event's fields through the virtual operations of a client's aggregator.
#pragma once

#include <string>

#include "kiv/KivBaseAggregator.h"
#include "services/kiv/telemetry/aggregation/EventSchema.h"

namespace android::kiv::internal {

/// The fields of one aggregate, with the text that they borrow.
struct AggregateFields {
  AggregateFields(const EventSchema& schema, const AggregationKey& key,
                  NumericAggregationType method, float value, uint32_t count)
      : session(key.session->toString()) {
    schema.add_fields({key, session, method, value, count}, fields);
  }

  const std::string session;
  EventFields fields;
};

template <typename Aggregator, typename Value>
void stageFields(Aggregator& aggregator, const EventSchema& schema, const AggregationKey& key,
                 NumericAggregationType method, const AggregationData<Value>& data) {
  const AggregateFields staged(schema, key, method, data.value, data.count);
  for (const EventFields::Field& field : staged.fields) {
    switch (field.type) {
      case EventFields::Type::UNSIGNED:
        aggregator.populateTelemetryField(field.name, static_cast<unsigned int>(field.integer));
        break;
      case EventFields::Type::INT64:
        aggregator.populateTelemetryField(field.name, field.integer);
        break;
      case EventFields::Type::BOOL:
        aggregator.populateTelemetryField(field.name, field.integer != 0);
        break;
      case EventFields::Type::FLOAT:
        aggregator.populateTelemetryField(field.name, field.number);
        break;
      case EventFields::Type::STRING:
        aggregator.populateTelemetryField(field.name, std::string(field.text));
        break;
    }
  }
}

}  // namespace android::kiv::internal
