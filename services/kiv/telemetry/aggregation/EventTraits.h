/// What the kinds of reports differ in: their keys, and the fields of their events.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "kiv/KivAudioLatencyAggregator.h"
#include "kiv/KivErrorCodeAggregator.h"
#include "kiv/KivGenericEventAggregator.h"
#include "kiv/KivStreamEventAggregator.h"
#include "services/kiv/telemetry/aggregation/AggregationKey.h"
#include "services/kiv/telemetry/aggregation/EventSchema.h"
#include "services/kiv/telemetry/vocabulary/SaturatingCast.h"

namespace android::kiv {

struct ErrorCodeKey : AggregationKey {
  enum Part : uint8_t { API, CLASS, CODE, SEVERITY };

  ErrorCodeKey(const KivSessionId& session_id, std::string_view api, std::string_view kiv_class,
               std::string_view error_code, KivErrorSeverity level)
      : AggregationKey(session_id, 4), severity(level) {
    parts = {api, kiv_class, error_code, severity.part()};
  }

  explicit ErrorCodeKey(const KivErrorCodeEvent& event)
      : ErrorCodeKey(event.session_id, event.api, event.kiv_class, event.error_code,
                     event.severity) {}

  const NumberPart<1> severity;
};

/// The numbers that describe a stream.
struct StreamNumbers : NumberPart<6> {
  enum Position : uint8_t { FORMAT, TYPE, SAMPLE_RATE, SAMPLES, CHANNELS, INTERLEAVED };

  template <typename Record>
  explicit StreamNumbers(const Record& record)
      : NumberPart(record.format, static_cast<uint32_t>(record.streamType) ^ kSign,
                   record.sampleRate, record.samples, record.channels, record.interleaved) {}

  StreamNumbers(const KivPcmInfoExt& info, ::kiv::KivStreamType type)
      : NumberPart(info.format, static_cast<uint32_t>(type) ^ kSign,
                   saturatingCast<uint32_t>(info.sampleRate), info.samples, info.channels,
                   info.interleaved) {}

  static ::kiv::KivStreamType typeIn(std::string_view part) {
    return static_cast<::kiv::KivStreamType>(numberAt(part, TYPE) ^ kSign);
  }

  // Types are ordered as signed numbers.
  static constexpr uint32_t kSign = 0x80000000;
};

struct StreamEventKey : AggregationKey {
  enum Part : uint8_t { NUMBERS, EVENT };

  StreamEventKey(const KivSessionId& session_id, const KivPcmInfoExt& info,
                 ::kiv::KivStreamType type, std::string_view event)
      : AggregationKey(session_id, 2), numbers(info, type) {
    parts = {numbers.part(), event};
  }

  explicit StreamEventKey(const KivStreamEvent& event)
      : AggregationKey(event.session, 2), numbers(event) {
    parts = {numbers.part(), event.event};
  }

  const StreamNumbers numbers;
};

struct AudioLatencyKey : AggregationKey {
  AudioLatencyKey(const KivSessionId& session_id, const KivPcmInfoExt& info,
                  ::kiv::KivStreamType type)
      : AggregationKey(session_id, 1), numbers(info, type) {
    parts = {numbers.part()};
  }

  /// Of an event, or of the key that is made of it.
  template <typename Record>
  explicit AudioLatencyKey(const Record& record)
      : AggregationKey(record.session, 1), numbers(record) {
    parts = {numbers.part()};
  }

  const StreamNumbers numbers;
};

struct GenericKey : AggregationKey {
  enum Part : uint8_t { NAME, METHOD, VALUE };

  GenericKey(const KivSessionId& session_id, std::string_view name, NumericAggregationType type)
      : GenericKey(session_id, name, type, 2) {}

  explicit GenericKey(const KivGenericEventKey& key)
      : GenericKey(key.session, key.name, key.aggregationType) {}

  const NumberPart<1> method;

 protected:
  GenericKey(const KivSessionId& session_id, std::string_view name, NumericAggregationType type,
             size_t part_count)
      : AggregationKey(session_id, part_count), method(type) {
    parts = {name, method.part()};
  }
};

struct GenericStringKey : GenericKey {
  GenericStringKey(const KivSessionId& session_id, std::string_view name,
                   NumericAggregationType type, std::string_view value)
      : GenericKey(session_id, name, type, 3) {
    parts[VALUE] = value;
  }

  explicit GenericStringKey(const KivGenericEvent<std::string>& event)
      : GenericStringKey(event.session, event.name, event.aggregationType, event.value) {}
};

/// The key of a kind's reports, how they are folded, and what their events are like.
template <typename Event>
struct EventTraits;

/// Of reports that are counted.
struct CountedKind {
  template <typename Event>
  static NumericAggregationType methodOf(const Event& /*event*/) {
    return NumericAggregationType::COUNT;
  }
  template <typename Event>
  static float sampleOf(const Event& /*event*/) {
    return 1;
  }
};

template <>
struct EventTraits<KivErrorCodeEvent> : CountedKind {
  using Key = ErrorCodeKey;
  static const EventSchema kEvents;
};

template <>
struct EventTraits<KivStreamEvent> : CountedKind {
  using Key = StreamEventKey;
  static const EventSchema kEvents;
};

template <>
struct EventTraits<KivGenericEvent<std::string>> : CountedKind {
  using Key = GenericStringKey;
  static const EventSchema kEvents;
};

template <>
struct EventTraits<KivAudioLatencyEvent> {
  using Key = AudioLatencyKey;
  static NumericAggregationType methodOf(const KivAudioLatencyEvent& /*event*/) {
    return NumericAggregationType::AVG;
  }
  static float sampleOf(const KivAudioLatencyEvent& event) {
    return static_cast<float>(static_cast<unsigned int>(event.latency.count()));
  }
  static const EventSchema kEvents;
};

template <typename T>
struct EventTraits<KivGenericEvent<T>> {
  using Key = GenericKey;
  static NumericAggregationType methodOf(const KivGenericEvent<T>& event) {
    return event.aggregationType;
  }
  static float sampleOf(const KivGenericEvent<T>& event) { return static_cast<float>(event.value); }
  static const EventSchema kEvents;
};

template <>
const EventSchema EventTraits<KivGenericEvent<long long>>::kEvents;
template <>
const EventSchema EventTraits<KivGenericEvent<float>>::kEvents;

}  // namespace android::kiv
