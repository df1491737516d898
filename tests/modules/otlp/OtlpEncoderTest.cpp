// The JSON encoding of requests.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>

#include "OtlpEncoder.h"
#include "OtlpEvent.h"

namespace TAMSA::otlp {
namespace {

using nlohmann::json;
using testing::ElementsAre;

LogRecord makeRecord(const Attributes& fields, const char* name = "name") {
  return {name, fields, std::chrono::system_clock::time_point(std::chrono::microseconds(7))};
}

json request(const std::vector<LogRecord>& records, uint64_t dropped = 0) {
  return json::parse(encodeRequest({{"service.name", "test"}}, records, dropped));
}

json record(const Attributes& fields, const char* name = "name") {
  return request({makeRecord(fields, name)})["resourceLogs"][0]["scopeLogs"][0]["logRecords"][0];
}

/// The values by their keys, each of which must come once.
std::map<std::string, json> attributesOf(const json& object) {
  std::map<std::string, json> attributes;
  for (const json& attribute : object["attributes"]) {
    EXPECT_TRUE(attributes.emplace(attribute["key"], attribute["value"]).second) << attribute;
  }
  return attributes;
}

TEST(OtlpRequest, IsWhatTheProtocolWants) {
  EXPECT_EQ(
      encodeRequest(
          {{"service.name", "test"}},
          {makeRecord({{"end_time_since_epoch", int64_t{1700000000123}}, {"severity", int64_t{2}}},
                      "wexo_kiv_error_code")},
          0),
      R"({"resourceLogs":[{"resource":{"attributes":[)"
      R"({"key":"service.name","value":{"stringValue":"test"}}]},)"
      R"("scopeLogs":[{"scope":{"name":"libkivtelemetry","version":")" KIV_VERSION
      R"("},"logRecords":[{)"
      R"("timeUnixNano":"1700000000123000000","observedTimeUnixNano":"7000",)"
      R"("severityNumber":17,"severityText":"ERROR","attributes":[)"
      R"({"key":"event.name","value":{"stringValue":"wexo_kiv_error_code"}},)"
      R"({"key":"end_time_since_epoch","value":{"intValue":"1700000000123"}},)"
      R"({"key":"severity","value":{"intValue":"2"}}]}]}]}]})");
}

TEST(OtlpRequest, HasOneRecordForEachEventInTheirOrder) {
  const json records =
      request({makeRecord({}, "first"),
               makeRecord({}, "second")})["resourceLogs"][0]["scopeLogs"][0]["logRecords"];
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(attributesOf(records[0])["event.name"]["stringValue"], "first");
  EXPECT_EQ(attributesOf(records[1])["event.name"]["stringValue"], "second");
}

TEST(OtlpRequest, TellsWhatWasDropped) {
  const json scope = request({makeRecord({})}, 3)["resourceLogs"][0]["scopeLogs"][0]["scope"];
  EXPECT_EQ(attributesOf(scope)["kiv.telemetry.dropped_events"]["intValue"], "3");
}

TEST(OtlpRecord, HasTheSeverityOfItsEvent) {
  const std::vector<std::pair<int, const char*>> expected = {
      {9, "INFO"}, {13, "WARNING"}, {17, "ERROR"}, {21, "FATAL"}};
  for (int64_t severity = 0; severity < 4; ++severity) {
    const json log = record({{"severity", severity}});
    EXPECT_EQ(log["severityNumber"], expected[static_cast<size_t>(severity)].first);
    EXPECT_EQ(log["severityText"], expected[static_cast<size_t>(severity)].second);
  }
}

TEST(OtlpRecord, IsInformationIfItsEventHasNoSeverityThatIsKnown) {
  const std::vector<Attributes> fields = {{},
                                          {{"severity", int64_t{4}}},
                                          {{"severity", int64_t{-1}}},
                                          {{"severity", "ERROR"}},
                                          {{"severity", 2.0F}}};
  for (const Attributes& one : fields) {
    EXPECT_EQ(record(one)["severityNumber"], 9);
    EXPECT_EQ(record(one)["severityText"], "INFO");
  }
}

TEST(OtlpRecord, HasNoTimeIfItsEventHasNoneThatFits) {
  for (const int64_t end :
       {int64_t{0}, int64_t{-1}, std::numeric_limits<int64_t>::max(), int64_t{9'223'372'036'855}}) {
    EXPECT_FALSE(record({{"end_time_since_epoch", end}}).contains("timeUnixNano")) << end;
  }
  EXPECT_FALSE(record({}).contains("timeUnixNano"));
  EXPECT_EQ(record({{"end_time_since_epoch", int64_t{9'223'372'036'854}}})["timeUnixNano"],
            "9223372036854000000");
}

TEST(OtlpRecord, KeepsTheTypesOfItsFields) {
  auto attributes = attributesOf(record(
      {{"integer", std::numeric_limits<int64_t>::min()}, {"float", 0.1F}, {"text", "value"}}));
  EXPECT_EQ(attributes["integer"], json::parse(R"({"intValue":"-9223372036854775808"})"));
  EXPECT_EQ(attributes["float"], json::parse(R"({"doubleValue":0.1})"));
  EXPECT_EQ(attributes["text"], json::parse(R"({"stringValue":"value"})"));
}

TEST(OtlpRecord, NamesNumbersThatAreNotFinite) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  auto attributes =
      attributesOf(record({{"a", std::nanf("")}, {"b", kInfinity}, {"c", -kInfinity}}));
  EXPECT_EQ(attributes["a"]["doubleValue"], "NaN");
  EXPECT_EQ(attributes["b"]["doubleValue"], "Infinity");
  EXPECT_EQ(attributes["c"]["doubleValue"], "-Infinity");
}

TEST(OtlpRecord, MayHaveAnEmptyName) {
  EXPECT_EQ(attributesOf(record({}, ""))["event.name"], json::parse(R"({"stringValue":""})"));
}

TEST(OtlpRecord, LetsNoFieldTakeThePlaceOfItsName) {
  EXPECT_EQ(attributesOf(record({{"event.name", "false"}}))["event.name"]["stringValue"], "name");
}

TEST(OtlpRecord, ReplacesWhatIsNotUtf8) {
  EXPECT_EQ(attributesOf(record({{"text", "a\xff\"\n"}}))["text"]["stringValue"],
            "a\xEF\xBF\xBD\"\n");
}

TEST(OtlpEvent, KeepsTheLastValueOfAField) {
  OtlpEvent event("name");
  event.setInt64Field("field", 1);
  event.setFloatField("field", 2.0F);
  event.setStringField("field", "three");
  EXPECT_THAT(event.toRecord().fields,
              ElementsAre(testing::Pair(
                  "field", std::variant<int64_t, float, std::string>(std::string("three")))));
}

TEST(OtlpEvent, KeepsCopiesOfItsTexts) {
  std::string name = "name";
  std::string field = "field";
  std::string value = "value";
  OtlpEvent event(name.c_str());
  event.setStringField(field.c_str(), value.c_str());
  name = field = value = "gone!";
  EXPECT_EQ(event.toRecord().name, "name");
  EXPECT_EQ(std::get<std::string>(event.toRecord().fields.at("field")), "value");
}

TEST(OtlpEvent, IsObservedWhenItIsReported) {
  const OtlpEvent event("name");
  const auto before = std::chrono::system_clock::now();
  EXPECT_GE(event.toRecord().observed, before);
}

}  // namespace
}  // namespace TAMSA::otlp
