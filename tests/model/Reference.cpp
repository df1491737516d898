#include "tests/model/Reference.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace kiv_test::model {

namespace {

constexpr int64_t kPeriodNs = 5000LL * 1000 * 1000;
constexpr int kDeepestSubmission = 4;

const char* eventName(Kind kind) {
  switch (kind) {
    case ERRORS:
      return "wexo_kiv_error_code";
    case STREAMS:
      return "wexo_kiv_stream_event";
    case LATENCIES:
      return "";
    default:
      return "wexo_kiv_generic";
  }
}

bool before(const Report& a, const Report& b) {
  if (a.session < b.session) return true;
  if (b.session < a.session) return false;
  return a.key < b.key;
}

/// Texts are passed to the module as C strings, which end at the first NUL.
std::string asSent(const std::string& text) { return text.substr(0, text.find('\0')); }

/// Unsigned 32-bit numbers are sent as signed ones.
int64_t asSent(uint32_t number) {
  return number < 0x80000000U ? int64_t{number} : int64_t{number} - 0x100000000LL;
}

int64_t toInteger(float value) {
  if (value != value) return 0;
  if (value >= 9223372036854775808.0F) return std::numeric_limits<int64_t>::max();
  if (value < -9223372036854775808.0F) return std::numeric_limits<int64_t>::min();
  return static_cast<int64_t>(value);
}

/// The log cuts longer lines, and the library cuts longer tags.
std::string logText(const std::string& text) { return text.substr(0, 1023); }

}  // namespace

std::string Session::text() const {
  std::string joined;
  for (const std::string& id : chain) joined += (joined.empty() ? "" : ".") + id;
  return joined;
}

bool operator<(const Session& a, const Session& b) {
  auto left = a.chain.rbegin();
  auto right = b.chain.rbegin();
  for (; left != a.chain.rend() && right != b.chain.rend(); ++left, ++right) {
    if (*left != *right) return *left < *right;
  }
  return left == a.chain.rend() && right != b.chain.rend();
}

float fold(uint8_t method, const std::vector<float>& samples) {
  float value = 0;
  for (size_t n = 0; n < samples.size(); ++n) {
    const float sample = samples[n];
    if (method == 0) {
      const float weighted = value * static_cast<float>(n);
      value = (sample + weighted) / static_cast<float>(n + 1);
    } else if (method == 1) {
      value = value + sample;
    } else if (method == 2) {
      if (n == 0 || !(value > sample)) value = sample;
    } else if (method == 3) {
      if (n == 0 || !(sample > value)) value = sample;
    } else if (method == 4) {
      value = value + 1;
    }
  }
  return value;
}

Aggregations Reference::makeAggregations() {
  Aggregations aggregations;
  for (Aggregation& aggregation : aggregations.kinds) aggregation.id = next_id_++;
  return aggregations;
}

void Reference::logLine(int priority, const std::string& text) {
  log.push_back({priority, kNoTag, logText(text)});
}

void Reference::logError(const std::string& code, const std::string& api,
                         const std::string& kiv_class) {
  log.push_back(
      {ANDROID_LOG_ERROR, logText(asSent(kiv_class)), logText(asSent(api) + " - " + asSent(code))});
}

void Reference::open(Aggregation& aggregation) const {
  aggregation.running = true;
  aggregation.started_steady_ns = steady_ns;
  aggregation.started_system_us = system_us;
}

void Reference::closeWindow(Aggregation& aggregation) {
  if (submissions_ == kDeepestSubmission) return;
  ++submissions_;
  const int64_t start_us = aggregation.started_system_us;
  open(aggregation);
  submit(aggregation, start_us, system_us);
  --submissions_;
}

