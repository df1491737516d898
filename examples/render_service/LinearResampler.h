/// Conversion between sample rates by linear interpolation.
#pragma once

#include <cstddef>
#include <cstdint>

namespace render_service {

/// Converts one mono signal, block by block. Cheap, and good enough for speech: what lies above
/// half of the lower rate is not filtered out. Between equal rates the signal passes unchanged.
///
/// Not synchronised.
class LinearResampler {
 public:
  /// Both rates are positive.
  LinearResampler(int input_rate, int output_rate);

  /// How many frames come out of a signal of `input_frames` frames.
  uint64_t outputFor(uint64_t input_frames) const;

  /// How many more input frames the next `output_frames` output frames take. They include the one
  /// that the last output frame is interpolated towards; silence will do behind the signal's end.
  size_t inputFor(size_t output_frames) const;

  /// Makes the next `output_frames` output frames, from exactly `inputFor(output_frames)` frames.
  void process(const float* input, float* output, size_t output_frames);

 private:
  const uint64_t input_rate_;
  const uint64_t output_rate_;
  uint64_t position_ = 0;  // of the next output frame, in input frames times the output rate
  uint64_t consumed_ = 0;  // input frames so far
  float previous_ = 0.0F;  // the last two of them
  float last_ = 0.0F;
};

}  // namespace render_service
