/// The keys of the library's kinds of reports, made from their records without copying texts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "TableKey.h"
#include "kiv/KivErrorCodeAggregator.h"
#include "kiv/KivGenericEventAggregator.h"
#include "kiv/KivStreamEventAggregator.h"

namespace android::kiv {

struct ErrorCodeKey : TableKey {
  enum Part : uint8_t { API, CLASS, CODE, SEVERITY };

  explicit ErrorCodeKey(const KivErrorCodeEvent& event)
      : TableKey(event.session_id, 4), severity(event.severity) {
    parts = {event.api, event.kiv_class, event.error_code, severity.part()};
  }

  const NumberPart<1> severity;
};

/// The numbers that describe a stream.
struct StreamNumbers : NumberPart<6> {
  enum Position : uint8_t { FORMAT, TYPE, SAMPLE_RATE, SAMPLES, CHANNELS, INTERLEAVED };

  template <typename Record>
  explicit StreamNumbers(const Record& record)
      : NumberPart(record.format, static_cast<uint32_t>(record.streamType) ^ kSign,
                   record.sampleRate, record.samples, record.channels, record.interleaved) {}

  static ::kiv::KivStreamType typeIn(std::string_view part) {
    return static_cast<::kiv::KivStreamType>(numberAt(part, TYPE) ^ kSign);
  }

  // Types are ordered as signed numbers.
  static constexpr uint32_t kSign = 0x80000000;
};

struct StreamEventKey : TableKey {
  enum Part : uint8_t { NUMBERS, EVENT };

  explicit StreamEventKey(const KivStreamEvent& event)
      : TableKey(event.session, 2), numbers(event) {
    parts = {numbers.part(), event.event};
  }

  const StreamNumbers numbers;
};

struct AudioLatencyKey : TableKey {
  /// Of an event or of the key that is made of it.
  template <typename Record>
  explicit AudioLatencyKey(const Record& record) : TableKey(record.session, 1), numbers(record) {
    parts = {numbers.part()};
  }

  const StreamNumbers numbers;
};

struct GenericKey : TableKey {
  enum Part : uint8_t { NAME, METHOD, VALUE };

  explicit GenericKey(const KivGenericEventKey& key, size_t part_count = 2)
      : TableKey(key.session, part_count), method(key.aggregationType) {
    parts[NAME] = key.name;
    parts[METHOD] = method.part();
  }

  const NumberPart<1> method;
};

struct GenericStringKey : GenericKey {
  explicit GenericStringKey(const KivGenericEvent<std::string>& event) : GenericKey(event, 3) {
    parts[VALUE] = event.value;
  }
};

}  // namespace android::kiv
