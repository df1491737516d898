/// Descriptions of audio streams, as clients give them with a report.
#pragma once

#include <system/audio.h>

#include <cstdint>

namespace kiv {

/// What a stream carries.
enum class KivStreamType : int8_t {
  KIV_STREAM_TYPE_UNKNOWN = 0,
  KIV_STREAM_TYPE_AMBISONIC = 1,
  KIV_STREAM_TYPE_OBJECT = 2,
  KIV_STREAM_TYPE_PASSTHROUGH = 3,
  KIV_STREAM_TYPE_2D_WINDOW = 4,
  KIV_STREAM_TYPE_BUNDLE = 5,
};

/// How a sample is stored. The order is not that of Android's constants, and is binding.
enum class KivSampleFormat : int8_t {
  SAMPLE_FORMAT_FLOAT = 0,
  SAMPLE_FORMAT_PCM_16 = 1,
  SAMPLE_FORMAT_PCM_24_PACKED = 2,
  SAMPLE_FORMAT_PCM_32 = 3,
  SAMPLE_FORMAT_PCM_8 = 4,
  SAMPLE_FORMAT_PCM_8_24 = 5,
};

/// A stream's PCM configuration in the clients' compact form.
struct KivPcmInfo {
  uint32_t reserved;       ///< The clients' own; telemetry never reads it.
  KivSampleFormat format;  ///< Of a sample.
  int32_t sampleRate;      ///< Frames per second.
  uint32_t channels;       ///< How many there are.
  uint32_t samples;        ///< Size of the stream's buffer, in samples.
  bool interleaved;        ///< Whether the samples of a frame stand side by side.
};

}  // namespace kiv

namespace android::kiv {

/// The same with Android's format constants and a fractional rate. Note that `samples` and
/// `channels` stand the other way round.
struct KivPcmInfoExt {
  float sampleRate;       ///< Frames per second.
  uint32_t samples;       ///< Size of the stream's buffer, in samples.
  uint32_t channels;      ///< How many there are.
  bool interleaved;       ///< Whether the samples of a frame stand side by side.
  audio_format_t format;  ///< Of a sample.
};

}  // namespace android::kiv

/// The name of the constant with exactly this value, such as "AUDIO_FORMAT_PCM_16_BIT"; "" for a
/// value that is none of Android's formats. Never null; the text is static.
// Without a mark for export: where Android's <system/audio.h> defines it, a mark comes too late.
extern "C" const char* audio_format_to_string(audio_format_t format);
