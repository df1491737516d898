#include "OtlpEncoder.h"

#include <chrono>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

namespace TAMSA::otlp {

namespace {

using Json = nlohmann::basic_json<nlohmann::ordered_map, std::vector, std::string, bool,
                                  std::int64_t, std::uint64_t, float>;

constexpr char kScope[] = "libkivtelemetry";
constexpr char kEventName[] = "event.name";
constexpr char kDropped[] = "kiv.telemetry.dropped_events";
constexpr char kWindowEnd[] = "end_time_since_epoch";
constexpr char kSeverity[] = "severity";

struct Severity {
  int number;
  const char* text;
};

/// What the event's severities are in OpenTelemetry's numbers.
constexpr Severity kSeverities[] = {{9, "INFO"}, {13, "WARNING"}, {17, "ERROR"}, {21, "FATAL"}};

// 64-bit integers are texts in this encoding: readers may take numbers for doubles.
Json encodeValue(int64_t value) { return {{"intValue", std::to_string(value)}}; }

Json encodeValue(float value) {
  if (std::isnan(value)) return {{"doubleValue", "NaN"}};
  if (std::isinf(value)) return {{"doubleValue", value > 0 ? "Infinity" : "-Infinity"}};
  return {{"doubleValue", value}};
}

Json encodeValue(const std::string& value) { return {{"stringValue", value}}; }

template <typename Value>
Json encodeAttribute(const std::string& key, const Value& value) {
  Json attribute = Json::object();
  attribute.emplace("key", key);
  attribute.emplace("value", encodeValue(value));
  return attribute;
}

void appendAttributes(Json& list, const Attributes& attributes) {
  for (const auto& [key, value] : attributes) {
    list.push_back(
        std::visit([&key = key](const auto& typed) { return encodeAttribute(key, typed); }, value));
  }
}

std::optional<int64_t> findInteger(const LogRecord& record, const char* name) {
  const auto field = record.fields.find(name);
  if (field == record.fields.end()) return std::nullopt;
  const auto* const value = std::get_if<int64_t>(&field->second);
  return value != nullptr ? std::optional(*value) : std::nullopt;
}

const Severity& severityOf(const LogRecord& record) {
  const int64_t severity = findInteger(record, kSeverity).value_or(0);
  const bool is_known = severity >= 0 && severity < static_cast<int64_t>(std::size(kSeverities));
  return kSeverities[is_known ? severity : 0];
}

std::optional<std::chrono::nanoseconds> timeOf(const LogRecord& record) {
  constexpr int64_t kNanosPerMilli = 1'000'000;
  const auto end = findInteger(record, kWindowEnd);
  if (!end || *end <= 0 || *end > std::numeric_limits<int64_t>::max() / kNanosPerMilli) {
    return std::nullopt;
  }
  return std::chrono::nanoseconds(*end * kNanosPerMilli);
}

std::string toText(std::chrono::nanoseconds since_epoch) {
  return std::to_string(since_epoch.count());
}

Json encodeRecord(const LogRecord& record) {
  Json log = Json::object();
  if (const auto time = timeOf(record)) log.emplace("timeUnixNano", toText(*time));
  log.emplace("observedTimeUnixNano", toText(record.observed.time_since_epoch()));
  const Severity& severity = severityOf(record);
  log.emplace("severityNumber", severity.number);
  log.emplace("severityText", severity.text);

  Json attributes = Json::array();
  attributes.push_back(encodeAttribute(kEventName, record.name));
  Attributes fields = record.fields;
  fields.erase(kEventName);
  appendAttributes(attributes, fields);
  log.emplace("attributes", std::move(attributes));
  return log;
}

Json encodeScope(uint64_t dropped) {
  Json scope = Json::object();
  scope.emplace("name", kScope);
  scope.emplace("version", KIV_VERSION);
  if (dropped > 0) {
    Json attributes = Json::array();
    attributes.push_back(encodeAttribute(kDropped, static_cast<int64_t>(dropped)));
    scope.emplace("attributes", std::move(attributes));
  }
  return scope;
}

Json arrayOf(Json element) {
  Json array = Json::array();
  array.push_back(std::move(element));
  return array;
}

}  // namespace

std::string encodeRequest(const Attributes& resource, const std::vector<LogRecord>& records,
                          uint64_t dropped) {
  Json logs = Json::array();
  for (const LogRecord& record : records) logs.push_back(encodeRecord(record));

  Json scope_logs = Json::object();
  scope_logs.emplace("scope", encodeScope(dropped));
  scope_logs.emplace("logRecords", std::move(logs));

  Json resource_attributes = Json::array();
  appendAttributes(resource_attributes, resource);
  Json resource_logs = Json::object();
  resource_logs["resource"].emplace("attributes", std::move(resource_attributes));
  resource_logs.emplace("scopeLogs", arrayOf(std::move(scope_logs)));

  Json request = Json::object();
  request.emplace("resourceLogs", arrayOf(std::move(resource_logs)));
  return request.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace TAMSA::otlp
