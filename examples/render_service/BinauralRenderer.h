/// What reaches the two ears of a listener from one sound source.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace render_service {

/// Frames per second of everything that is rendered.
inline constexpr int kOutputRate = 48000;

/// Where a source stands on the horizontal circle around the listener.
struct Placement {
  double azimuth = 0.0;  ///< At first; in radians from straight ahead, towards the left.
  double turn = 0.0;     ///< Radians per second, towards the left.
};

/// Places one mono source by the differences between the ears, in time and in level. Front and back
/// sound alike: it takes more than two numbers to tell them apart.
///
/// The signal may be given in blocks of any sizes; how it is cut makes no difference to the result.
/// Not synchronised.
class BinauralRenderer {
 public:
  /// How much later the signal arrives at most. A source that has ended takes this much silence
  /// until all of it has been heard.
  static constexpr size_t kTailFrames = 32;

  explicit BinauralRenderer(const Placement& placement);

  /// Adds the next `frames` frames of the source to interleaved stereo, with the headroom that lets
  /// a source of full scale stay within full scale at both ears.
  void addTo(float* stereo, const float* mono, size_t frames);

 private:
  /// How an ear hears the source: later, and louder or softer.
  struct Path {
    double delay;  // frames
    double gain;
  };
  struct Ear {
    Path path;
    Path step;  // per frame
  };

  static Path pathTo(double side, double azimuth);

  /// Sets out for the position that the source will have when the control period ends.
  void aim();

  float hear(Ear& ear) const;

  static constexpr size_t kLineFrames = 2 * kTailFrames;

  const Placement placement_;
  Ear left_;
  Ear right_;
  std::array<float, kLineFrames> line_{};  // the last frames, as a ring
  uint64_t frame_ = 0;                     // how many were rendered
};

/// What a block came to.
struct BlockLevel {
  float peak;      ///< Largest magnitude, before anything was clipped.
  size_t clipped;  ///< Samples that went beyond full scale.
};

/// Limits samples to full scale, which is 1; what is not a number becomes silence.
BlockLevel clipToFullScale(float* samples, size_t count);

}  // namespace render_service
