// Makes reports of every kind, in two windows.
#include <kiv/TelemetryLogger.h>

#include <chrono>
#include <string>

using namespace android::kiv;
using ::kiv::KivStreamType;

namespace {

void reportErrors(TelemetryLogger& logger) {
  for (const auto severity : {KivErrorSeverity::INFO, KivErrorSeverity::WARNING,
                              KivErrorSeverity::ERROR, KivErrorSeverity::FATAL}) {
    logger.logKivErrorCode(KivError::MMAP_FAILED, -12, "render", severity, "Mixer");
  }
  logger.logKivErrorCode(KivError::MMAP_FAILED, -12, "render", KivErrorSeverity::ERROR, "Mixer");
  logger.logErrorCode("it's \"quoted\" </script> über", "open;", KivErrorSeverity::ERROR, "");
}

void reportStreams(TelemetryLogger& logger) {
  const KivPcmInfoExt stereo{44100.9f, 480, 2, true, AUDIO_FORMAT_PCM_FLOAT};
  const KivPcmInfoExt odd{-5.0f, 4294967295u, 16, false, static_cast<audio_format_t>(0x7FFFFFFF)};
  logger.logStreamEvent(stereo, KivStreamType::KIV_STREAM_TYPE_OBJECT, "start");
  logger.logStreamEvent(stereo, KivStreamType::KIV_STREAM_TYPE_OBJECT, "start");
  logger.logStreamEvent(odd, static_cast<KivStreamType>(7), "stop");
  logger.logAudioLatency(stereo, KivStreamType::KIV_STREAM_TYPE_OBJECT,
                         std::chrono::milliseconds(20));
}

// The values of the windows differ by `factor`.
void reportValues(TelemetryLogger& logger, int factor) {
  for (int call = 0; call < factor; ++call) {
    logger.logKivEvent("api_latency_us.render", 100 * factor, NumericAggregationType::AVG);
    logger.logKivEvent("load", 0.5f * static_cast<float>(factor), NumericAggregationType::AVG);
  }
  logger.logKivEvent("depth", 7 * factor, NumericAggregationType::MAX);
  logger.logKivEvent("room", -3 * factor, NumericAggregationType::MIN);
  logger.logKivEvent("frames", 480 * factor, NumericAggregationType::SUM);
  logger.logKivEvent("ticks", 0, NumericAggregationType::COUNT);
  logger.logKivEvent<std::string>("container", "WAV", NumericAggregationType::COUNT);
  logger.logKivClientCall("openStream", "ok");
}

}  // namespace

int main() {
  const TelemetryEnv telemetry("SampleReporter");
  const auto logger = telemetry.getLogger();
  for (const int factor : {1, 3}) {
    reportErrors(*logger);
    reportStreams(*logger);
    reportValues(*logger, factor);
    // Also keeps the logger until the latency sample, which holds a plain pointer to it, is taken.
    if (!logger->flush()) return 1;
  }
  return 0;
}
