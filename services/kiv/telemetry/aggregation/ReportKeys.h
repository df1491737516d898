/// The keys of the library's kinds of reports, made from their records without copying texts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "TableKey.h"
#include "kiv/KivErrorCodeAggregator.h"
#include "kiv/KivGenericEventAggregator.h"
#include "kiv/KivStreamEventAggregator.h"

namespace android::kiv {

/// A byte as a part of a key.
inline std::string_view bytePart(const char& byte) { return {&byte, 1}; }

struct ErrorCodeKey : TableKey {
  enum Part : uint8_t { API, CLASS, CODE, SEVERITY };

  explicit ErrorCodeKey(const KivErrorCodeEvent& event)
      : TableKey(event.session_id, 4), severity(static_cast<char>(event.severity)) {
    parts = {event.api, event.kiv_class, event.error_code, bytePart(severity)};
  }

  const char severity;
};

/// The numbers that describe a stream, in a form whose bytes are in their order.
class StreamNumbers {
 public:
  enum Number : uint8_t { FORMAT, TYPE, SAMPLE_RATE, SAMPLES, CHANNELS, INTERLEAVED };

  template <typename Record>
  explicit StreamNumbers(const Record& record) {
    put(FORMAT, record.format);
    put(TYPE, static_cast<uint32_t>(record.streamType) ^ kSign);
    put(SAMPLE_RATE, record.sampleRate);
    put(SAMPLES, record.samples);
    put(CHANNELS, record.channels);
    put(INTERLEAVED, record.interleaved ? 1 : 0);
  }

  std::string_view part() const { return {bytes_, sizeof bytes_}; }

  static uint32_t get(std::string_view part, Number number) {
    uint32_t value = 0;
    for (const char byte : part.substr(number * size_t{4}, 4)) {
      value = value << 8 | static_cast<unsigned char>(byte);
    }
    return value;
  }

  static ::kiv::KivStreamType getType(std::string_view part) {
    return static_cast<::kiv::KivStreamType>(get(part, TYPE) ^ kSign);
  }

 private:
  static constexpr uint32_t kSign = 0x80000000;

  void put(Number number, uint32_t value) {
    for (size_t i = 0; i < 4; ++i) {
      bytes_[number * 4 + i] = static_cast<char>(value >> (24 - 8 * i));
    }
  }

  char bytes_[24];
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
  /// From an event or a key.
  template <typename Record>
  explicit AudioLatencyKey(const Record& record) : TableKey(record.session, 1), numbers(record) {
    parts = {numbers.part()};
  }

  const StreamNumbers numbers;
};

struct GenericKey : TableKey {
  enum Part : uint8_t { NAME, METHOD, VALUE };

  explicit GenericKey(const KivGenericEventKey& key) : GenericKey(key, 2) {}

 protected:
  GenericKey(const KivGenericEventKey& key, size_t part_count)
      : TableKey(key.session, part_count), method(static_cast<char>(key.aggregationType)) {
    parts[NAME] = key.name;
    parts[METHOD] = bytePart(method);
  }

 private:
  const char method;
};

struct GenericStringKey : GenericKey {
  explicit GenericStringKey(const KivGenericEvent<std::string>& event) : GenericKey(event, 3) {
    parts[VALUE] = event.value;
  }
};

}  // namespace android::kiv
