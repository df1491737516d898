/// The JSON encoding of the OpenTelemetry protocol.
#pragma once

#include "modules/otlp/Encoder.h"

namespace TAMSA::otlp {

/// A float is written as the shortest number that reads back as the same float.
class JsonEncoder final : public Encoder {
 public:
  explicit JsonEncoder(const Attributes& resource);

  std::string encodeRecord(const LogRecord& record) const override;
  std::string encodeRequest(const std::vector<std::string_view>& records) const override;
  const char* contentType() const override { return "application/json"; }

 private:
  // The request before and after its records.
  std::string begin_;
  std::string end_;
};

}  // namespace TAMSA::otlp
