/// Conversion between sample rates by linear interpolation.
#pragma once

#include <cstddef>
#include <cstdint>

namespace render_service {

/// Converts one mono signal, block by block. Fast, and good enough for speech: frequencies above
/// half of the lower rate are not filtered out. Between equal rates the signal is unchanged.
///
/// Not synchronized.
class LinearResampler {
 public:
  /// Both rates must be positive.
  LinearResampler(int input_rate, int output_rate);

  /// Number of output frames of a signal of `input_frames` frames.
  uint64_t outputFor(uint64_t input_frames) const;

  /// Number of input frames that the next `output_frames` output frames need. They include the
  /// frame after the last output frame; after the signal's end it may be silence.
  size_t inputFor(size_t output_frames) const;

  /// Computes the next `output_frames` output frames from `inputFor(output_frames)` input frames.
  void process(const float* input, float* output, size_t output_frames);

 private:
  const uint64_t input_rate_;
  const uint64_t output_rate_;
  uint64_t position_ = 0;  // of the next output frame, in input frames times the output rate
  uint64_t consumed_ = 0;  // number of processed input frames
  float previous_ = 0.0F;  // the last two input frames
  float last_ = 0.0F;
};

}  // namespace render_service
