#include "tests/system/Calls.h"

#include <chrono>
#include <memory>
#include <utility>

#include "kiv/KivAudioLatencyAggregator.h"
#include "kiv/KivErrorCodeAggregator.h"
#include "kiv/KivGenericEventAggregator.h"
#include "kiv/KivStreamEventAggregator.h"

namespace kiv_test {

using android::kiv::KivAggregator;
using android::kiv::KivAudioLatencyAggregator;
using android::kiv::KivAudioLatencyEvent;
using android::kiv::KivError;
using android::kiv::KivErrorCodeAggregator;
using android::kiv::KivErrorCodeEvent;
using android::kiv::KivErrorSeverity;
using android::kiv::KivGenericEvent;
using android::kiv::KivGenericNumericEventAggregator;
using android::kiv::KivGenericStringEventAggregator;
using android::kiv::KivSessionId;
using android::kiv::KivStreamEvent;
using android::kiv::KivStreamEventAggregator;
using android::kiv::NumericAggregationType;
using android::kiv::TaskRunnerThread;
using android::kiv::TelemetryLogger;
using android::kiv::TelemetrySubmissionModel;
using android::kiv::TimedAggregationManager;

namespace {

template <typename Event>
auto manage(std::shared_ptr<KivAggregator<Event>> aggregator) {
  return std::make_shared<TimedAggregationManager<Event>>(std::move(aggregator),
                                                          std::chrono::seconds(60));
}

}  // namespace

std::shared_ptr<TelemetryLogger> makeOwnLogger() {
  constexpr auto kCount = NumericAggregationType::COUNT;
  return std::make_shared<TelemetryLogger>(
      KivSessionId(nullptr), "Own", TaskRunnerThread::create(std::chrono::seconds(1)),
      manage<KivErrorCodeEvent>(std::make_shared<KivErrorCodeAggregator>(kCount)),
      manage<KivStreamEvent>(std::make_shared<KivStreamEventAggregator>(kCount)),
      manage<KivAudioLatencyEvent>(
          std::make_shared<KivAudioLatencyAggregator>(NumericAggregationType::AVG)),
      manage<KivGenericEvent<long long>>(
          std::make_shared<KivGenericNumericEventAggregator<long long>>()),
      manage<KivGenericEvent<float>>(std::make_shared<KivGenericNumericEventAggregator<float>>()),
      manage<KivGenericEvent<std::string>>(
          std::make_shared<KivGenericStringEventAggregator>(kCount)),
      TelemetrySubmissionModel::NON_BLOCKING);
}

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
