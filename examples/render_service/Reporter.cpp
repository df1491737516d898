#include "Reporter.h"

#include <utility>

namespace render_service {

using android::kiv::KivError;
using android::kiv::KivErrorSeverity;
using android::kiv::NumericAggregationType;
using android::kiv::TraceHandler;

Reporter::Reporter(const std::string& name) : name_(name), env_(name) {}

Reporter::~Reporter() {
  if (!finished_) finish();
}

void Reporter::error(KivError error, const std::string& api, KivErrorSeverity severity) {
  ++reports_;
  env_.getLogger()->logKivErrorCode(error, api, severity, name_);
}

void Reporter::error(KivError error, int detail, const std::string& api,
                     KivErrorSeverity severity) {
  ++reports_;
  env_.getLogger()->logKivErrorCode(error, detail, api, severity, name_);
}

void Reporter::streamEvent(const StreamDescription& stream, const std::string& event) {
  ++reports_;
  env_.getLogger()->logStreamEvent(stream.pcm, stream.type, event);
}

void Reporter::latency(const StreamDescription& stream, std::chrono::milliseconds latency) {
  ++reports_;
  env_.getLogger()->logAudioLatency(stream.pcm, stream.type, latency);
}

void Reporter::clientCall(const std::string& api, bool succeeded) {
  ++reports_;
  env_.getLogger()->logKivClientCall(api, succeeded ? "ok" : "failed");
}

Reporter::Section::Section(Reporter& reporter, const std::string& name)
    : reporter_(reporter), info_(reporter.env_.getLogger()->kiv_beginTraceSection(name)) {}

Reporter::Section::~Section() {
  ++reporter_.reports_;
  reporter_.env_.getLogger()->kiv_endTraceSection(info_);
}

std::shared_ptr<void> Reporter::startTrace(const std::string& name) {
  TraceHandler& tracer = *env_.getLogger();
  return tracer.startTrace(name_, name);
}

void Reporter::stopTrace(std::shared_ptr<void> token) {
  ++reports_;
  TraceHandler& tracer = *env_.getLogger();
  tracer.stopTrace(std::move(token));
}

long long Reporter::finish() {
  finished_ = true;
  value("reports_made", reports_ + 1, NumericAggregationType::SUM);
  return reports_;
}

}  // namespace render_service
