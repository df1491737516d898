/// Hands the events of one handler to the export of the process.
#pragma once

#include <cstdint>

#include "modules/support/EventSink.h"

namespace TAMSA::otlp {

/// All sinks of a process share one queue and one thread.
class OtlpSink final : public support::EventSink {
 public:
  /// See `prepareExport`.
  OtlpSink();

  /// Always true: an event that is lost is counted, and logged with others.
  bool take(const support::Event& event) override;

 private:
  const uint64_t source_;
};

}  // namespace TAMSA::otlp
