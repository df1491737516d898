#include "services/kiv/telemetry/vocabulary/StreamDescriptors.h"

#include <cstddef>

#include "kiv/EventNames.h"

namespace android::kiv::internal {

KivPcmInfoExt toExtended(const ::kiv::KivPcmInfo& pcm_info) {
  // By the value of KivSampleFormat.
  static constexpr audio_format_t kFormats[] = {
      AUDIO_FORMAT_PCM_FLOAT,  AUDIO_FORMAT_PCM_16_BIT, AUDIO_FORMAT_PCM_24_BIT_PACKED,
      AUDIO_FORMAT_PCM_32_BIT, AUDIO_FORMAT_PCM_8_BIT,  AUDIO_FORMAT_PCM_8_24_BIT,
  };
  KivPcmInfoExt extended{};
  extended.sampleRate = static_cast<float>(pcm_info.sampleRate);
  extended.samples = pcm_info.samples;
  extended.channels = pcm_info.channels;
  extended.interleaved = pcm_info.interleaved;
  extended.format = kFormats[static_cast<size_t>(pcm_info.format)];
  return extended;
}

std::string streamTypeToString(::kiv::KivStreamType stream_type) {
  const char* const name = event_names::streamType(stream_type);
  return name != nullptr ? name : std::to_string(static_cast<int>(stream_type));
}

}  // namespace android::kiv::internal
