#include "StreamClient.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include "Placements.h"

namespace render_service {

using android::kiv::KivError;
using android::kiv::KivErrorSeverity;

namespace {

// While the client waits for the service, it updates the progress bar this often.
constexpr RenderService::Patience kPatience{50};

uint64_t countFrames(const std::vector<std::string>& files) {
  uint64_t frames = 0;
  for (const std::string& path : files) {
    UniqueFd fd = openForReading(path);
    if (fd.get() < 0) continue;
    const SoundFileReader file(std::move(fd));
    if (file.error() != 0 || findObjection(file.info()).error != KivError::OK) continue;
    frames += static_cast<uint64_t>(file.info().frames);
  }
  return frames;
}

}  // namespace

StreamClient::StreamClient(RenderService& service, ProgressBar& progress)
    : service_(service), progress_(progress), reporter_("StreamClient") {}

size_t StreamClient::play(const std::vector<std::string>& files) {
  // This opens every file, so it is done only if the total is shown.
  if (progress_.enabled()) progress_.setTotal(countFrames(files));
  for (size_t i = 0; i < files.size(); ++i) {
    if (stopping_) {
      failed_ += files.size() - i;
      break;
    }
    if (StreamPtr stream = open(files[i], i, files.size())) start(std::move(stream));
    while (closeFinished(Patience::zero())) {
    }
  }
  service_.endOfStreams();
  while (!service_.finished()) {
    closeFinished(kPatience);
    showProgress();
  }
  return failed_;
}

void StreamClient::stop() {
  stopping_ = true;
  service_.stop();
}

StreamClient::StreamPtr StreamClient::open(const std::string& file, size_t index, size_t count) {
  RenderService::Opening opening;
  if (UniqueFd fd = openForReading(file); fd.get() >= 0) {
    const std::string name = std::filesystem::path(file).filename();
    opening = service_.openStream(std::move(fd), name, placeSource(name, index, count));
  } else {
    const int error = errno;
    opening.refusal = std::strerror(error);
    // One failure is one report: a second one, of the same failure as Android's status, would make
    // each missing file count twice. Android's status codes are negative errno values.
    reporter_.error(KivError::CLIENT_STREAM_OPEN_FAILED, -error, "openStream",
                    KivErrorSeverity::ERROR);
  }
  reporter_.clientCall("openStream", opening.stream != nullptr);
  if (opening.stream == nullptr) fail(file, opening.refusal);
  return std::move(opening.stream);
}

void StreamClient::start(StreamPtr stream) {
  auto result = RenderService::Start::FULL;
  while (result == RenderService::Start::FULL) {
    result = service_.startStream(stream, kPatience);
    closeFinished(Patience::zero());
    showProgress();
  }
  reporter_.clientCall("startStream", result == RenderService::Start::TAKEN);
  if (result == RenderService::Start::TAKEN) return;
  fail(stream->name(), stopping_ ? "stopped" : "could not be started");
  close(std::move(stream));
}

bool StreamClient::closeFinished(Patience timeout) {
  StreamPtr stream = service_.takeFinished(timeout);
  if (stream == nullptr) return false;
  if (!stream->complete()) {
    fail(stream->name(), stopping_ ? "stopped" : "could not be rendered to its end");
  }
  close(std::move(stream));
  return true;
}

void StreamClient::close(StreamPtr stream) {
  service_.closeStream(std::move(stream));
  reporter_.clientCall("closeStream", true);
}

void StreamClient::fail(const std::string& name, const std::string& reason) {
  ++failed_;
  progress_.print("render_service: " + name + ": " + reason);
}

void StreamClient::showProgress() {
  const RenderService::Progress progress = service_.progress();
  progress_.update(progress.file_frames, progress.current);
}

}  // namespace render_service
