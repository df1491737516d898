#include "modules/otlp/JsonEncoder.h"

#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <utility>

namespace TAMSA::otlp {

namespace {

using Json = nlohmann::basic_json<nlohmann::ordered_map, std::vector, std::string, bool,
                                  std::int64_t, std::uint64_t, float>;

// 64-bit integers are texts in this encoding: readers may take numbers for doubles.
Json encodeValue(int64_t value) { return {{"intValue", std::to_string(value)}}; }

Json encodeValue(float value) {
  if (std::isnan(value)) return {{"doubleValue", "NaN"}};
  if (std::isinf(value)) return {{"doubleValue", value > 0 ? "Infinity" : "-Infinity"}};
  return {{"doubleValue", value}};
}

Json encodeValue(const std::string& value) { return {{"stringValue", value}}; }

Json encodeAttributes(const Attributes& attributes) {
  Json list = Json::array();
  for (const auto& [key, value] : attributes) {
    Json attribute = Json::object();
    attribute.emplace("key", key);
    attribute.emplace("value",
                      std::visit([](const auto& typed) { return encodeValue(typed); }, value));
    list.push_back(std::move(attribute));
  }
  return list;
}

std::string toText(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

JsonEncoder::JsonEncoder(const Attributes& resource) {
  Json described = Json::object();
  described.emplace("attributes", encodeAttributes(resource));
  Json scope = Json::object();
  scope.emplace("name", internal::kScopeName);
  scope.emplace("version", internal::kScopeVersion);
  const std::string schema_url = std::string(R"("schemaUrl":")") + internal::kSchemaUrl + "\"}]";
  begin_ = R"({"resourceLogs":[{"resource":)" + toText(described) + R"(,"scopeLogs":[{"scope":)" +
           toText(scope) + R"(,"logRecords":[)";
  end_ = "]," + schema_url + "," + schema_url + "}";
}

std::string JsonEncoder::encodeRecord(const LogRecord& record) const {
  Json log = Json::object();
  if (record.time) log.emplace("timeUnixNano", std::to_string(record.time->count()));
  log.emplace("observedTimeUnixNano", std::to_string(record.observed.count()));
  log.emplace("severityNumber", record.severity.number);
  log.emplace("severityText", record.severity.text);
  log.emplace("eventName", record.event_name);
  log.emplace("body", encodeValue(record.body));
  log.emplace("attributes", encodeAttributes(record.attributes));
  return toText(log) + ',';
}

std::string JsonEncoder::encodeRequest(const std::vector<std::string_view>& records) const {
  size_t size = begin_.size() + end_.size();
  for (const std::string_view record : records) size += record.size();
  std::string request;
  request.reserve(size);
  request += begin_;
  for (const std::string_view record : records) request += record;
  // The comma of the last record.
  if (!records.empty()) request.pop_back();
  return request += end_;
}

}  // namespace TAMSA::otlp
