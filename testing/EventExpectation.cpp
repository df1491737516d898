#include "kiv/testing/EventExpectation.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#include "testing/EventFields.h"

namespace android::kiv::telemetry_testing::internal {

namespace {

std::string fillIn(std::string phrase, const std::string& value) {
  const size_t place = phrase.find('%');
  return place == std::string::npos ? phrase : phrase.replace(place, 1, value);
}

/// A condition with its texts, but without its functions.
template <typename T>
Condition makeCondition(const Phrase& phrase, const Expected<T>& expected) {
  Condition condition;
  condition.clause = fillIn(expected.exact ? phrase.exact : phrase.property, expected.text);
  condition.subject = phrase.subject;
  condition.expected = expected.exact ? expected.text : "one that " + expected.text;
  return condition;
}

/// A condition on a field that is among `fields` of an event.
template <typename T>
Condition onField(const Phrase& phrase, std::map<std::string, T> TelemetryEvent::*fields,
                  std::string field, Expected<T> expected) {
  Condition condition = makeCondition(phrase, expected);
  condition.holds = [fields, field, expected](const TelemetryEvent& event) {
    const auto found = (event.*fields).find(field);
    return found != (event.*fields).end() && expected.holds(found->second);
  };
  condition.actual = [fields, field = std::move(field)](const TelemetryEvent& event) {
    const auto found = (event.*fields).find(field);
    return found != (event.*fields).end() ? formatValue(found->second) : "missing";
  };
  return condition;
}

}  // namespace

std::string formatValue(const std::string& text) {
  std::string quoted = "\"";
  for (const char character : text) {
    if (character == '"' || character == '\\') quoted += '\\';
    if (character == '\n') {
      quoted += "\\n";
    } else {
      quoted += character;
    }
  }
  return quoted + "\"";
}

std::string formatValue(int64_t number) { return std::to_string(number); }

std::string formatValue(float number) {
  char digits[32];
  std::snprintf(digits, sizeof(digits), "%.6g", static_cast<double>(number));
  // Six digits are short, nine are always exact.
  if (std::strtof(digits, nullptr) != number) {
    std::snprintf(digits, sizeof(digits), "%.9g", static_cast<double>(number));
  }
  return digits;
}

std::string formatSeverity(int64_t severity) {
  static constexpr const char* kNames[] = {"INFO", "WARNING", "ERROR", "FATAL"};
  if (severity < 0 || severity >= static_cast<int64_t>(std::size(kNames))) {
    return formatValue(severity);
  }
  return kNames[severity];
}

Condition onText(const Phrase& phrase, std::string field, Expected<std::string> expected,
                 const std::string& prefix) {
  if (prefix.empty()) {
    return onField(phrase, &TelemetryEvent::strings, std::move(field), std::move(expected));
  }
  Condition condition = makeCondition(phrase, expected);
  const auto rest = [field = std::move(field), prefix](const TelemetryEvent& event) {
    const std::string text = textOf(event, field);
    return text.substr(std::min(text.size(), prefix.size()));
  };
  condition.holds = [rest, expected = std::move(expected)](const TelemetryEvent& event) {
    return expected.holds(rest(event));
  };
  condition.actual = [rest](const TelemetryEvent& event) { return formatValue(rest(event)); };
  return condition;
}

Condition onInt(const Phrase& phrase, std::string field, Expected<int64_t> expected) {
  return onField(phrase, &TelemetryEvent::ints, std::move(field), std::move(expected));
}

Condition onFloat(const Phrase& phrase, std::string field, Expected<float> expected) {
  return onField(phrase, &TelemetryEvent::floats, std::move(field), std::move(expected));
}

Condition onCount(Expected<int64_t> expected) {
  const bool once = expected.exact && expected.holds(1);
  const Phrase phrase{"count", once ? "counted once" : "counted % times", "with a count that %"};
  Condition condition = onInt(phrase, "aggregated_count", std::move(expected));
  condition.is_count = true;
  return condition;
}

Condition onName(std::string clause, std::string name) {
  Condition condition;
  condition.clause = std::move(clause);
  condition.subject = "event";
  condition.expected = formatValue(name);
  condition.holds = [name = std::move(name)](const TelemetryEvent& event) {
    return event.name == name;
  };
  condition.actual = [](const TelemetryEvent& event) { return formatValue(event.name); };
  return condition;
}

bool EventExpectation::matches(const TelemetryEvent& event) const {
  return matchesKind(event) && differences(event).empty();
}

bool EventExpectation::matchesExceptForCount(const TelemetryEvent& event) const {
  const auto holds = [&event](const Condition& condition) {
    return condition.is_count || condition.holds(event);
  };
  return matchesKind(event) && std::all_of(conditions_.begin(), conditions_.end(), holds);
}

bool EventExpectation::matchesKind(const TelemetryEvent& event) const {
  const EventKind kind = kindOf(event);
  switch (kind_) {
    case EventKind::OTHER:
      return kind == EventKind::OTHER || conditions_.front().holds(event);
    case EventKind::GENERIC_VALUE:
      return kind == EventKind::GENERIC_VALUE || kind == EventKind::TRACE_LATENCY ||
             kind == EventKind::CLIENT_CALL;
    default:
      return kind == kind_;
  }
}

std::string EventExpectation::description() const {
  std::string clauses;
  for (const Condition& condition : conditions_) {
    clauses += (clauses.empty() ? "" : ", ") + condition.clause;
  }
  return clauses;
}

std::string EventExpectation::kindDescription() const {
  switch (kind_) {
    case EventKind::ERROR_CODE:
      return "an error code";
    case EventKind::STREAM_EVENT:
      return "a stream event";
    case EventKind::AUDIO_LATENCY:
      return "an audio latency";
    case EventKind::GENERIC_VALUE:
      return "a generic value";
    case EventKind::TRACE_LATENCY:
      return "a trace's latency";
    case EventKind::CLIENT_CALL:
      return "a client call";
    case EventKind::OTHER:
      break;
  }
  return "an event of that name";
}

std::vector<std::string> EventExpectation::differences(const TelemetryEvent& event) const {
  std::vector<std::string> differences;
  for (const Condition& condition : conditions_) {
    if (condition.holds(event)) continue;
    differences.push_back(condition.subject + ": expected " + condition.expected + ", was " +
                          condition.actual(event));
  }
  return differences;
}

int EventExpectation::distance(const TelemetryEvent& event) const {
  const int differences = static_cast<int>(this->differences(event).size());
  return conditions_.front().holds(event) ? differences : differences + 1;
}

}  // namespace android::kiv::telemetry_testing::internal
