#include "modules/otlp/LogRecord.h"

#include <cstdint>
#include <iterator>
#include <limits>

#include "modules/otlp/EventSummary.h"

namespace TAMSA::otlp {

namespace {

using std::chrono::nanoseconds;
using std::chrono::system_clock;

constexpr char kEventName[] = "event.name";
constexpr char kLatencyEvent[] = "kiv.audio_latency";
constexpr char kLossEvent[] = "kiv.telemetry.loss";

/// By the numbers of the events' field `severity`.
constexpr Severity kSeverities[] = {{9, "INFO"}, {13, "WARNING"}, {17, "ERROR"}, {21, "FATAL"}};
constexpr int64_t kInfo = 0;
constexpr int64_t kError = 2;

Severity severityOf(const support::Fields& fields) {
  const int64_t severity = support::integerField(fields, "severity", kInfo);
  const bool is_known = severity >= 0 && severity < static_cast<int64_t>(std::size(kSeverities));
  return kSeverities[is_known ? severity : kInfo];
}

std::optional<nanoseconds> timeOf(const support::Fields& fields) {
  constexpr int64_t kNanosPerMilli = 1'000'000;
  const int64_t end = support::integerField(fields, "end_time_since_epoch", 0);
  if (end <= 0 || end > std::numeric_limits<int64_t>::max() / kNanosPerMilli) return std::nullopt;
  return nanoseconds(end * kNanosPerMilli);
}

nanoseconds sinceEpoch(system_clock::time_point time) { return time.time_since_epoch(); }

}  // namespace

LogRecord makeEventRecord(const std::string& name, const support::Fields& fields,
                          system_clock::time_point observed) {
  LogRecord record;
  record.time = timeOf(fields);
  record.observed = sinceEpoch(observed);
  record.severity = severityOf(fields);
  record.event_name = name.empty() ? kLatencyEvent : name;
  record.body = summarize(name, fields);
  record.attributes = fields;
  record.attributes.insert_or_assign(kEventName, name);
  return record;
}

std::vector<LogRecord> makeLossRecords(const support::LossTable& losses,
                                       system_clock::time_point observed) {
  std::vector<LogRecord> records;
  for (const auto& [cause, entry] : losses.entries()) {
    LogRecord record;
    record.time = record.observed = sinceEpoch(observed);
    record.severity = kSeverities[kError];
    record.event_name = kLossEvent;
    const std::string text = support::LossCause{cause, entry.detail}.text();
    record.body = std::to_string(entry.count.events) + " events lost (" +
                  std::to_string(entry.count.reports) + " reports): " + text;
    record.attributes = {{kEventName, std::string(kLossEvent)},
                         {"kiv.telemetry.loss.cause", cause},
                         {"kiv.telemetry.loss.detail", entry.detail},
                         {"kiv.telemetry.loss.events", static_cast<int64_t>(entry.count.events)},
                         {"kiv.telemetry.loss.reports", static_cast<int64_t>(entry.count.reports)}};
    records.push_back(std::move(record));
  }
  return records;
}

}  // namespace TAMSA::otlp
