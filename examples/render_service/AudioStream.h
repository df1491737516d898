/// A sound file that the service renders.
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
/// to their first channel, which is the omnidirectional one, and all others to the mean of their
/// channels.
///
/// Used by one thread at a time, the one that holds the stream.
class AudioStream {
 public:
  /// Takes ownership of a file for which `findObjection` returned `OK`.
  AudioStream(SoundFileReader file, std::string name, const Placement& placement);

  const std::string& name() const { return name_; }
  const StreamDescription& description() const { return description_; }

  /// Decodes the input of the next block, and returns its number of frames.
  size_t decodeBlock();

  /// Adds the decoded block to `kBlockFrames` frames of interleaved stereo.
  void addBlockTo(float* stereo);

  /// Number of output frames that are left, without the delay of the last sound at the far ear.
  uint64_t framesLeft() const { return frames_left_; }

  /// True once everything has been decoded and rendered.
  bool ended() const { return frames_left_ + tail_left_ == 0; }

  /// True if as many frames were rendered as the file's header announced.
  bool complete() const { return ended() && frames_read_ == announcedFrames(); }

  /// libsndfile's number of a decoding error, or 0. It may be 0 for a file that ends too early.
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
  std::vector<float> block_;   // one channel, at the output's rate
};

}  // namespace render_service
