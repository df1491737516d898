#include "tests/modules/otlp/DecodeRequest.h"

#include <protozero/pbf_reader.hpp>
#include <stdexcept>

namespace kiv_test {

namespace {

using nlohmann::json;
using protozero::pbf_reader;

[[noreturn]] void unexpected(const char* message, const pbf_reader& reader) {
  throw std::runtime_error(std::string(message) + " has the field " + std::to_string(reader.tag()));
}

json decodeAny(pbf_reader reader) {
  json value;
  while (reader.next()) {
    switch (reader.tag()) {
      case 1:
        value["stringValue"] = reader.get_string();
        break;
      case 3:
        value["intValue"] = std::to_string(reader.get_int64());
        break;
      case 4:
        value["doubleValue"] = reader.get_double();
        break;
      default:
        unexpected("AnyValue", reader);
    }
  }
  return value;
}

json decodePair(pbf_reader reader) {
  json pair;
  while (reader.next()) {
    switch (reader.tag()) {
      case 1:
        pair["key"] = reader.get_string();
        break;
      case 2:
        pair["value"] = decodeAny(reader.get_message());
        break;
      default:
        unexpected("KeyValue", reader);
    }
  }
  return pair;
}

json decodeRecord(pbf_reader reader) {
  json record;
  while (reader.next()) {
    switch (reader.tag()) {
      case 1:
        record["timeUnixNano"] = std::to_string(reader.get_fixed64());
        break;
      case 2:
        record["severityNumber"] = reader.get_enum();
        break;
      case 3:
        record["severityText"] = reader.get_string();
        break;
      case 5:
        record["body"] = decodeAny(reader.get_message());
        break;
      case 6:
        record["attributes"].push_back(decodePair(reader.get_message()));
        break;
      case 11:
        record["observedTimeUnixNano"] = std::to_string(reader.get_fixed64());
        break;
      case 12:
        record["eventName"] = reader.get_string();
        break;
      default:
        unexpected("LogRecord", reader);
    }
  }
  return record;
}

json decodeScope(pbf_reader reader) {
  json scope;
  while (reader.next()) {
    switch (reader.tag()) {
      case 1:
        scope["name"] = reader.get_string();
        break;
      case 2:
        scope["version"] = reader.get_string();
        break;
      default:
        unexpected("InstrumentationScope", reader);
    }
  }
  return scope;
}

json decodeScopeLogs(pbf_reader reader) {
  json logs;
  logs["logRecords"] = json::array();
  while (reader.next()) {
    switch (reader.tag()) {
      case 1:
        logs["scope"] = decodeScope(reader.get_message());
        break;
      case 2:
        logs["logRecords"].push_back(decodeRecord(reader.get_message()));
        break;
      case 3:
        logs["schemaUrl"] = reader.get_string();
        break;
      default:
        unexpected("ScopeLogs", reader);
    }
  }
  return logs;
}

json decodeResource(pbf_reader reader) {
  json resource;
  while (reader.next()) {
    if (reader.tag() != 1) unexpected("Resource", reader);
    resource["attributes"].push_back(decodePair(reader.get_message()));
  }
  return resource;
}

json decodeResourceLogs(pbf_reader reader) {
  json logs;
  while (reader.next()) {
    switch (reader.tag()) {
      case 1:
        logs["resource"] = decodeResource(reader.get_message());
        break;
      case 2:
        logs["scopeLogs"].push_back(decodeScopeLogs(reader.get_message()));
        break;
      case 3:
        logs["schemaUrl"] = reader.get_string();
        break;
      default:
        unexpected("ResourceLogs", reader);
    }
  }
  return logs;
}

}  // namespace

json decodeProtobufRequest(const std::string& body) {
  json request;
  pbf_reader reader(body);
  while (reader.next()) {
    if (reader.tag() != 1) unexpected("ExportLogsServiceRequest", reader);
    request["resourceLogs"].push_back(decodeResourceLogs(reader.get_message()));
  }
  return request;
}

json decodeRequest(const std::string& content_type, const std::string& body) {
  if (content_type == "application/json") return json::parse(body);
  if (content_type == "application/x-protobuf") return decodeProtobufRequest(body);
  throw std::runtime_error("unexpected media type: " + content_type);
}

}  // namespace kiv_test
