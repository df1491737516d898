#include "modules/otlp/ProtobufEncoder.h"

#include <cstdint>
#include <protozero/pbf_builder.hpp>

#include "modules/otlp/Utf8.h"

namespace TAMSA::otlp {

namespace {

using protozero::pbf_builder;
using protozero::pbf_tag_type;

// The fields of the protocol's messages, by the numbers of its .proto files.
enum class Request : pbf_tag_type { RESOURCE_LOGS = 1 };
enum class ResourceLogs : pbf_tag_type { RESOURCE = 1, SCOPE_LOGS = 2, SCHEMA_URL = 3 };
enum class Resource : pbf_tag_type { ATTRIBUTES = 1 };
enum class ScopeLogs : pbf_tag_type { SCOPE = 1, LOG_RECORDS = 2, SCHEMA_URL = 3 };
enum class Scope : pbf_tag_type { NAME = 1, VERSION = 2 };
enum class Record : pbf_tag_type {
  TIME_UNIX_NANO = 1,
  SEVERITY_NUMBER = 2,
  SEVERITY_TEXT = 3,
  BODY = 5,
  ATTRIBUTES = 6,
  OBSERVED_TIME_UNIX_NANO = 11,
  EVENT_NAME = 12,
};
enum class KeyValue : pbf_tag_type { KEY = 1, VALUE = 2 };
enum class AnyValue : pbf_tag_type { STRING = 1, INT = 3, DOUBLE = 4 };

void addValue(pbf_builder<AnyValue>& any, int64_t value) { any.add_int64(AnyValue::INT, value); }

void addValue(pbf_builder<AnyValue>& any, float value) {
  any.add_double(AnyValue::DOUBLE, static_cast<double>(value));
}

void addValue(pbf_builder<AnyValue>& any, const std::string& value) {
  any.add_string(AnyValue::STRING, toUtf8(value));
}

template <typename Field>
void addAttributes(pbf_builder<Field>& message, Field field, const Attributes& attributes) {
  for (const auto& [key, value] : attributes) {
    pbf_builder<KeyValue> pair(message, field);
    pair.add_string(KeyValue::KEY, toUtf8(key));
    pbf_builder<AnyValue> any(pair, KeyValue::VALUE);
    std::visit([&any](const auto& typed) { addValue(any, typed); }, value);
  }
}

uint64_t toUnsigned(std::chrono::nanoseconds time) { return static_cast<uint64_t>(time.count()); }

}  // namespace

ProtobufEncoder::ProtobufEncoder(const Attributes& resource) {
  pbf_builder<Resource> resource_message(resource_);
  addAttributes(resource_message, Resource::ATTRIBUTES, resource);
  pbf_builder<Scope> scope_message(scope_);
  scope_message.add_string(Scope::NAME, internal::kScopeName);
  scope_message.add_string(Scope::VERSION, internal::kScopeVersion);
}

std::string ProtobufEncoder::encodeRecord(const LogRecord& record) const {
  std::string field;
  pbf_builder<ScopeLogs> logs(field);
  {
    pbf_builder<Record> log(logs, ScopeLogs::LOG_RECORDS);
    if (record.time) log.add_fixed64(Record::TIME_UNIX_NANO, toUnsigned(*record.time));
    log.add_enum(Record::SEVERITY_NUMBER, record.severity.number);
    log.add_string(Record::SEVERITY_TEXT, record.severity.text);
    {
      pbf_builder<AnyValue> body(log, Record::BODY);
      addValue(body, record.body);
    }
    addAttributes(log, Record::ATTRIBUTES, record.attributes);
    log.add_fixed64(Record::OBSERVED_TIME_UNIX_NANO, toUnsigned(record.observed));
    log.add_string(Record::EVENT_NAME, toUtf8(record.event_name));
  }
  return field;
}

std::string ProtobufEncoder::encodeRequest(const std::vector<std::string_view>& records) const {
  std::string scope_logs;
  pbf_builder<ScopeLogs> logs(scope_logs);
  logs.add_message(ScopeLogs::SCOPE, scope_);
  // Records are encoded with their tags and lengths.
  for (const std::string_view record : records) scope_logs += record;
  logs.add_string(ScopeLogs::SCHEMA_URL, internal::kSchemaUrl);

  std::string request;
  pbf_builder<Request> message(request);
  {
    pbf_builder<ResourceLogs> resource_logs(message, Request::RESOURCE_LOGS);
    resource_logs.add_message(ResourceLogs::RESOURCE, resource_);
    resource_logs.add_message(ResourceLogs::SCOPE_LOGS, scope_logs);
    resource_logs.add_string(ResourceLogs::SCHEMA_URL, internal::kSchemaUrl);
  }
  return request;
}

}  // namespace TAMSA::otlp
