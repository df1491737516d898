/// Conversion, texts and order of the descriptors of audio streams.
#pragma once

#include <string>

#include "kiv/KivPcmInfo.h"
#include "kiv/KivSessionId.h"

namespace android::kiv::internal {

/// The extended form of a compact descriptor, whose `format` must be a valid enumerator.
KivPcmInfoExt toExtended(const ::kiv::KivPcmInfo& pcm_info);

/// The enumerator's name, or the decimal number for a value that is none.
std::string streamTypeToString(::kiv::KivStreamType stream_type);

/// Three-way order of two numbers or enumerators.
template <typename T>
int compareValues(T left, T right) {
  return static_cast<int>(right < left) - static_cast<int>(left < right);
}

/// Three-way lexicographic order of two records by the seven fields that describe their streams.
template <typename Record>
int compareStreams(const Record& left, const Record& right) {
  if (const int order = left.session.compare(right.session); order != 0) return order;
  if (const int order = compareValues(left.format, right.format); order != 0) return order;
  if (const int order = compareValues(left.streamType, right.streamType); order != 0) return order;
  if (const int order = compareValues(left.sampleRate, right.sampleRate); order != 0) return order;
  if (const int order = compareValues(left.samples, right.samples); order != 0) return order;
  if (const int order = compareValues(left.channels, right.channels); order != 0) return order;
  return compareValues(left.interleaved, right.interleaved);
}

}  // namespace android::kiv::internal
