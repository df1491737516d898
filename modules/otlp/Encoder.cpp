#include "modules/otlp/Encoder.h"

#include "modules/otlp/JsonEncoder.h"
#include "modules/otlp/ProtobufEncoder.h"

namespace TAMSA::otlp {

size_t Encoder::overhead() const {
  // Lengths are written in up to five bytes, some of which an empty request does not need.
  constexpr size_t kLengths = 16;
  return encodeRequest({}).size() + kLengths;
}

std::unique_ptr<const Encoder> makeEncoder(Protocol protocol, const Attributes& resource) {
  if (protocol == Protocol::HTTP_JSON) return std::make_unique<JsonEncoder>(resource);
  return std::make_unique<ProtobufEncoder>(resource);
}

}  // namespace TAMSA::otlp
