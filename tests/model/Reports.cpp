#include "tests/model/Reports.h"

#include <limits>

#include "tests/model/Vocabulary.h"

namespace kiv_test::model {

namespace {

constexpr uint8_t kAverage = 0;
constexpr uint8_t kCount = 4;

uint32_t wholeRate(float rate) {
  if (!(rate > 0)) return 0;
  if (rate >= 4294967296.0F) return std::numeric_limits<uint32_t>::max();
  return static_cast<uint32_t>(rate);
}

int64_t asSigned(uint32_t number) {
  return number < 0x80000000U ? int64_t{number} : int64_t{number} - 0x100000000LL;
}

std::vector<std::variant<long long, std::string>> streamKey(const Stream& stream) {
  return {static_cast<long long>(stream.format),
          static_cast<long long>(stream.type),
          static_cast<long long>(wholeRate(stream.sample_rate)),
          static_cast<long long>(stream.samples),
          static_cast<long long>(stream.channels),
          static_cast<long long>(stream.interleaved)};
}

Fields genericFields(const std::string& name, const std::string& method) {
  Fields fields;
  fields.strings = {{"aggregation_method", method}, {"kiv_event_name", name}, {"value_string", ""}};
  fields.ints = {{"value_int", 0}};
  fields.floats = {{"value_float", 0.0F}};
  return fields;
}

}  // namespace

Report errorReport(const Session& session, const std::string& code, const std::string& api,
                   uint8_t severity, const std::string& kiv_class) {
  Fields fields;
  fields.strings = {{"aggregation_method", "COUNT"},
                    {"kiv_class", kiv_class},
                    {"kiv_api", api},
                    {"kiv_error_code", code}};
  fields.ints = {{"severity", severity}};
  return {ERRORS, session, {api, kiv_class, code, static_cast<long long>(severity)},
          fields, kCount,  1};
}

Report streamReport(const Session& session, const Stream& stream, const std::string& event) {
  Fields fields;
  fields.strings = {{"aggregation_method", "COUNT"},
                    {"pcm_format", stream.format_text},
                    {"stream_type", streamTypeText(stream.type)},
                    {"kiv_event", event}};
  fields.ints = {{"sample_rate", asSigned(wholeRate(stream.sample_rate))},
                 {"samples", asSigned(stream.samples)},
                 {"channels", asSigned(stream.channels)},
                 {"interleaved", stream.interleaved ? 1 : 0}};
  auto key = streamKey(stream);
  key.emplace_back(event);
  return {STREAMS, session, key, fields, kCount, 1};
}

Report latencyReport(const Session& session, const Stream& stream, int64_t latency_ms) {
  Fields fields;
  fields.strings = {{"aggregation_method", "AVG"}};
  const auto low_bits = static_cast<uint32_t>(static_cast<uint64_t>(latency_ms) & 0xFFFFFFFFU);
  return {LATENCIES, session, streamKey(stream), fields, kAverage, static_cast<float>(low_bits)};
}

Report integerReport(const Session& session, const std::string& name, long long value,
                     uint8_t method) {
  return {INTEGERS,
          session,
          {name, static_cast<long long>(method)},
          genericFields(name, methodText(method)),
          method,
          static_cast<float>(value)};
}

Report floatReport(const Session& session, const std::string& name, float value, uint8_t method) {
  return {FLOATS,
          session,
          {name, static_cast<long long>(method)},
          genericFields(name, methodText(method)),
          method,
          value};
}

Report textReport(const Session& session, const std::string& name, const std::string& value,
                  uint8_t method) {
  Fields fields = genericFields(name, "COUNT");
  fields.strings["value_string"] = value;
  return {TEXTS, session, {name, static_cast<long long>(method), value}, fields, kCount, 1};
}

}  // namespace kiv_test::model
