#include "tests/system/Calls.h"

#include <chrono>

namespace kiv_test {

using android::kiv::KivError;
using android::kiv::KivErrorSeverity;
using android::kiv::NumericAggregationType;
using android::kiv::TelemetryLogger;

void report(TelemetryLogger& logger, const std::string& name, int times) {
  for (int i = 0; i < times; ++i) {
    logger.logKivEvent<long long>(name, 1, NumericAggregationType::SUM);
  }
}

void reportEveryKind(TelemetryLogger& logger) {
  const android::kiv::KivPcmInfoExt pcm{48000.0F, 960, 2, true, AUDIO_FORMAT_PCM_16_BIT};
  constexpr auto kType = kiv::KivStreamType::KIV_STREAM_TYPE_OBJECT;
  logger.logErrorCode("code", "api", KivErrorSeverity::INFO, "class");
  logger.logStreamEvent(pcm, kType, "start");
  logger.logAudioLatency(pcm, kType, std::chrono::milliseconds(1));
  logger.logKivEvent<long long>("integer", 1, NumericAggregationType::SUM);
  logger.logKivEvent<float>("float", 1.0F, NumericAggregationType::SUM);
  logger.logKivEvent<std::string>("text", "", NumericAggregationType::COUNT);
}

void callEverything(TelemetryLogger& logger) {
  reportEveryKind(logger);
  logger.logKivErrorCode(KivError::MMAP_FAILED, "api", KivErrorSeverity::ERROR, "class");
  logger.logKivErrorCode(KivError::MMAP_FAILED, -12, "api", KivErrorSeverity::ERROR, "class");
  logger.logAndroidStatusErrorCode(-12, "api", KivErrorSeverity::ERROR);
  logger.logKivClientCall("open", "ok");
  logger.kiv_endTraceSection(logger.kiv_beginTraceSection("section"));
  logger.stopTrace(logger.startTrace("class", "trace"));
  logger.flush();
  logger.stop();
  logger.start();
}

}  // namespace kiv_test
