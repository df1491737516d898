#include "Mixer.h"

#include <kiv/ScopedKivTrace.h>

#include <algorithm>
#include <functional>

using android::kiv::KivError;
using android::kiv::KivErrorSeverity;
using ::kiv::KivStreamType;

bool Mixer::open(const ::kiv::KivPcmInfo& pcm) {
  if (pcm.sampleRate < 8000) {
    fail(KivError::USER_INVALID_SAMPLE_RATE, "open");
    return false;
  }
  is_open_ = true;
  telemetry_.getLogger()->logStreamEvent(pcm, KivStreamType::KIV_STREAM_TYPE_OBJECT, "open");
  return true;
}

bool Mixer::mix(const std::vector<float>& block, std::vector<float>& output) {
  const android::kiv::ScopedKivTrace trace(telemetry_.getLogger(), "mix");
  return add(block, output);
}

bool Mixer::add(const std::vector<float>& block, std::vector<float>& output) {
  if (!is_open_) {
    fail(KivError::USER_STREAM_NOT_OPEN, "mix");
    return false;
  }
  if (block.size() != output.size()) {
    fail(KivError::USER_INVALID_NUMBER_OF_SAMPLES, "mix");
    return false;
  }
  std::transform(block.begin(), block.end(), output.begin(), output.begin(), std::plus<>());
  return true;
}

void Mixer::fail(KivError error, const char* api) {
  telemetry_.getLogger()->logKivErrorCode(error, api, KivErrorSeverity::ERROR, "Mixer");
}
