#include "modules/otlp/OtlpSink.h"

#include <atomic>
#include <memory>

#include "modules/otlp/ProcessExport.h"

namespace TAMSA::otlp {

namespace {

std::atomic<uint32_t> sources{0};

}  // namespace

OtlpSink::OtlpSink() : source_(++sources) { prepareExport(); }

bool OtlpSink::take(const support::Event& event) {
  report(event, source_);
  return true;
}

}  // namespace TAMSA::otlp

namespace TAMSA::support {

std::unique_ptr<EventSink> createEventSink() { return std::make_unique<otlp::OtlpSink>(); }

}  // namespace TAMSA::support
