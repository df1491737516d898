#include "tests/model/Comparison.h"

#include <algorithm>
#include <cstring>
#include <sstream>

#include "tests/model/Vocabulary.h"

namespace kiv_test::model {

namespace {

using TAMSA::recording::Event;

std::string asText(int64_t value) { return std::to_string(value); }

std::string asText(const std::string& value) { return quoted(value); }

std::string asText(float value) {
  if (value != value) return "nan";
  std::ostringstream text;
  text << std::hexfloat << value;
  return text.str();
}

std::string asText(const LogLine& line) {
  return std::to_string(line.priority) + " " + quoted(line.tag) + " " + quoted(line.text);
}

bool same(int64_t a, int64_t b) { return a == b; }

bool same(const std::string& a, const std::string& b) { return a == b; }

/// Compares bitwise, but all NaNs are equal.
bool same(float a, float b) {
  return (a != a && b != b) || std::memcmp(&a, &b, sizeof(float)) == 0;
}

template <typename T>
void compareGroup(const std::map<std::string, T>& expected, const std::map<std::string, T>& actual,
                  std::ostream& differences) {
  for (const auto& [name, value] : expected) {
    const auto found = actual.find(name);
    if (found == actual.end()) {
      differences << "  " << name << " is missing, not " << asText(value) << '\n';
    } else if (!same(value, found->second)) {
      differences << "  " << name << " is " << asText(found->second) << ", not " << asText(value)
                  << '\n';
    }
  }
  for (const auto& [name, value] : actual) {
    if (expected.count(name) == 0) differences << "  " << name << " is unexpected\n";
  }
}

/// The names of the fields in the required order: group after group, each name once.
template <typename Event>
std::vector<std::string> namesInGroups(const Event& event) {
  std::vector<std::string> names;
  for (const auto& field : event.ints) names.push_back(field.first);
  for (const auto& field : event.floats) names.push_back(field.first);
  for (const auto& field : event.strings) names.push_back(field.first);
  return names;
}

std::vector<std::string> sortedInGroups(const Event& event) {
  std::vector<std::string> names = event.set;
  const size_t ints_end = std::min(event.ints.size(), names.size());
  const size_t floats_end = std::min(ints_end + event.floats.size(), names.size());
  const auto at = [&](size_t i) { return names.begin() + static_cast<std::ptrdiff_t>(i); };
  std::sort(at(0), at(ints_end));
  std::sort(at(ints_end), at(floats_end));
  std::sort(at(floats_end), names.end());
  return names;
}

std::string differences(const ExpectedEvent& expected, const Event& actual,
                        std::map<int, int>& handlers) {
  std::ostringstream text;
  if (expected.name != actual.name) {
    text << "  the name is " << quoted(actual.name) << ", not " << quoted(expected.name) << '\n';
  }
  compareGroup(expected.fields.ints, actual.ints, text);
  compareGroup(expected.fields.floats, actual.floats, text);
  compareGroup(expected.fields.strings, actual.strings, text);
  if (sortedInGroups(actual) != namesInGroups(actual)) {
    text << "  the fields were not set as integers, floats, strings, each once\n";
  }
  if (actual.flag != 1) text << "  the flag is " << actual.flag << '\n';
  if (expected.accepted != actual.accepted) text << "  accepted: " << actual.accepted << '\n';
  if (expected.thread != actual.thread) text << "  it was reported on another thread\n";

  for (const auto& [aggregation, handler] : handlers) {
    if (handler == actual.handler && aggregation != expected.aggregation) {
      text << "  the handler belongs to another aggregation\n";
    }
  }
  const int handler = handlers.emplace(expected.aggregation, actual.handler).first->second;
  if (handler != actual.handler) text << "  its aggregation had another handler before\n";
  return text.str();
}

}  // namespace

std::optional<std::string> firstDifference(const std::vector<ExpectedEvent>& expected,
                                           const std::vector<Event>& actual,
                                           std::map<int, int> handlers) {
  for (size_t i = 0; i < std::max(expected.size(), actual.size()); ++i) {
    std::ostringstream text;
    text << "event " << i << " of " << actual.size() << " (" << expected.size() << " expected)";
    if (i == expected.size()) {
      text << " is unexpected: " << quoted(actual[i].name) << '\n';
      for (const auto& [name, value] : actual[i].strings) {
        text << "  " << name << " is " << asText(value) << '\n';
      }
      return text.str();
    }
    text << ", caused by call " << expected[i].call;
    if (i == actual.size()) {
      text << ", is missing: " << quoted(expected[i].name) << '\n';
      for (const auto& [name, value] : expected[i].fields.strings) {
        text << "  " << name << " should be " << asText(value) << '\n';
      }
      return text.str();
    }
    const std::string found = differences(expected[i], actual[i], handlers);
    if (!found.empty()) return text.str() + ":\n" + found;
  }
  return std::nullopt;
}

template <typename T>
std::optional<std::string> firstDifference(const std::string& what, const std::vector<T>& expected,
                                           const std::vector<T>& actual) {
  for (size_t i = 0; i < std::max(expected.size(), actual.size()); ++i) {
    if (i < expected.size() && i < actual.size() && actual[i] == expected[i]) continue;
    std::ostringstream text;
    text << what << ' ' << i << " is ";
    if (i < actual.size()) {
      text << asText(actual[i]);
    } else {
      text << "missing";
    }
    text << ", expected ";
    if (i < expected.size()) {
      text << asText(expected[i]);
    } else {
      text << "none";
    }
    return text.str() + '\n';
  }
  return std::nullopt;
}

template std::optional<std::string> firstDifference(const std::string&, const std::vector<LogLine>&,
                                                    const std::vector<LogLine>&);
template std::optional<std::string> firstDifference(const std::string&,
                                                    const std::vector<std::string>&,
                                                    const std::vector<std::string>&);

}  // namespace kiv_test::model
