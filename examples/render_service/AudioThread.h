/// The thread that renders.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "AudioStream.h"
#include "BinauralRenderer.h"
#include "BoundedQueue.h"
#include "Reporter.h"
#include "SoundFile.h"

namespace render_service {

/// Renders streams in the order in which they were passed in, each beginning a little before the
/// previous one ends, and writes the mix block by block. Where a device would play silence, the
/// thread waits for the next stream, so the output does not depend on how threads are scheduled.
///
/// The operations are for one other thread, the control thread, unless their comment says
/// otherwise.
class AudioThread {
 public:
  using StreamPtr = std::unique_ptr<AudioStream>;
  using StreamQueue = BoundedQueue<StreamPtr>;

  enum class Pace {
    FAST,       ///< Renders as fast as possible.
    REAL_TIME,  ///< Renders one second of sound a second, as for a device.
  };

  /// Maximum number of streams that wait to be rendered.
  static constexpr size_t kQueueCapacity = 4;

  /// Begins to render. Until `finish()` has returned, `sink` and `reporter` belong to the thread.
  /// Once `stopping` is true, the thread gives up all streams after the current block.
  AudioThread(SoundFileWriter& sink, Reporter& reporter, Pace pace,
              const std::atomic<bool>& stopping);
  ~AudioThread();

  AudioThread(const AudioThread&) = delete;
  AudioThread& operator=(const AudioThread&) = delete;

  /// The streams to render. The thread closes the queue when the sink fails or it has to stop.
  StreamQueue& waiting() { return waiting_; }

  /// The streams that have been rendered or given up. The thread closes the queue after the last.
  StreamQueue& done() { return done_; }
  const StreamQueue& done() const { return done_; }

  /// Closes `waiting()`, and waits until its streams have been rendered.
  void finish();

  /// The name of the stream that began last. Any thread.
  std::string current() const;

  /// Number of frames of the files that have been rendered. Any thread.
  uint64_t fileFrames() const { return file_frames_; }

  /// Number of frames that have been written. Any thread.
  uint64_t outputFrames() const { return output_frames_; }

 private:
  using Clock = std::chrono::steady_clock;

  void run();
  bool takeUpStreams();
  bool nextMayBegin() const;
  bool renderBlock();
  size_t mixActive();
  void reportBlock(Clock::duration processing, size_t file_frames, const BlockLevel& level);
  bool writeBlock();
  void waitForPlayback();
  void retireStreams();
  void giveUp();
  void handBack(StreamPtr& stream);

  const Pace pace_;
  const std::atomic<bool>& stopping_;

  // Used by the audio thread only.
  SoundFileWriter& sink_;
  Reporter& reporter_;
  std::vector<StreamPtr> active_;  // in the order in which they began
  std::vector<float> block_;       // interleaved stereo
  Clock::time_point played_;       // when a device would have played all that was written

  // Safe to use from any thread.
  StreamQueue waiting_;
  StreamQueue done_;
  std::atomic<uint64_t> file_frames_{0};
  std::atomic<uint64_t> output_frames_{0};

  mutable std::mutex current_mutex_;
  std::string current_;  // guarded by current_mutex_

  std::thread thread_;  // last, because it uses all of the above
};

}  // namespace render_service
