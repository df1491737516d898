#include "modules/otlp/ReplyBody.h"

#include <strings.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <protozero/pbf_message.hpp>
#include <string_view>

namespace TAMSA::otlp {

namespace {

using nlohmann::json;
using protozero::pbf_message;
using protozero::pbf_tag_type;
using protozero::pbf_wire_type;

// The fields of the protocol's messages, by the numbers of its .proto files.
enum class ServiceResponse : pbf_tag_type { PARTIAL_SUCCESS = 1 };
enum class Partial : pbf_tag_type { REJECTED_LOG_RECORDS = 1, ERROR_MESSAGE = 2 };
enum class Status : pbf_tag_type { MESSAGE = 2 };

enum class Format { PROTOBUF, JSON, TEXT, UNKNOWN };

/// Ignores the parameters of the media type.
Format formatOf(const std::string& content_type) {
  const std::string type = content_type.substr(0, content_type.find_first_of("; \t"));
  const auto is = [&](const char* name) { return strcasecmp(type.c_str(), name) == 0; };
  if (is("application/x-protobuf") || is("application/protobuf")) return Format::PROTOBUF;
  if (is("application/json")) return Format::JSON;
  return is("text/plain") ? Format::TEXT : Format::UNKNOWN;
}

const json* findMember(const json& object, const char* name) {
  const auto member = object.find(name);
  return member != object.end() ? &*member : nullptr;
}

std::string textMember(const json& object, const char* name) {
  const json* const member = findMember(object, name);
  return member != nullptr && member->is_string() ? member->get<std::string>() : "";
}

/// The encoding writes 64-bit integers as texts; a number is accepted as well.
uint64_t countMember(const json& object, const char* name) {
  const json* const member = findMember(object, name);
  if (member == nullptr) return 0;
  if (member->is_number_unsigned()) return member->get<uint64_t>();
  if (!member->is_string()) return 0;
  const json number = json::parse(member->get<std::string>(), nullptr, false);
  return number.is_number_unsigned() ? number.get<uint64_t>() : 0;
}

PartialSuccess parseJsonSuccess(const std::string& body) {
  const json response = json::parse(body, nullptr, false);
  const json* const partial =
      response.is_object() ? findMember(response, "partialSuccess") : nullptr;
  if (partial == nullptr || !partial->is_object()) return {};
  return {countMember(*partial, "rejectedLogRecords"), textMember(*partial, "errorMessage")};
}

PartialSuccess parsePartial(pbf_message<Partial> message) {
  PartialSuccess partial;
  while (message.next()) {
    switch (message.tag_and_type()) {
      case protozero::tag_and_type(Partial::REJECTED_LOG_RECORDS, pbf_wire_type::varint):
        partial.rejected = static_cast<uint64_t>(std::max<int64_t>(message.get_int64(), 0));
        break;
      case protozero::tag_and_type(Partial::ERROR_MESSAGE, pbf_wire_type::length_delimited):
        partial.message = message.get_string();
        break;
      default:
        message.skip();
    }
  }
  return partial;
}

PartialSuccess parseProtobufSuccess(const std::string& body) {
  PartialSuccess partial;
  pbf_message<ServiceResponse> response(body);
  while (response.next()) {
    if (response.tag_and_type() == protozero::tag_and_type(ServiceResponse::PARTIAL_SUCCESS,
                                                           pbf_wire_type::length_delimited)) {
      partial = parsePartial(response.get_message());
    } else {
      response.skip();
    }
  }
  return partial;
}

std::string parseProtobufError(const std::string& body) {
  std::string text;
  pbf_message<Status> status(body);
  while (status.next()) {
    if (status.tag_and_type() ==
        protozero::tag_and_type(Status::MESSAGE, pbf_wire_type::length_delimited)) {
      text = status.get_string();
    } else {
      status.skip();
    }
  }
  return text;
}

std::string parseJsonError(const std::string& body) {
  const json status = json::parse(body, nullptr, false);
  return status.is_object() ? textMember(status, "message") : "";
}

}  // namespace

PartialSuccess parsePartialSuccess(const std::string& content_type, const std::string& body) {
  if (formatOf(content_type) != Format::PROTOBUF) return parseJsonSuccess(body);
  try {
    return parseProtobufSuccess(body);
  } catch (const protozero::exception&) {
    return {};
  }
}

std::string parseError(const std::string& content_type, const std::string& body) {
  switch (formatOf(content_type)) {
    case Format::TEXT:
      return body;
    case Format::PROTOBUF:
      try {
        return parseProtobufError(body);
      } catch (const protozero::exception&) {
        return {};
      }
    default:
      return parseJsonError(body);
  }
}

}  // namespace TAMSA::otlp