void Reference::submit(Aggregation& aggregation, int64_t start_us, int64_t end_us) {
  // Reports from now on belong to the next window, even those that the module makes.
  auto entries = std::exchange(aggregation.entries, {});
  if (!enabled) return;
  std::sort(entries.begin(), entries.end(),
            [](const auto& a, const auto& b) { return before(a.first, b.first); });
  for (const Aggregation::Entry& entry : entries) {
    Fields fields = entry.first.fields;
    fields.ints["start_time_since_epoch"] = start_us / 1000;
    fields.ints["end_time_since_epoch"] = end_us / 1000;
    fields.ints["aggregated_count"] = asSent(static_cast<uint32_t>(entry.samples.size()));
    fields.strings["kiv_session_id"] = entry.first.session.text();
    const float value = fold(entry.first.method, entry.samples);
    if (entry.first.kind == INTEGERS) fields.ints["value_int"] = toInteger(value);
    if (entry.first.kind == FLOATS) fields.floats["value_float"] = value;
    // Without a handler the window is lost.
    if (!getHandler(aggregation)) return;
    const std::string name = eventName(entry.first.kind);
    if (!send(aggregation, name, std::move(fields))) {
      logLine(ANDROID_LOG_ERROR, "submitEvents: Failed to report UnifiedTelemetry event: " + name);
    }
  }
}

bool Reference::getHandler(Aggregation& aggregation) {
  if (aggregation.has_handler) return true;
  module_calls.emplace_back("createTelemetryHandler(9)");
  if (handlers_to_withhold_ > 0) {
    --handlers_to_withhold_;
    return false;
  }
  aggregation.has_handler = true;
  return true;
}

bool Reference::send(const Aggregation& aggregation, const std::string& name, Fields fields) {
  module_calls.push_back("createEvent(" + name + ")");
  if (events_to_withhold_ > 0) {
    --events_to_withhold_;
    return false;
  }
  for (auto& field : fields.strings) field.second = asSent(field.second);
  module_calls.push_back("reportEvent(" + name + ", 1)");
  const bool accepted = refused_.count(++reports_) == 0;
  if (on_report) on_report(reports_);
  events.push_back({name, std::move(fields), aggregation.id, thread, accepted, call});
  module_calls.emplace_back("destroyTelemetryEvent(7)");
  return accepted;
}

void Reference::start(Aggregations& aggregations) {
  for (Aggregation& aggregation : aggregations.kinds) {
    if (aggregation.running) continue;
    aggregation.entries.clear();
    open(aggregation);
  }
}

bool Reference::flush(Aggregation& aggregation) {
  if (!aggregation.running) {
    logLine(ANDROID_LOG_ERROR, "flush: TimedAggregationManager not running! Cannot flush.");
    return false;
  }
  closeWindow(aggregation);
  return true;
}

bool Reference::flush(Aggregations& aggregations) {
  bool all = true;
  for (Aggregation& aggregation : aggregations.kinds) all = flush(aggregation) && all;
  return all;
}

bool Reference::stop(Aggregation& aggregation) {
  if (!aggregation.running) {
    logLine(ANDROID_LOG_DEBUG, "stop: TimedAggregationManager not running!");
    return false;
  }
  closeWindow(aggregation);
  aggregation.running = false;
  return true;
}

bool Reference::stop(Aggregations& aggregations) {
  bool all = true;
  for (Aggregation& aggregation : aggregations.kinds) all = stop(aggregation) && all;
  return all;
}

void Reference::add(Aggregation& aggregation, const Report& report) {
  if (!aggregation.running) {
    logLine(ANDROID_LOG_ERROR, "add: TimedAggregationManager not running! Cannot add.");
    return;
  }
  if (steady_ns - aggregation.started_steady_ns > kPeriodNs) closeWindow(aggregation);
  for (Aggregation::Entry& entry : aggregation.entries) {
    if (before(entry.first, report) || before(report, entry.first)) continue;
    entry.samples.push_back(report.sample);
    return;
  }
  aggregation.entries.push_back({report, {report.sample}});
}

void Reference::report(Aggregations& aggregations, const Report& report, bool immediate) {
  Aggregation& aggregation = aggregations.kinds[report.kind];
  add(aggregation, report);
  if (immediate) flush(aggregation);
}

void Reference::destroy(Aggregations& aggregations) {
  for (size_t kind = KINDS; kind-- > 0;) {
    Aggregation& aggregation = aggregations.kinds[kind];
    if (aggregation.running) stop(aggregation);
    if (aggregation.has_handler) module_calls.emplace_back("destroyTelemetryHandler(9)");
    aggregation.has_handler = false;
  }
}

}  // namespace kiv_test::model
