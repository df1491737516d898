#include "services/kiv/telemetry/aggregation/EventSchema.h"

#include "kiv/EventNames.h"
#include "services/kiv/telemetry/vocabulary/AudioFormatNames.h"
#include "services/kiv/telemetry/vocabulary/SaturatingCast.h"
#include "services/kiv/telemetry/vocabulary/StreamDescriptors.h"

namespace android::kiv::internal {

namespace {

/// The fields with which every kind begins.
void addCommonFields(const AggregateView& aggregate, NumericAggregationType method,
                     EventFields& fields) {
  fields.add("aggregation_method", event_names::aggregationMethod(method));
  fields.add("aggregated_count", static_cast<unsigned int>(aggregate.count));
  fields.add("kiv_session_id", aggregate.session);
}

void addErrorCodeFields(const AggregateView& aggregate, EventFields& fields) {
  const AggregationKey& key = aggregate.key;
  addCommonFields(aggregate, aggregate.method, fields);
  fields.add("kiv_class", key.texts[ErrorCodeKey::CLASS]);
  fields.add("kiv_api", key.texts[ErrorCodeKey::API]);
  fields.add("kiv_error_code", key.texts[ErrorCodeKey::CODE]);
  fields.add("severity", static_cast<long long>(key.numbers[ErrorCodeKey::SEVERITY]));
}

void addStreamEventFields(const AggregateView& aggregate, EventFields& fields) {
  const auto& numbers = aggregate.key.numbers;
  const auto type =
      static_cast<::kiv::KivStreamType>(numbers[StreamKey::TYPE] ^ StreamKey::kTypeSign);
  addCommonFields(aggregate, aggregate.method, fields);
  fields.add("pcm_format", audioFormatName(numbers[StreamKey::FORMAT]));
  fields.add("stream_type", fields.store(streamTypeToString(type)));
  fields.add("sample_rate", numbers[StreamKey::SAMPLE_RATE]);
  fields.add("samples", numbers[StreamKey::SAMPLES]);
  fields.add("channels", numbers[StreamKey::CHANNELS]);
  fields.add("interleaved", numbers[StreamKey::INTERLEAVED] != 0);
  fields.add("kiv_event", aggregate.key.texts[StreamKey::EVENT]);
}

void addAudioLatencyFields(const AggregateView& aggregate, EventFields& fields) {
  addCommonFields(aggregate, aggregate.method, fields);
}

/// The one set of fields that all three kinds of named values share.
void addValueFields(const AggregateView& aggregate, NumericAggregationType method,
                    long long value_int, float value_float, std::string_view value_string,
                    EventFields& fields) {
  addCommonFields(aggregate, method, fields);
  fields.add("kiv_event_name", aggregate.key.texts[ValueKey::NAME]);
  fields.add("value_int", value_int);
  fields.add("value_float", value_float);
  fields.add("value_string", value_string);
}

NumericAggregationType methodIn(const AggregationKey& key) {
  return static_cast<NumericAggregationType>(key.numbers[ValueKey::METHOD]);
}

void addIntegerValueFields(const AggregateView& aggregate, EventFields& fields) {
  addValueFields(aggregate, methodIn(aggregate.key), saturatingCast<long long>(aggregate.value),
                 0.0F, "", fields);
}

void addFloatValueFields(const AggregateView& aggregate, EventFields& fields) {
  addValueFields(aggregate, methodIn(aggregate.key), 0, aggregate.value, "", fields);
}

void addTextValueFields(const AggregateView& aggregate, EventFields& fields) {
  addValueFields(aggregate, aggregate.method, 0, 0.0F, aggregate.key.texts[ValueKey::VALUE],
                 fields);
}

constexpr KeyLayout kNumericValueKey{1, 1, 1};

}  // namespace

const EventSchema kErrorCodeSchema{
    event_names::kErrorCode, NumericAggregationType::COUNT, {1, 3, 3}, addErrorCodeFields};
const EventSchema kStreamEventSchema{
    event_names::kStreamEvent, NumericAggregationType::COUNT, {6, 1, 0}, addStreamEventFields};
const EventSchema kAudioLatencySchema{
    event_names::kAudioLatency, NumericAggregationType::AVG, {6, 0, 0}, addAudioLatencyFields};
const EventSchema kIntegerValueSchema{event_names::kGeneric, NumericAggregationType::COUNT,
                                      kNumericValueKey, addIntegerValueFields};
const EventSchema kFloatValueSchema{event_names::kGeneric, NumericAggregationType::COUNT,
                                    kNumericValueKey, addFloatValueFields};
const EventSchema kTextValueSchema{
    event_names::kGeneric, NumericAggregationType::COUNT, {1, 2, 1}, addTextValueFields};

}  // namespace android::kiv::internal
