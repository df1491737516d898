/// The report that everybody makes: texts of 28, 20 and 16 characters, a severity, and a session
/// with a parent.
#pragma once

#include <memory>
#include <string>

#include "kiv/KivError.h"
#include "kiv/KivSessionId.h"

namespace kiv_bench {

struct Report {
  std::string error_code = "kiv.SERVICE_STREAM_NOT_READY";
  std::string api = "configureAudioStream";
  std::string kiv_class = "SpatialAudioSink";
  android::kiv::KivErrorSeverity severity = android::kiv::KivErrorSeverity::ERROR;
};

inline android::kiv::KivSessionId makeSession() {
  return android::kiv::KivSessionId(std::make_shared<android::kiv::KivSessionId>(nullptr));
}

}  // namespace kiv_bench
