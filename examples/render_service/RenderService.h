/// The service, which opens, starts, stops and closes streams, and renders them.
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "AudioStream.h"
#include "AudioThread.h"
#include "BinauralRenderer.h"
#include "Reporter.h"
#include "SoundFile.h"
#include "UniqueFd.h"

namespace render_service {

/// Renders streams into one binaural WAV file. A stream goes through `openStream`, `startStream`
/// and `takeFinished` to `closeStream`, and each step is reported. All operations are for one
/// thread, except `stop()`.
class RenderService {
 public:
  using StreamPtr = AudioThread::StreamPtr;
  using Patience = AudioThread::StreamQueue::Patience;
  using Start = AudioThread::StreamQueue::Push;

  struct Opening {
    StreamPtr stream;     ///< Null if the file cannot be rendered.
    std::string refusal;  ///< The reason if `stream` is null.
  };

  struct Progress {
    std::string current;  ///< The stream that began last.
    uint64_t file_frames;
  };

  explicit RenderService(AudioThread::Pace pace);

  /// Waits until the started streams have been rendered, and closes the output.
  ~RenderService();

  RenderService(const RenderService&) = delete;
  RenderService& operator=(const RenderService&) = delete;

  /// Opens the output, which `shutDown()` completes. Called once, before the other operations.
  /// Returns the reason if the output cannot be written, or nothing if it can. If it cannot, only
  /// `shutDown`, `seconds` and `finishReports` may follow.
  std::string open(const std::string& output);

  /// Opens a stream of the given file.
  Opening openStream(UniqueFd fd, const std::string& name, const Placement& placement);

  /// Starts to render the stream after those that were started before. The caller keeps it if too
  /// many are waiting, or if the output has failed or the service stops.
  Start startStream(StreamPtr& stream, Patience patience);

  /// No more streams will be started.
  void endOfStreams();

  /// Gives up all streams that have been started, and accepts no more. What has been rendered stays
  /// in the output. Any thread, also before `open` and after `shutDown`.
  void stop();

  /// Returns the next stream that was rendered or given up; `complete()` is true for the former.
  /// Null if there is none yet, or, once `finished()` is true, no more.
  StreamPtr takeFinished(Patience patience);

  /// True once all started streams have been taken, after `endOfStreams()`, `stop()` or an error of
  /// the output.
  bool finished() const;

  /// Closes a stream that was opened, whether or not it was started.
  void closeStream(StreamPtr stream);

  Progress progress() const;

  /// Completes the output. Returns false if any of it could not be written.
  bool shutDown();

  /// Seconds of sound in the output.
  double seconds() const;

  /// Makes the last reports, and returns the number of reports. After `shutDown()`.
  long long finishReports();

 private:
  Reporter reporter_;
  Reporter audio_reporter_;
  const AudioThread::Pace pace_;
  std::atomic<bool> stopping_{false};
  std::optional<SoundFileWriter> sink_;
  std::shared_ptr<void> trace_;       // from open to shutDown
  std::optional<AudioThread> audio_;  // last, because it uses the members above
};

}  // namespace render_service
