// The encodings of requests. Both are decoded to the same form.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>

#include "modules/otlp/Encoder.h"
#include "tests/modules/otlp/DecodeRequest.h"

namespace TAMSA::otlp {
namespace {

using kiv_test::decodeRequest;
using nlohmann::json;
using std::chrono::nanoseconds;

const Attributes kResource = {{"service.name", "test"}};

LogRecord makeRecord(const Attributes& attributes) {
  LogRecord record;
  record.observed = nanoseconds(7'000);
  record.severity = {17, "ERROR"};
  record.event_name = "name";
  record.body = "body";
  record.attributes = attributes;
  return record;
}

class EncoderTest : public testing::TestWithParam<Protocol> {
 protected:
  std::string encode(const std::vector<LogRecord>& records) const {
    std::vector<std::string> encoded;
    for (const LogRecord& record : records) encoded.push_back(encoder_->encodeRecord(record));
    return encoder_->encodeRequest({encoded.begin(), encoded.end()});
  }

  json request(const std::vector<LogRecord>& records) const {
    return decodeRequest(encoder_->contentType(), encode(records));
  }

  json record(const LogRecord& record) const {
    return request({record})["resourceLogs"][0]["scopeLogs"][0]["logRecords"][0];
  }

  /// The value of the only attribute.
  json attribute(const std::variant<int64_t, float, std::string>& value) const {
    return record(makeRecord({{"key", value}}))["attributes"][0]["value"];
  }

  std::unique_ptr<const Encoder> encoder_ = makeEncoder(GetParam(), kResource);
};

INSTANTIATE_TEST_SUITE_P(, EncoderTest,
                         testing::Values(Protocol::HTTP_PROTOBUF, Protocol::HTTP_JSON),
                         [](const auto& protocol) {
                           return protocol.param == Protocol::HTTP_JSON ? "Json" : "Protobuf";
                         });

TEST_P(EncoderTest, WritesEveryPartOfARequest) {
  LogRecord record = makeRecord({{"event.name", "name"}, {"severity", int64_t{2}}});
  record.time = nanoseconds(1'700'000'000'123'000'000);
  EXPECT_EQ(request({record}), json::parse(R"({"resourceLogs":[{
      "resource":{"attributes":[{"key":"service.name","value":{"stringValue":"test"}}]},
      "scopeLogs":[{
        "scope":{"name":"libkivtelemetry","version":")" KIV_VERSION R"("},
        "logRecords":[{
          "timeUnixNano":"1700000000123000000","observedTimeUnixNano":"7000",
          "severityNumber":17,"severityText":"ERROR","eventName":"name",
          "body":{"stringValue":"body"},
          "attributes":[{"key":"event.name","value":{"stringValue":"name"}},
                        {"key":"severity","value":{"intValue":"2"}}]}],
        "schemaUrl":"https://opentelemetry.io/schemas/1.37.0"}],
      "schemaUrl":"https://opentelemetry.io/schemas/1.37.0"}]})"));
}

TEST_P(EncoderTest, KeepsTheOrderOfRecords) {
  LogRecord first = makeRecord({});
  LogRecord second = makeRecord({});
  first.body = "first";
  second.body = "second";
  const json records = request({first, second})["resourceLogs"][0]["scopeLogs"][0]["logRecords"];
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[0]["body"]["stringValue"], "first");
  EXPECT_EQ(records[1]["body"]["stringValue"], "second");
}

TEST_P(EncoderTest, LeavesOutATimeThatIsNotKnown) {
  EXPECT_FALSE(record(makeRecord({})).contains("timeUnixNano"));
}

TEST_P(EncoderTest, KeepsTheTypesOfAttributes) {
  EXPECT_EQ(attribute(std::numeric_limits<int64_t>::min()),
            json::parse(R"({"intValue":"-9223372036854775808"})"));
  EXPECT_EQ(attribute(0.5F), json::parse(R"({"doubleValue":0.5})"));
  EXPECT_EQ(attribute("value"), json::parse(R"({"stringValue":"value"})"));
  EXPECT_EQ(attribute(""), json::parse(R"({"stringValue":""})"));
  EXPECT_EQ(attribute(int64_t{0}), json::parse(R"({"intValue":"0"})"));
  EXPECT_EQ(attribute(0.0F), json::parse(R"({"doubleValue":0.0})"));
}

TEST_P(EncoderTest, ReplacesBytesThatAreNotUtf8) {
  EXPECT_EQ(attribute("a\xff\"\n")["stringValue"], "a\xEF\xBF\xBD\"\n");
}

TEST_P(EncoderTest, KnowsHowMuchARequestAddsToItsRecords) {
  const std::string encoded =
      encoder_->encodeRecord(makeRecord({{"text", std::string(5'000'000, 'x')}}));
  const size_t request = encoder_->encodeRequest({encoded, encoded}).size();
  EXPECT_GT(request, 2 * encoded.size());
  EXPECT_LE(request, 2 * encoded.size() + encoder_->overhead());
}

TEST(JsonEncoder, NamesNumbersThatAreNotFinite) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  const auto encoder = makeEncoder(Protocol::HTTP_JSON, {});
  const std::string record = encoder->encodeRecord(
      makeRecord({{"a", std::nanf("")}, {"b", kInfinity}, {"c", -kInfinity}}));
  EXPECT_THAT(record, testing::HasSubstr(R"("doubleValue":"NaN")"));
  EXPECT_THAT(record, testing::HasSubstr(R"("doubleValue":"Infinity")"));
  EXPECT_THAT(record, testing::HasSubstr(R"("doubleValue":"-Infinity")"));
}

TEST(JsonEncoder, WritesFloatsAsTheShortestNumbersThatReadBack) {
  const auto encoder = makeEncoder(Protocol::HTTP_JSON, {});
  EXPECT_THAT(encoder->encodeRecord(makeRecord({{"float", 0.1F}})),
              testing::HasSubstr(R"("doubleValue":0.1})"));
}

TEST(ProtobufEncoder, WritesFloatsAsDoublesOfTheSameValue) {
  const auto encoder = makeEncoder(Protocol::HTTP_PROTOBUF, {});
  const std::string record = encoder->encodeRecord(
      makeRecord({{"float", 0.1F}, {"infinity", -std::numeric_limits<float>::infinity()}}));
  const json attributes = kiv_test::decodeProtobufRequest(encoder->encodeRequest(
      {record}))["resourceLogs"][0]["scopeLogs"][0]["logRecords"][0]["attributes"];
  EXPECT_EQ(attributes[0]["value"]["doubleValue"].get<double>(), static_cast<double>(0.1F));
  EXPECT_EQ(attributes[1]["value"]["doubleValue"].get<double>(),
            -std::numeric_limits<double>::infinity());
}

}  // namespace
}  // namespace TAMSA::otlp
