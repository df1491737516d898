/// Descriptions of streams for reports, and limits of streams.
#pragma once

#include <kiv/KivError.h>
#include <kiv/KivPcmInfo.h>
#include <sndfile.h>

#include <cstddef>

namespace render_service {

/// Frames of output in a block.
inline constexpr size_t kBlockFrames = 480;

/// Description of a stream in reports.
struct StreamDescription {
  android::kiv::KivPcmInfoExt pcm;
  ::kiv::KivStreamType type;
};

/// Describes the stream of a sound file:
///  - The format is that of the stored samples. Doubles count as floats, as which they are decoded;
///    codecs without a constant of the platform have the default format.
///  - The type depends on the number of channels: one is an object, two are passthrough, the square
///    numbers from four on are ambisonic, and all others are a bundle of objects.
///  - The buffer has the frames for one block of output.
StreamDescription describeStream(const SF_INFO& info);

/// The reason why a stream is refused, and the number that caused it.
struct Objection {
  android::kiv::KivError error;  ///< `OK` if the stream is accepted.
  int detail;
};

/// Checks the limits: 1 to 16 channels, 8000 to 192000 frames per second, at least one frame.
Objection findObjection(const SF_INFO& info);

}  // namespace render_service
