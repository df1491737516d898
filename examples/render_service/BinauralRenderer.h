/// Rendering of one sound source for the two ears of a listener.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace render_service {

/// Frames per second of everything that is rendered.
inline constexpr int kOutputRate = 48000;

/// The position of a source on the horizontal circle around the listener.
struct Placement {
  double azimuth = 0.0;  ///< Initial; in radians from straight ahead, towards the left.
  double turn = 0.0;     ///< Radians per second, towards the left.
};

/// Places one mono source by the differences between the ears, in time and in level. A source in
/// front and one behind with the same differences sound alike.
///
/// The signal may be passed in blocks of any sizes; they do not change the result. Not
/// synchronized.
class BinauralRenderer {
 public:
  /// The longest delay of the signal. After the end of a source, this many frames of silence are
  /// needed to render all of it.
  static constexpr size_t kTailFrames = 32;

  explicit BinauralRenderer(const Placement& placement);

  /// Adds the next `frames` frames of the source to interleaved stereo, with so much headroom that
  /// a source of full scale stays within full scale at both ears.
  void addTo(float* stereo, const float* mono, size_t frames);

 private:
  /// The delay and the gain of the source at an ear.
  struct Path {
    double delay;  // frames
    double gain;
  };
  struct Ear {
    Path path;
    Path step;  // per frame
  };

  static Path pathTo(double side, double azimuth);

  /// Starts to move to the position that the source will have at the end of the control period.
  void aim();

  float hear(Ear& ear) const;

  static constexpr size_t kLineFrames = 2 * kTailFrames;

  const Placement placement_;
  Ear left_;
  Ear right_;
  std::array<float, kLineFrames> line_{};  // the last frames, as a ring
  uint64_t frame_ = 0;                     // number of rendered frames
};

/// The level of a block.
struct BlockLevel {
  float peak;      ///< Largest magnitude before clipping.
  size_t clipped;  ///< Number of samples beyond full scale.
};

/// Limits samples to full scale, which is 1; NaN becomes silence.
BlockLevel clipToFullScale(float* samples, size_t count);

}  // namespace render_service
