/// The bodies of a collector's answers, in the encoding that their media type names.
#pragma once

#include <cstdint>
#include <string>

namespace TAMSA::otlp {

struct PartialSuccess {
  uint64_t rejected = 0;  ///< Records.
  std::string message;
};

/// Reads the answer to a request that succeeded. A body that cannot be read is empty.
PartialSuccess parsePartialSuccess(const std::string& content_type, const std::string& body);

/// Reads the message of an error. A plain text is its own message.
std::string parseError(const std::string& content_type, const std::string& body);

}  // namespace TAMSA::otlp
