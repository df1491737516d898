/// The report that each logging operation makes.
#pragma once

#include <cstdint>
#include <string>

#include "tests/model/Reference.h"

namespace kiv_test::model {

Report errorReport(const Session& session, const std::string& code, const std::string& api,
                   uint8_t severity, const std::string& kiv_class);

/// A stream, from either form of descriptor.
struct Stream {
  uint32_t format;
  std::string format_text;
  int8_t type;
  float sample_rate;
  uint32_t samples;
  uint32_t channels;
  bool interleaved;
};

Report streamReport(const Session& session, const Stream& stream, const std::string& event);
Report latencyReport(const Session& session, const Stream& stream, int64_t latency_ms);

Report integerReport(const Session& session, const std::string& name, long long value,
                     uint8_t method);
Report floatReport(const Session& session, const std::string& name, float value, uint8_t method);
Report textReport(const Session& session, const std::string& name, const std::string& value,
                  uint8_t method);

}  // namespace kiv_test::model
