/// The encodings of the OpenTelemetry protocol over HTTP.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "modules/otlp/LogRecord.h"

namespace TAMSA::otlp {

enum class Protocol { HTTP_PROTOBUF, HTTP_JSON };

/// Immutable after construction; any thread may use it. All operations throw only if memory is
/// short. Text that is not UTF-8 gets U+FFFD in the place of wrong bytes.
class Encoder {
 public:
  virtual ~Encoder() = default;

  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  /// One record, as `encodeRequest` takes it.
  virtual std::string encodeRecord(const LogRecord& record) const = 0;

  /// An export request with the encoded records, in their order. It is longer than these by
  /// `overhead()` bytes at most.
  virtual std::string encodeRequest(const std::vector<std::string_view>& records) const = 0;

  size_t overhead() const;

  /// The media type of the request.
  virtual const char* contentType() const = 0;

 protected:
  Encoder() = default;
};

/// Factory. The requests name `resource` as their origin.
std::unique_ptr<const Encoder> makeEncoder(Protocol protocol, const Attributes& resource);

namespace internal {

/// The instrumentation scope of all records.
constexpr char kScopeName[] = "libkivtelemetry";
constexpr char kScopeVersion[] = KIV_VERSION;
/// The version of OpenTelemetry's semantic conventions that the resource follows.
constexpr char kSchemaUrl[] = "https://opentelemetry.io/schemas/1.37.0";

}  // namespace internal

}  // namespace TAMSA::otlp
