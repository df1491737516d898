#include "StreamDescription.h"

#include "BinauralRenderer.h"

namespace render_service {

using android::kiv::KivError;
using ::kiv::KivStreamType;

namespace {

constexpr int kMinRate = 8000;
constexpr int kMaxRate = 192000;
constexpr int kMaxChannels = 16;

audio_format_t sampleFormat(int format) {
  switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_S8:
    case SF_FORMAT_PCM_U8:
      return AUDIO_FORMAT_PCM_8_BIT;
    case SF_FORMAT_PCM_16:
      return AUDIO_FORMAT_PCM_16_BIT;
    case SF_FORMAT_PCM_24:
      return AUDIO_FORMAT_PCM_24_BIT_PACKED;
    case SF_FORMAT_PCM_32:
      return AUDIO_FORMAT_PCM_32_BIT;
    case SF_FORMAT_FLOAT:
    case SF_FORMAT_DOUBLE:
      return AUDIO_FORMAT_PCM_FLOAT;
    case SF_FORMAT_VORBIS:
      return AUDIO_FORMAT_VORBIS;
    case SF_FORMAT_OPUS:
      return AUDIO_FORMAT_OPUS;
    default:
      return AUDIO_FORMAT_DEFAULT;
  }
}

KivStreamType streamType(int channels) {
  switch (channels) {
    case 1:
      return KivStreamType::KIV_STREAM_TYPE_OBJECT;
    case 2:
      return KivStreamType::KIV_STREAM_TYPE_PASSTHROUGH;
    case 4:
    case 9:
    case 16:
      return KivStreamType::KIV_STREAM_TYPE_AMBISONIC;
    default:
      return KivStreamType::KIV_STREAM_TYPE_BUNDLE;
  }
}

}  // namespace

StreamDescription describeStream(const SF_INFO& info) {
  const auto rate = static_cast<size_t>(info.samplerate);
  const size_t block_frames = (kBlockFrames * rate + kOutputRate - 1) / kOutputRate;
  StreamDescription description{};
  description.pcm.sampleRate = static_cast<float>(info.samplerate);
  description.pcm.channels = static_cast<uint32_t>(info.channels);
  description.pcm.samples = static_cast<uint32_t>(block_frames) * description.pcm.channels;
  description.pcm.interleaved = true;
  description.pcm.format = sampleFormat(info.format);
  description.type = streamType(info.channels);
  return description;
}

Objection findObjection(const SF_INFO& info) {
  if (info.samplerate < kMinRate || info.samplerate > kMaxRate) {
    return {KivError::USER_INVALID_SAMPLE_RATE, info.samplerate};
  }
  if (info.channels < 1 || info.channels > kMaxChannels) {
    return {KivError::USER_INVALID_CHANNEL_COUNT, info.channels};
  }
  if (info.frames <= 0) return {KivError::USER_INVALID_NUMBER_OF_SAMPLES, 0};
  return {KivError::OK, 0};
}

}  // namespace render_service
