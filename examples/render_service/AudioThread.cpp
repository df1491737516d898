#include "AudioThread.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

namespace render_service {

using android::kiv::KivError;
using android::kiv::KivErrorSeverity;
using android::kiv::NumericAggregationType;

namespace {

constexpr uint64_t kOverlapFrames = kOutputRate / 4;
constexpr std::chrono::duration<double> kBlockTime(static_cast<double>(kBlockFrames) / kOutputRate);
// Reported for silence, whose level would be minus infinity.
constexpr float kFloorDbfs = -120.0F;

float toDbfs(float peak) {
  return peak > 0.0F ? std::max(kFloorDbfs, 20.0F * std::log10(peak)) : kFloorDbfs;
}

}  // namespace

AudioThread::AudioThread(SoundFileWriter& sink, Reporter& reporter, Pace pace,
                         const std::atomic<bool>& stopping)
    : pace_(pace),
      stopping_(stopping),
      sink_(sink),
      reporter_(reporter),
      block_(2 * kBlockFrames),
      waiting_(kQueueCapacity),
      // Unlimited: if the audio thread waited for room here while the control thread waits for room
      // in waiting_, neither could go on.
      done_(std::numeric_limits<size_t>::max()),
      thread_([this] { run(); }) {}

AudioThread::~AudioThread() { finish(); }

void AudioThread::finish() {
  waiting_.close();
  if (thread_.joinable()) thread_.join();
}

std::string AudioThread::current() const {
  const std::lock_guard<std::mutex> lock(current_mutex_);
  return current_;
}

void AudioThread::run() {
  while (takeUpStreams()) {
    if (stopping_ || !renderBlock()) {
      giveUp();
      break;
    }
    retireStreams();
    if (pace_ == Pace::REAL_TIME) waitForPlayback();
  }
  done_.close();
}

/// Returns false if no stream is left to render.
bool AudioThread::takeUpStreams() {
  while (nextMayBegin()) {
    std::optional<StreamPtr> stream = waiting_.pop();
    if (!stream.has_value()) break;
    const std::lock_guard<std::mutex> lock(current_mutex_);
    current_ = (*stream)->name();
    active_.push_back(std::move(*stream));
  }
  return !active_.empty();
}

bool AudioThread::nextMayBegin() const {
  return active_.empty() || active_.back()->framesLeft() <= kOverlapFrames;
}

bool AudioThread::renderBlock() {
  const auto begin = Clock::now();
  const size_t file_frames = mixActive();
  const BlockLevel level = clipToFullScale(block_.data(), block_.size());
  reportBlock(Clock::now() - begin, file_frames, level);
  file_frames_ += file_frames;
  return writeBlock();
}

/// Returns the number of file frames in the mix.
size_t AudioThread::mixActive() {
  const Reporter::Section section(reporter_, "renderBlock");
  std::fill(block_.begin(), block_.end(), 0.0F);
  size_t file_frames = 0;
  for (const StreamPtr& stream : active_) {
    {
      const Reporter::Section decoding(reporter_, "decodeBlock");
      file_frames += stream->decodeBlock();
    }
    stream->addBlockTo(block_.data());
  }
  return file_frames;
}

void AudioThread::reportBlock(Clock::duration processing, size_t file_frames,
                              const BlockLevel& level) {
  // A sound waits until its block is full, and then for the block to be rendered.
  const auto latency = std::chrono::ceil<std::chrono::milliseconds>(kBlockTime + processing);
  for (const StreamPtr& stream : active_) reporter_.latency(stream->description(), latency);
  const double load = 100.0 * (processing / kBlockTime);
  reporter_.value("frames_rendered", static_cast<int64_t>(file_frames),
                  NumericAggregationType::SUM);
  reporter_.value("clipped_samples", static_cast<int64_t>(level.clipped),
                  NumericAggregationType::SUM);
  reporter_.value("peak_dbfs", toDbfs(level.peak), NumericAggregationType::MAX);
  reporter_.value("cpu_load_percent", static_cast<float>(load), NumericAggregationType::AVG);
}

bool AudioThread::writeBlock() {
  const Reporter::Section section(reporter_, "writeBlock");
  if (sink_.write(block_.data(), kBlockFrames)) {
    output_frames_ += kBlockFrames;
    return true;
  }
  reporter_.error(KivError::SERVICE_RENDER_BINAURAL_FAILED, sink_.error(), "writeBlock",
                  KivErrorSeverity::FATAL);
  return false;
}

void AudioThread::retireStreams() {
  for (StreamPtr& stream : active_) {
    if (!stream->ended()) continue;
    if (!stream->complete()) {
      reporter_.error(KivError::USER_INVALID_NUMBER_OF_SAMPLES, stream->decodingError(),
                      "decodeBlock", KivErrorSeverity::WARNING);
    }
    handBack(stream);
  }
  active_.erase(std::remove(active_.begin(), active_.end(), nullptr), active_.end());
}

/// Waits as long as a device would take to play the block.
void AudioThread::waitForPlayback() {
  // A thread that fell behind, or that waited for a stream, does not catch up by rendering faster.
  played_ =
      std::max(played_, Clock::now()) + std::chrono::duration_cast<Clock::duration>(kBlockTime);
  std::this_thread::sleep_until(played_);
}

/// Hands back all streams, rendered or not.
void AudioThread::giveUp() {
  waiting_.close();
  std::for_each(active_.begin(), active_.end(), [this](StreamPtr& stream) { handBack(stream); });
  active_.clear();
  while (std::optional<StreamPtr> stream = waiting_.pop()) handBack(*stream);
}

void AudioThread::handBack(StreamPtr& stream) { done_.push(stream, StreamQueue::Patience::zero()); }

}  // namespace render_service
