#include "LinearResampler.h"

namespace render_service {

LinearResampler::LinearResampler(int input_rate, int output_rate)
    : input_rate_(static_cast<uint64_t>(input_rate)),
      output_rate_(static_cast<uint64_t>(output_rate)) {}

uint64_t LinearResampler::outputFor(uint64_t input_frames) const {
  return (input_frames * output_rate_ + input_rate_ - 1) / input_rate_;
}

size_t LinearResampler::inputFor(size_t output_frames) const {
  if (output_frames == 0) return 0;
  const uint64_t last_position = position_ + (output_frames - 1) * input_rate_;
  const uint64_t needed = last_position / output_rate_ + 2;
  return needed > consumed_ ? static_cast<size_t>(needed - consumed_) : 0;
}

void LinearResampler::process(const float* input, float* output, size_t output_frames) {
  for (size_t i = 0; i < output_frames; ++i) {
    for (const uint64_t needed = position_ / output_rate_ + 2; consumed_ < needed; ++consumed_) {
      previous_ = last_;
      last_ = *input++;
    }
    const float fraction =
        static_cast<float>(position_ % output_rate_) / static_cast<float>(output_rate_);
    output[i] = previous_ + (last_ - previous_) * fraction;
    position_ += input_rate_;
  }
}

}  // namespace render_service
