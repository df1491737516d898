/// The log record that an event becomes, independent of the encoding.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "modules/support/Event.h"
#include "modules/support/LossTable.h"

namespace TAMSA::otlp {

using Attributes = support::Fields;

/// A severity by OpenTelemetry's number and name.
struct Severity {
  int number;
  const char* text;
};

struct LogRecord {
  std::optional<std::chrono::nanoseconds> time;  ///< Since the epoch; the end of the window.
  std::chrono::nanoseconds observed{0};          ///< Since the epoch.
  Severity severity{};
  std::string event_name;
  std::string body;
  Attributes attributes;
};

/// The record of an event. Its attributes are `event.name` with the event's own name, which may be
/// empty, and the event's fields; a field of that name is left out. The event of audio latencies,
/// which has no name, gets the event name `kiv.audio_latency`. An event without a severity, or with
/// an unknown one, is INFO. Throws only if memory is short, as `makeLossRecords` does.
LogRecord makeEventRecord(const std::string& name, const support::Fields& fields,
                          std::chrono::system_clock::time_point observed);

/// One record for each cause of loss: how many events and reports were lost.
std::vector<LogRecord> makeLossRecords(const support::LossTable& losses,
                                       std::chrono::system_clock::time_point observed);

}  // namespace TAMSA::otlp
