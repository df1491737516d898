/// The differences between the kinds of events: the layout of their keys, and the name and fields
/// of their events.
#pragma once

#include <cstdint>
#include <string_view>

#include "kiv/NumericAggregationType.h"
#include "services/kiv/telemetry/aggregation/AggregationKey.h"
#include "services/kiv/telemetry/aggregation/EventFields.h"

namespace android::kiv::internal {

/// One aggregate, as its event shows it.
struct AggregateView {
  const AggregationKey& key;
  std::string_view session;       ///< The text of the key's session.
  NumericAggregationType method;  ///< The aggregator's, which some kinds report.
  float value;
  uint32_t count;
};

/// One kind of event.
struct EventSchema {
  const char* event_name;
  NumericAggregationType method;  ///< The method of the library's own aggregators.
  KeyLayout key_layout;
  void (*add_fields)(const AggregateView& aggregate, EventFields& fields);
};

extern const EventSchema kErrorCodeSchema;
extern const EventSchema kStreamEventSchema;
extern const EventSchema kAudioLatencySchema;
extern const EventSchema kIntegerValueSchema;
extern const EventSchema kFloatValueSchema;
extern const EventSchema kTextValueSchema;

// The positions of a key's fields.

struct ErrorCodeKey {
  enum Text : uint8_t { API, CLASS, CODE };
  enum Number : uint8_t { SEVERITY };
};

struct StreamKey {
  enum Number : uint8_t { FORMAT, TYPE, SAMPLE_RATE, SAMPLES, CHANNELS, INTERLEAVED };
  enum Text : uint8_t { EVENT };

  // Stream types are ordered as signed numbers.
  static constexpr uint32_t kTypeSign = 0x80000000;
};

struct ValueKey {
  enum Text : uint8_t { NAME, VALUE };
  enum Number : uint8_t { METHOD };
};

}  // namespace android::kiv::internal
