/// The kinds of reports, for typed tests of the public aggregators. Each gives a report, and the
/// key, the sample, the method and the event name that its aggregator has for it.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <type_traits>

#include "kiv/KivAudioLatencyAggregator.h"
#include "kiv/KivErrorCodeAggregator.h"
#include "kiv/KivGenericEventAggregator.h"
#include "kiv/KivStreamEventAggregator.h"
#include "tests/support/TestSessions.h"

namespace android::kiv::kinds {

using ::kiv::KivStreamType;
using ::kiv_test::session;
using Type = NumericAggregationType;

struct ErrorCodes {
  using Aggregator = KivErrorCodeAggregator;
  static KivErrorCodeEvent event() {
    return {session("s"), "api", "class", "code", KivErrorSeverity::ERROR};
  }
  static KivErrorCodeEvent key() { return event(); }
  static constexpr unsigned int kValue = 1;
  static constexpr Type kType = Type::COUNT;
  static constexpr char kName[] = "wexo_kiv_error_code";
};

struct StreamEvents {
  using Aggregator = KivStreamEventAggregator;
  static KivStreamEvent event() {
    return {session("s"),
            AUDIO_FORMAT_PCM_FLOAT,
            KivStreamType::KIV_STREAM_TYPE_OBJECT,
            48000,
            960,
            2,
            true,
            "start"};
  }
  static KivStreamEvent key() { return event(); }
  static constexpr unsigned int kValue = 1;
  static constexpr Type kType = Type::COUNT;
  static constexpr char kName[] = "wexo_kiv_stream_event";
};

struct Latencies {
  using Aggregator = KivAudioLatencyAggregator;
  static KivAudioLatencyEvent event() {
    const KivAudioLatencyEventKey of = key();
    return {of.session, of.format,   of.streamType,  of.sampleRate,
            of.samples, of.channels, of.interleaved, std::chrono::milliseconds(5'000'000'000)};
  }
  static KivAudioLatencyEventKey key() {
    return {
        session("s"), AUDIO_FORMAT_PCM_FLOAT, KivStreamType::KIV_STREAM_TYPE_OBJECT, 48000, 960, 2,
        true};
  }
  /// The low 32 bits.
  static constexpr unsigned int kValue = 705'032'704;
  static constexpr Type kType = Type::AVG;
  static constexpr char kName[] = "";
};

struct Integers {
  using Aggregator = KivGenericNumericEventAggregator<long long>;
  static KivGenericEvent<long long> event() { return {key(), kValue}; }
  static KivGenericEventKey key() { return {session("s"), "name", kType}; }
  static constexpr long long kValue = -5'000'000'000;
  static constexpr Type kType = Type::MIN;
  static constexpr char kName[] = "wexo_kiv_generic";
};

struct Floats {
  using Aggregator = KivGenericNumericEventAggregator<float>;
  static KivGenericEvent<float> event() { return {key(), kValue}; }
  static KivGenericEventKey key() { return {session("s"), "name", kType}; }
  static constexpr float kValue = -0.25F;
  static constexpr Type kType = Type::MAX;
  static constexpr char kName[] = "wexo_kiv_generic";
};

/// The method that is reported is the aggregator's, not the one in the key.
struct Texts {
  using Aggregator = KivGenericStringEventAggregator;
  static KivGenericEvent<std::string> event() {
    return {{session("s"), "name", Type::SUM}, "value"};
  }
  static KivGenericEvent<std::string> key() { return event(); }
  static constexpr unsigned int kValue = 1;
  static constexpr Type kType = Type::COUNT;
  static constexpr char kName[] = "wexo_kiv_generic";
};

using All = testing::Types<ErrorCodes, StreamEvents, Latencies, Integers, Floats, Texts>;

struct Names {
  template <typename Kind>
  static std::string GetName(int index) {
    constexpr const char* kNames[] = {"ErrorCodes", "StreamEvents", "Latencies",
                                      "Integers",   "Floats",       "Texts"};
    return kNames[index];
  }
};

/// An aggregator of this kind, with this method if the aggregator has one for all reports.
template <typename Kind, typename Aggregator = typename Kind::Aggregator>
Aggregator make(Type method = Kind::kType) {
  if constexpr (std::is_constructible_v<Aggregator, Type>) {
    return Aggregator(method);
  } else {
    return Aggregator();
  }
}

/// True if the aggregator has one method for all reports; otherwise each report has its own.
template <typename Kind>
constexpr bool kHasOwnMethod = std::is_constructible_v<typename Kind::Aggregator, Type>;

}  // namespace android::kiv::kinds
