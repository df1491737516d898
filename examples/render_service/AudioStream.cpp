#include "AudioStream.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace render_service {

namespace {

// Limits samples of float files. Up to this magnitude they may be intended.
constexpr float kMaxMagnitude = 16.0F;

}  // namespace

AudioStream::AudioStream(SoundFileReader file, std::string name, const Placement& placement)
    : file_(std::move(file)),
      name_(std::move(name)),
      description_(describeStream(file_.info())),
      resampler_(file_.info().samplerate, kOutputRate),
      renderer_(placement),
      frames_left_(resampler_.outputFor(announcedFrames())),
      block_(kBlockFrames) {}

size_t AudioStream::decodeBlock() {
  const auto frames = static_cast<size_t>(std::min<uint64_t>(kBlockFrames, frames_left_));
  const uint64_t file_left = announcedFrames() - frames_read_;
  size_t needed = resampler_.inputFor(frames);
  // The resampler may not need the last frames of a file with a higher rate.
  if (frames > 0 && frames == frames_left_) {
    needed = std::max(needed, static_cast<size_t>(file_left));
  }
  const size_t count = read(needed);
  resampler_.process(source_.data(), block_.data(), frames);
  std::fill(block_.begin() + static_cast<std::ptrdiff_t>(frames), block_.end(), 0.0F);
  // A damaged file may announce far more frames than it has. The rest is not rendered as silence.
  frames_left_ = count < std::min<uint64_t>(needed, file_left) ? 0 : frames_left_ - frames;
  tail_left_ -= std::min<uint64_t>(kBlockFrames - frames, tail_left_);
  return count;
}

void AudioStream::addBlockTo(float* stereo) {
  renderer_.addTo(stereo, block_.data(), block_.size());
}

/// Fills the source's buffer with the file's next frames, and with silence after its end.
size_t AudioStream::read(size_t frames) {
  const auto channels = static_cast<size_t>(file_.info().channels);
  interleaved_.resize(frames * channels);
  const size_t count = file_.read(interleaved_.data(), frames);
  source_.assign(frames, 0.0F);
  for (size_t i = 0; i < count; ++i) source_[i] = mix(&interleaved_[i * channels]);
  frames_read_ += count;
  return count;
}

float AudioStream::mix(const float* frame) const {
  const int channels = file_.info().channels;
  const bool ambisonic = description_.type == ::kiv::KivStreamType::KIV_STREAM_TYPE_AMBISONIC;
  const float sample =
      ambisonic ? frame[0]
                : std::accumulate(frame, frame + channels, 0.0F) / static_cast<float>(channels);
  return std::isfinite(sample) ? std::clamp(sample, -kMaxMagnitude, kMaxMagnitude) : 0.0F;
}

}  // namespace render_service
