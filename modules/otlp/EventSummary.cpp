#include "modules/otlp/EventSummary.h"

#include <array>
#include <cstdio>

#include "modules/otlp/Utf8.h"

namespace TAMSA::otlp {

namespace {

using support::Fields;

constexpr size_t kMaxLength = 200;

std::string text(const Fields& fields, const char* name) {
  const auto field = fields.find(name);
  if (field == fields.end()) return {};
  const auto* const value = std::get_if<std::string>(&field->second);
  return value != nullptr ? *value : "";
}

float number(const Fields& fields, const char* name) {
  const auto field = fields.find(name);
  if (field == fields.end()) return 0;
  const auto* const value = std::get_if<float>(&field->second);
  return value != nullptr ? *value : 0;
}

std::string toText(float value) {
  std::array<char, 32> buffer{};
  const int length = std::snprintf(buffer.data(), buffer.size(), "%g", static_cast<double>(value));
  return {buffer.data(), static_cast<size_t>(length)};
}

std::string summarizeError(const Fields& fields) {
  const std::string reporter = text(fields, "kiv_class");
  const std::string api = text(fields, "kiv_api");
  std::string summary = text(fields, "kiv_error_code");
  if (!reporter.empty() || !api.empty()) summary += " in ";
  summary += reporter;
  if (!reporter.empty() && !api.empty()) summary += '.';
  return summary + api;
}

/// The slots of the types that a value does not have are 0 and "".
std::string summarizeValue(const Fields& fields) {
  const std::string name = text(fields, "kiv_event_name");
  const std::string method = text(fields, "aggregation_method");
  const std::string value = text(fields, "value_string");
  const int64_t integer = support::integerField(fields, "value_int", 0);
  const float real = number(fields, "value_float");
  // A count of numbers is 1 or more, so this is the count of a text, which may be empty.
  const bool is_text = !value.empty() || (method == "COUNT" && integer == 0 && !(real > 0));
  if (is_text) return name + "=" + value;
  return name + ", " + method + " " +
         (integer != 0 || real == 0 ? std::to_string(integer) : toText(real));
}

std::string summarizeKind(const std::string& name, const Fields& fields) {
  if (name.empty()) return "audio latency";
  if (name == "wexo_kiv_error_code") return summarizeError(fields);
  if (name == "wexo_kiv_stream_event") {
    return text(fields, "kiv_event") + " of " + text(fields, "stream_type");
  }
  if (name == "wexo_kiv_generic") return summarizeValue(fields);
  return name;
}

}  // namespace

std::string summarize(const std::string& name, const Fields& fields) {
  return shorten(toUtf8(std::to_string(support::reportCount(fields)) + " \u00D7 " +
                        summarizeKind(name, fields)),
                 kMaxLength);
}

}  // namespace TAMSA::otlp
