#include "RenderService.h"

#include <cerrno>
#include <cstring>
#include <utility>

namespace render_service {

using android::kiv::KivError;
using android::kiv::KivErrorSeverity;
using android::kiv::NumericAggregationType;

namespace {

constexpr int kEars = 2;

}  // namespace

RenderService::RenderService(AudioThread::Pace pace)
    : reporter_("RenderService"), audio_reporter_("AudioThread"), pace_(pace) {}

RenderService::~RenderService() = default;

std::string RenderService::open(const std::string& output) {
  trace_ = reporter_.startTrace("renderSession");
  UniqueFd fd = openForWriting(output);
  if (fd.get() < 0) {
    const int error = errno;
    reporter_.error(KivError::SERVICE_AUDIO_SINK_OPEN_FAILED, -error, "openOutput",
                    KivErrorSeverity::FATAL);
    return std::strerror(error);
  }
  sink_.emplace(std::move(fd), kOutputRate, kEars);
  if (const int error = sink_->error(); error != 0) {
    reporter_.error(KivError::SERVICE_AUDIO_SINK_CREATE_FAILED, error, "openOutput",
                    KivErrorSeverity::FATAL);
    return sf_error_number(error);
  }
  audio_.emplace(*sink_, audio_reporter_, pace_, stopping_);
  return {};
}

RenderService::Opening RenderService::openStream(UniqueFd fd, const std::string& name,
                                                 const Placement& placement) {
  const Reporter::Section section(reporter_, "openStream");
  SoundFileReader file(std::move(fd));
  if (const int error = file.error(); error != 0) {
    reporter_.error(KivError::SERVICE_STREAM_CREATE_FAILED, error, "openStream",
                    KivErrorSeverity::ERROR);
    return {nullptr, sf_error_number(error)};
  }
  if (const auto [error, detail] = findObjection(file.info()); error != KivError::OK) {
    reporter_.error(error, detail, "openStream", KivErrorSeverity::ERROR);
    return {nullptr, kivErrorToString(error) + "=" + std::to_string(detail)};
  }
  reporter_.value("container_format", file.container(), NumericAggregationType::COUNT);
  auto stream = std::make_unique<AudioStream>(std::move(file), name, placement);
  reporter_.streamEvent(stream->description(), "open");
  return {std::move(stream), {}};
}

RenderService::Start RenderService::startStream(StreamPtr& stream, Patience patience) {
  const StreamDescription description = stream->description();
  const Start start = audio_->waiting().push(stream, patience);
  if (start == Start::TAKEN) {
    reporter_.streamEvent(description, "start");
    reporter_.value("queue_depth", static_cast<int64_t>(audio_->waiting().size()),
                    NumericAggregationType::MAX);
  }
  return start;
}

void RenderService::endOfStreams() { audio_->waiting().close(); }

void RenderService::stop() { stopping_ = true; }

RenderService::StreamPtr RenderService::takeFinished(Patience patience) {
  StreamPtr stream = audio_->done().pop(patience).value_or(nullptr);
  if (stream != nullptr) reporter_.streamEvent(stream->description(), "stop");
  return stream;
}

bool RenderService::finished() const { return audio_->done().drained(); }

void RenderService::closeStream(StreamPtr stream) {
  const Reporter::Section section(reporter_, "closeStream");
  reporter_.streamEvent(stream->description(), "close");
  stream.reset();
}

RenderService::Progress RenderService::progress() const {
  return {audio_->current(), audio_->fileFrames()};
}

bool RenderService::shutDown() {
  if (audio_.has_value()) audio_->finish();
  bool written = sink_.has_value() && sink_->error() == 0;
  // The audio thread has reported earlier errors of the output.
  if (written && !sink_->close()) {
    reporter_.error(KivError::SERVICE_RENDER_BINAURAL_FAILED, sink_->error(), "closeOutput",
                    KivErrorSeverity::FATAL);
    written = false;
  }
  reporter_.stopTrace(std::move(trace_));
  return written;
}

double RenderService::seconds() const {
  return audio_.has_value() ? static_cast<double>(audio_->outputFrames()) / kOutputRate : 0.0;
}

long long RenderService::finishReports() { return reporter_.finish() + audio_reporter_.finish(); }

}  // namespace render_service
