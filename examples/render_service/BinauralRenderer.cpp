#include "BinauralRenderer.h"

#include <algorithm>
#include <cmath>

namespace render_service {

namespace {

constexpr double kHeadRadius = 0.0875;     // metres
constexpr double kSpeedOfSound = 343.0;    // metres per second
constexpr double kLevelDifference = 12.0;  // decibels between the ears, for a source at one side
// Compensates the gain of the near ear, which is half of the level difference.
constexpr double kHeadroom = 0.5;
// The delay at both ears of a source straight ahead. It exceeds half of the largest difference.
constexpr double kCentreDelay = BinauralRenderer::kTailFrames / 2.0;
// Positions are computed once per this many frames, and interpolated linearly.
constexpr unsigned kControlFrames = 32;

constexpr double kLeft = 1.0;
constexpr double kRight = -1.0;

}  // namespace

BinauralRenderer::BinauralRenderer(const Placement& placement)
    : placement_(placement),
      left_{pathTo(kLeft, placement.azimuth), {}},
      right_{pathTo(kRight, placement.azimuth), {}} {}

void BinauralRenderer::addTo(float* stereo, const float* mono, size_t frames) {
  for (size_t i = 0; i < frames; ++i) {
    // Counted from the source's beginning, so that the size of blocks does not change the result.
    if (frame_ % kControlFrames == 0) aim();
    line_[frame_ % kLineFrames] = mono[i];
    stereo[2 * i] += hear(left_);
    stereo[2 * i + 1] += hear(right_);
    ++frame_;
  }
}

BinauralRenderer::Path BinauralRenderer::pathTo(double side, double azimuth) {
  const double sine = std::sin(azimuth);
  // Woodworth's model: the path around a sphere, by the angle from the median plane.
  const double seconds = kHeadRadius / kSpeedOfSound * (std::asin(sine) + sine);
  const double decibels = kLevelDifference / 2.0 * sine;
  return {kCentreDelay - side * seconds * kOutputRate / 2.0,
          kHeadroom * std::pow(10.0, side * decibels / 20.0)};
}

void BinauralRenderer::aim() {
  const double seconds = static_cast<double>(frame_ + kControlFrames) / kOutputRate;
  const double azimuth = placement_.azimuth + placement_.turn * seconds;
  const auto aim_ear = [azimuth](Ear& ear, double side) {
    const Path target = pathTo(side, azimuth);
    ear.step = {(target.delay - ear.path.delay) / kControlFrames,
                (target.gain - ear.path.gain) / kControlFrames};
  };
  aim_ear(left_, kLeft);
  aim_ear(right_, kRight);
}

float BinauralRenderer::hear(Ear& ear) const {
  const auto whole = static_cast<size_t>(ear.path.delay);
  const auto fraction = static_cast<float>(ear.path.delay - static_cast<double>(whole));
  const float later = line_[(frame_ - whole) % kLineFrames];
  const float earlier = line_[(frame_ - whole - 1) % kLineFrames];
  const float sample = later + (earlier - later) * fraction;
  const float heard = sample * static_cast<float>(ear.path.gain);
  ear.path.delay += ear.step.delay;
  ear.path.gain += ear.step.gain;
  return heard;
}

BlockLevel clipToFullScale(float* samples, size_t count) {
  BlockLevel level{0.0F, 0};
  for (size_t i = 0; i < count; ++i) {
    if (std::isnan(samples[i])) samples[i] = 0.0F;
    const float magnitude = std::abs(samples[i]);
    level.peak = std::max(level.peak, magnitude);
    if (magnitude > 1.0F) {
      samples[i] = std::copysign(1.0F, samples[i]);
      ++level.clipped;
    }
  }
  return level;
}

}  // namespace render_service
