#include "kiv/KivStreamEventAggregator.h"

#include "services/kiv/telemetry/aggregation/EventTraits.h"
#include "services/kiv/telemetry/client_aggregators/KivBaseAggregatorImpl.h"
#include "services/kiv/telemetry/vocabulary/AudioFormatNames.h"
#include "services/kiv/telemetry/vocabulary/StreamDescriptors.h"

namespace android::kiv {

namespace {

void describe(const AggregateView& aggregate, EventFields& fields) {
  const std::string_view numbers = aggregate.key.parts[StreamEventKey::NUMBERS];
  const auto number = [numbers](StreamNumbers::Position position) {
    return numberAt(numbers, position);
  };
  beginFields(aggregate, aggregate.method, fields);
  fields.add("pcm_format", audioFormatName(number(StreamNumbers::FORMAT)));
  fields.add("stream_type", fields.keep(streamTypeToString(StreamNumbers::typeIn(numbers))));
  fields.add("sample_rate", number(StreamNumbers::SAMPLE_RATE));
  fields.add("samples", number(StreamNumbers::SAMPLES));
  fields.add("channels", number(StreamNumbers::CHANNELS));
  fields.add("interleaved", number(StreamNumbers::INTERLEAVED) != 0);
  fields.add("kiv_event", aggregate.key.parts[StreamEventKey::EVENT]);
}

}  // namespace

const EventSchema EventTraits<KivStreamEvent>::kEvents{
    KivStreamEventBaseAggregator::kKivStreamEvent, NumericAggregationType::COUNT, describe};

template <>
const char KivStreamEventBaseAggregator::kKivStreamEvent[] = "wexo_kiv_stream_event";
template class KivBaseAggregator<KivStreamEvent, KivStreamEvent, unsigned int>;
template class KivCountedAggregator<KivStreamEvent>;

bool KivStreamEvent::operator<(const KivStreamEvent& other) const {
  if (const int order = compareStreams(*this, other); order != 0) return order < 0;
  return event < other.event;
}

KivStreamEventAggregator::KivStreamEventAggregator(NumericAggregationType aggregation_type)
    : KivCountedAggregator(aggregation_type) {}

KivStreamEventAggregator::~KivStreamEventAggregator() = default;

void KivStreamEventAggregator::populateMetricValuesForEntry(Entries::iterator entry) {
  stageFields<KivStreamEventBaseAggregator>(*this, describe, StreamEventKey(entry->first),
                                            aggregation_type_, entry->second);
}

const char* KivStreamEventAggregator::getEventName() const { return kKivStreamEvent; }

}  // namespace android::kiv
