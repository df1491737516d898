/// Descriptors of audio streams, which clients pass with a report. Assign the members by name: the
/// two descriptors have `samples` and `channels` in opposite order.
///
///     #include <kiv/TelemetryLogger.h>
///     using namespace android::kiv;
///
///     ::kiv::KivPcmInfo stereo{};
///     stereo.format = ::kiv::KivSampleFormat::SAMPLE_FORMAT_PCM_16;
///     stereo.sampleRate = 48000;
///     stereo.channels = 2;
///     stereo.samples = 960;
///     stereo.interleaved = true;
///     TelemetryEnv().getLogger()->logStreamEvent(
///         stereo, ::kiv::KivStreamType::KIV_STREAM_TYPE_OBJECT, "stream_opened");
///
/// Write `::kiv::` with the leading colons: where `using namespace android;` is in effect, `kiv::`
/// alone is ambiguous.
#pragma once

#include <system/audio.h>

#include <cstdint>

namespace kiv {

/// The kind of content of a stream.
enum class KivStreamType : int8_t {
  KIV_STREAM_TYPE_UNKNOWN = 0,
  KIV_STREAM_TYPE_AMBISONIC = 1,
  KIV_STREAM_TYPE_OBJECT = 2,
  KIV_STREAM_TYPE_PASSTHROUGH = 3,
  KIV_STREAM_TYPE_2D_WINDOW = 4,
  KIV_STREAM_TYPE_BUNDLE = 5,
};

/// The format of a sample. The numbers are not those of Android's constants, and never change.
enum class KivSampleFormat : int8_t {
  SAMPLE_FORMAT_FLOAT = 0,
  SAMPLE_FORMAT_PCM_16 = 1,
  SAMPLE_FORMAT_PCM_24_PACKED = 2,
  SAMPLE_FORMAT_PCM_32 = 3,
  SAMPLE_FORMAT_PCM_8 = 4,
  SAMPLE_FORMAT_PCM_8_24 = 5,
};

/// A stream's PCM configuration in compact form: for clients of the service, whose formats all have
/// a `KivSampleFormat`.
struct KivPcmInfo {
  uint32_t reserved;       ///< Reserved for clients; telemetry never reads it.
  KivSampleFormat format;  ///< Format of a sample.
  int32_t sampleRate;      ///< Frames per second.
  uint32_t channels;       ///< Number of channels.
  uint32_t samples;        ///< Size of the stream's buffer, in samples.
  bool interleaved;        ///< True if the samples of a frame are adjacent.
};

}  // namespace kiv

namespace android::kiv {

/// A stream's PCM configuration with Android's format constants and a fractional rate: for code
/// that has one of those. The order of `samples` and `channels` differs from `::kiv::KivPcmInfo`.
struct KivPcmInfoExt {
  float sampleRate;       ///< Frames per second.
  uint32_t samples;       ///< Size of the stream's buffer, in samples.
  uint32_t channels;      ///< Number of channels.
  bool interleaved;       ///< True if the samples of a frame are adjacent.
  audio_format_t format;  ///< Format of a sample.
};

}  // namespace android::kiv

/// The name of the constant with exactly this value, such as "AUDIO_FORMAT_PCM_16_BIT"; "" for a
/// value that is none of Android's formats. Never null; the text is static.
// Not marked for export here: where Android's <system/audio.h> defines it, a mark comes too late.
extern "C" const char* audio_format_to_string(audio_format_t format);
