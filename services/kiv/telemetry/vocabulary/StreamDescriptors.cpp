#include "services/kiv/telemetry/vocabulary/StreamDescriptors.h"

#include <cstddef>

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
#define STREAM_TYPE_NAME(name)     \
  case ::kiv::KivStreamType::name: \
    return #name
  switch (stream_type) {
    STREAM_TYPE_NAME(KIV_STREAM_TYPE_UNKNOWN);
    STREAM_TYPE_NAME(KIV_STREAM_TYPE_AMBISONIC);
    STREAM_TYPE_NAME(KIV_STREAM_TYPE_OBJECT);
    STREAM_TYPE_NAME(KIV_STREAM_TYPE_PASSTHROUGH);
    STREAM_TYPE_NAME(KIV_STREAM_TYPE_2D_WINDOW);
    STREAM_TYPE_NAME(KIV_STREAM_TYPE_BUNDLE);
  }
#undef STREAM_TYPE_NAME
  return std::to_string(static_cast<int>(stream_type));
}

}  // namespace android::kiv::internal
