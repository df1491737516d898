/// The binary protobuf encoding of the OpenTelemetry protocol.
#pragma once

#include "modules/otlp/Encoder.h"

namespace TAMSA::otlp {

class ProtobufEncoder final : public Encoder {
 public:
  explicit ProtobufEncoder(const Attributes& resource);

  std::string encodeRecord(const LogRecord& record) const override;
  std::string encodeRequest(const std::vector<std::string_view>& records) const override;
  const char* contentType() const override { return "application/x-protobuf"; }

 private:
  std::string resource_;  ///< The message `Resource`.
  std::string scope_;     ///< The message `InstrumentationScope`.
};

}  // namespace TAMSA::otlp
