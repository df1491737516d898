/// One sound file on its way through the service.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "BinauralRenderer.h"
#include "LinearResampler.h"
#include "SoundFile.h"
#include "StreamDescription.h"

namespace render_service {

/// Decodes a file to one source at the output's rate, and renders it. Ambisonic streams are reduced
/// to their first channel, which is the omnidirectional one, and all others to the mean of theirs.
///
/// Used by one thread at a time: whoever holds the stream.
class AudioStream {
 public:
  /// Takes over a file that there is no objection to.
  AudioStream(SoundFileReader file, std::string name, const Placement& placement);

  const std::string& name() const { return name_; }
  const StreamDescription& description() const { return description_; }

  /// Decodes what the next block takes, and returns how many frames of the file that was.
  size_t decodeBlock();

  /// Adds the decoded block to `kBlockFrames` frames of interleaved stereo.
  void addBlockTo(float* stereo);

  /// Output frames that the file has left, not counting the last sound's way to the later ear.
  uint64_t framesLeft() const { return frames_left_; }

  /// True once there is nothing left to decode or to hear.
  bool ended() const { return frames_left_ + tail_left_ == 0; }

  /// True if all that the file announced was there to be rendered, and was.
  bool complete() const { return ended() && frames_read_ == announcedFrames(); }

  /// libsndfile's number of what went wrong in decoding, or 0. A file that merely ends too early
  /// may have none.
  int decodingError() const { return file_.error(); }

 private:
  uint64_t announcedFrames() const { return static_cast<uint64_t>(file_.info().frames); }
  size_t read(size_t frames);
  float mix(const float* frame) const;

  SoundFileReader file_;
  const std::string name_;
  const StreamDescription description_;
  LinearResampler resampler_;
  BinauralRenderer renderer_;
  uint64_t frames_read_ = 0;
  uint64_t frames_left_;
  uint64_t tail_left_ = BinauralRenderer::kTailFrames;
  std::vector<float> interleaved_;
  std::vector<float> source_;  // one channel, at the file's rate
  std::vector<float> block_;   // the same at the output's rate
};

}  // namespace render_service
