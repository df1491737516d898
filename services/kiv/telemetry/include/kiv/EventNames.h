/// The names and texts that identify the library's events: event names, prefixes of names, and the
/// texts of aggregation methods and stream types.
#pragma once

#include "kiv/KivPcmInfo.h"
#include "kiv/NumericAggregationType.h"

namespace android::kiv::event_names {

// Names of events.

inline constexpr char kErrorCode[] = "wexo_kiv_error_code";      ///< Reported errors.
inline constexpr char kStreamEvent[] = "wexo_kiv_stream_event";  ///< Stream events.
inline constexpr char kAudioLatency[] = "";                      ///< Audio latencies; empty.
inline constexpr char kGeneric[] = "wexo_kiv_generic";           ///< Named values.

// Prefixes of the field "kiv_error_code".

inline constexpr char kKivErrorPrefix[] = "kiv.";           ///< Before the name of a `KivError`.
inline constexpr char kAndroidStatusPrefix[] = "android.";  ///< Before the text of a `status_t`.

// Prefixes of the field "kiv_event_name".

inline constexpr char kClientCallPrefix[] = "client_api_call.";  ///< Before the API's name.
inline constexpr char kTracePrefix[] = "api_latency_us.";        ///< Before the trace's name.

/// The text of the field "aggregation_method": the enumerator's name, or "UNKNOWN" for any other
/// value. Never null; the text is static.
constexpr const char* aggregationMethod(NumericAggregationType type) {
  switch (type) {
    case NumericAggregationType::AVG:
      return "AVG";
    case NumericAggregationType::SUM:
      return "SUM";
    case NumericAggregationType::MAX:
      return "MAX";
    case NumericAggregationType::MIN:
      return "MIN";
    case NumericAggregationType::COUNT:
      return "COUNT";
  }
  return "UNKNOWN";
}

/// The text of the field "stream_type": the enumerator's name, or null for any other value, whose
/// text is its decimal number. The text is static.
constexpr const char* streamType(::kiv::KivStreamType type) {
  switch (type) {
    case ::kiv::KivStreamType::KIV_STREAM_TYPE_UNKNOWN:
      return "KIV_STREAM_TYPE_UNKNOWN";
    case ::kiv::KivStreamType::KIV_STREAM_TYPE_AMBISONIC:
      return "KIV_STREAM_TYPE_AMBISONIC";
    case ::kiv::KivStreamType::KIV_STREAM_TYPE_OBJECT:
      return "KIV_STREAM_TYPE_OBJECT";
    case ::kiv::KivStreamType::KIV_STREAM_TYPE_PASSTHROUGH:
      return "KIV_STREAM_TYPE_PASSTHROUGH";
    case ::kiv::KivStreamType::KIV_STREAM_TYPE_2D_WINDOW:
      return "KIV_STREAM_TYPE_2D_WINDOW";
    case ::kiv::KivStreamType::KIV_STREAM_TYPE_BUNDLE:
      return "KIV_STREAM_TYPE_BUNDLE";
  }
  return nullptr;
}

}  // namespace android::kiv::event_names
