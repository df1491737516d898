#include "kiv/testing/EventExpectation.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include "testing/EventKinds.h"

namespace android::kiv::telemetry_testing::internal {

namespace {

std::string fillIn(std::string phrase, const std::string& words) {
  const size_t place = phrase.find('%');
  return place == std::string::npos ? phrase : phrase.replace(place, 1, words);
}

template <size_t Count>
std::string nameOf(int64_t value, const char* const (&names)[Count]) {
  if (value < 0 || value >= static_cast<int64_t>(Count)) return inWords(value);
  return names[value];
}

/// The words of a condition, which does not yet look at anything.
template <typename T>
Condition speakOf(const Phrase& phrase, const Expected<T>& expected) {
  Condition condition;
  condition.clause = fillIn(expected.exact ? phrase.exact : phrase.property, expected.words);
  condition.subject = phrase.subject;
  condition.expected = expected.exact ? expected.words : "one that " + expected.words;
  return condition;
}

/// A condition on a field that is among `fields` of an event.
template <typename T>
Condition onField(const Phrase& phrase, std::map<std::string, T> TelemetryEvent::*fields,
                  std::string field, Expected<T> expected) {
  Condition condition = speakOf(phrase, expected);
  condition.holds = [fields, field, expected](const TelemetryEvent& event) {
    const auto found = (event.*fields).find(field);
    return found != (event.*fields).end() && expected.holds(found->second);
  };
  condition.actual = [fields, field = std::move(field)](const TelemetryEvent& event) {
    const auto found = (event.*fields).find(field);
    return found != (event.*fields).end() ? inWords(found->second) : "missing";
  };
  return condition;
}

}  // namespace

std::string inWords(const std::string& text) {
  std::string words = "\"";
  for (const char character : text) {
    if (character == '"' || character == '\\') words += '\\';
    if (character == '\n') {
      words += "\\n";
    } else {
      words += character;
    }
  }
  return words + "\"";
}

std::string inWords(int64_t number) { return std::to_string(number); }

std::string inWords(float number) {
  char words[32];
  std::snprintf(words, sizeof(words), "%.6g", static_cast<double>(number));
  // As many digits as tell it from its neighbours, where those that people write do not.
  if (std::strtof(words, nullptr) != number) {
    std::snprintf(words, sizeof(words), "%.9g", static_cast<double>(number));
  }
  return words;
}

std::string severityInWords(int64_t severity) {
  static constexpr const char* kNames[] = {"INFO", "WARNING", "ERROR", "FATAL"};
  return nameOf(severity, kNames);
}

std::string streamTypeInWords(::kiv::KivStreamType type) {
  static constexpr const char* kNames[] = {
      "KIV_STREAM_TYPE_UNKNOWN",     "KIV_STREAM_TYPE_AMBISONIC", "KIV_STREAM_TYPE_OBJECT",
      "KIV_STREAM_TYPE_PASSTHROUGH", "KIV_STREAM_TYPE_2D_WINDOW", "KIV_STREAM_TYPE_BUNDLE"};
  return nameOf(static_cast<int64_t>(type), kNames);
}

std::string methodInWords(NumericAggregationType method) {
  static constexpr const char* kNames[] = {"AVG", "SUM", "MAX", "MIN", "COUNT"};
  return nameOf(static_cast<int64_t>(method), kNames);
}

Condition onText(const Phrase& phrase, std::string field, Expected<std::string> expected,
                 const std::string& prefix) {
  if (prefix.empty()) {
    return onField(phrase, &TelemetryEvent::strings, std::move(field), std::move(expected));
  }
  Condition condition = speakOf(phrase, expected);
  const auto rest = [field = std::move(field), prefix](const TelemetryEvent& event) {
    const std::string text = textOf(event, field);
    return text.substr(std::min(text.size(), prefix.size()));
  };
  condition.holds = [rest, expected = std::move(expected)](const TelemetryEvent& event) {
    return expected.holds(rest(event));
  };
  condition.actual = [rest](const TelemetryEvent& event) { return inWords(rest(event)); };
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
  condition.expected = inWords(name);
  condition.holds = [name = std::move(name)](const TelemetryEvent& event) {
    return event.name == name;
  };
  condition.actual = [](const TelemetryEvent& event) { return inWords(event.name); };
  return condition;
}

bool EventExpectation::accepts(const TelemetryEvent& event) const {
  return isNear(event) && differences(event).empty();
}

bool EventExpectation::isNear(const TelemetryEvent& event) const {
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

std::string EventExpectation::describe() const {
  std::string words;
  for (const Condition& condition : conditions_) {
    words += (words.empty() ? "" : ", ") + condition.clause;
  }
  return words;
}

std::string EventExpectation::describeKind() const {
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
  return "such an event";
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

bool EventExpectation::acceptsButForCount(const TelemetryEvent& event) const {
  return isNear(event) && std::all_of(conditions_.begin(), conditions_.end(), [&](auto& condition) {
           return condition.is_count || condition.holds(event);
         });
}

}  // namespace android::kiv::telemetry_testing::internal
