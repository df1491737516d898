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

/// Renders the streams that it is handed, in their order and each beginning a little before the one
/// before it ends, and writes the mix block by block. As there is no device to keep pace with, it
/// runs as fast as it can, and waits for streams where a device would play silence: what is written
/// does not depend on how the threads are scheduled.
///
/// The operations are for one other thread, the control thread, except where they say more.
class AudioThread {
 public:
  using StreamPtr = std::unique_ptr<AudioStream>;
  using StreamQueue = BoundedQueue<StreamPtr>;

  /// How many streams may wait for their turn.
  static constexpr size_t kQueueCapacity = 4;

  /// Begins to render. Until `finish()` has returned, `sink` and `reporter` are the thread's.
  AudioThread(SoundFileWriter& sink, Reporter& reporter);
  ~AudioThread();

  AudioThread(const AudioThread&) = delete;
  AudioThread& operator=(const AudioThread&) = delete;

  /// The streams to render. The thread closes it when the sink fails.
  StreamQueue& waiting() { return waiting_; }

  /// The streams that the thread is done with, completely rendered or not. Closed by the thread
  /// when no more will come.
  StreamQueue& done() { return done_; }
  const StreamQueue& done() const { return done_; }

  /// Lets the thread render what it was handed, and waits for its end.
  void finish();

  /// The name of the stream that began last. Any thread.
  std::string current() const;

  /// How many frames of the files have been rendered. Any thread.
  uint64_t fileFrames() const { return file_frames_; }

  /// How many frames have been written. Any thread.
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
  void retireStreams();
  void giveUp();
  void handBack(StreamPtr& stream);

  // The audio thread's own.
  SoundFileWriter& sink_;
  Reporter& reporter_;
  std::vector<StreamPtr> active_;  // in the order in which they began
  std::vector<float> block_;       // interleaved stereo

  // Synchronise themselves.
  StreamQueue waiting_;
  StreamQueue done_;
  std::atomic<uint64_t> file_frames_{0};
  std::atomic<uint64_t> output_frames_{0};

  mutable std::mutex current_mutex_;
  std::string current_;  // guarded by current_mutex_

  std::thread thread_;  // last, for it uses all of the above
};

}  // namespace render_service
