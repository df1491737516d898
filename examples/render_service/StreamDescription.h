/// How the service describes streams in its reports, and which ones it takes.
#pragma once

#include <kiv/KivError.h>
#include <kiv/KivPcmInfo.h>
#include <sndfile.h>

#include <cstddef>

namespace render_service {

/// Frames of output that are rendered at a time.
inline constexpr size_t kBlockFrames = 480;

/// A stream as reports describe it.
struct StreamDescription {
  android::kiv::KivPcmInfoExt pcm;
  kiv::KivStreamType type;
};

/// Describes what a sound file carries:
///  - The format is that of the stored samples. Doubles count as floats, as which they are decoded;
///    codecs that the platform has no constant for come out as the default format.
///  - The type follows from the number of channels: one is an object, two were made for two ears
///    already and count as passthrough, the square numbers from four on are ambisonic, and anything
///    else is a bundle of objects.
///  - The buffer holds what goes into one block of output.
StreamDescription describeStream(const SF_INFO& info);

/// Why a stream is not taken, and the number that is to blame.
struct Objection {
  android::kiv::KivError error;  ///< `OK` if there is nothing against the stream.
  int detail;
};

/// Streams have 1 to 16 channels, 8000 to 192000 frames per second, and at least one frame.
Objection findObjection(const SF_INFO& info);

}  // namespace render_service
