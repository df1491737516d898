/// Reads export requests.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace kiv_test {

/// A request in binary protobuf as the JSON encoding of the protocol shows it. Throws if it is
/// malformed or has a field that is not expected.
nlohmann::json decodeProtobufRequest(const std::string& body);

/// A request in the encoding that the media type names.
nlohmann::json decodeRequest(const std::string& content_type, const std::string& body);

}  // namespace kiv_test
