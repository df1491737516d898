#include "LibraryLogger.h"

namespace kiv_bench {

using android::kiv::kAggregationPeriod;
using android::kiv::KivAudioLatencyAggregator;
using android::kiv::KivAudioLatencyEvent;
using android::kiv::KivErrorCodeAggregator;
using android::kiv::KivErrorCodeEvent;
using android::kiv::KivGenericEvent;
using android::kiv::KivGenericNumericEventAggregator;
using android::kiv::KivGenericStringEventAggregator;
using android::kiv::KivStreamEvent;
using android::kiv::KivStreamEventAggregator;
using android::kiv::NumericAggregationType;
using android::kiv::TaskRunnerThread;
using android::kiv::TelemetryLogger;
using android::kiv::TelemetrySubmissionModel;
using android::kiv::TimedAggregationManager;

namespace {

template <typename Event, typename Aggregator, typename... Args>
auto makeManager(Args... args) {
  return std::make_shared<TimedAggregationManager<Event>>(std::make_shared<Aggregator>(args...),
                                                          kAggregationPeriod);
}

std::shared_ptr<TelemetryLogger> makeLogger(const std::shared_ptr<TaskRunnerThread>& thread,
                                            TelemetrySubmissionModel model) {
  constexpr auto kCount = NumericAggregationType::COUNT;
  return std::make_shared<TelemetryLogger>(
      makeSession(), "SpatialAudioSink", thread,
      makeManager<KivErrorCodeEvent, KivErrorCodeAggregator>(kCount),
      makeManager<KivStreamEvent, KivStreamEventAggregator>(kCount),
      makeManager<KivAudioLatencyEvent, KivAudioLatencyAggregator>(NumericAggregationType::AVG),
      makeManager<KivGenericEvent<long long>, KivGenericNumericEventAggregator<long long>>(),
      makeManager<KivGenericEvent<float>, KivGenericNumericEventAggregator<float>>(),
      makeManager<KivGenericEvent<std::string>, KivGenericStringEventAggregator>(kCount), model);
}

}  // namespace

LibraryLogger::LibraryLogger(TelemetrySubmissionModel model)
    : thread(TaskRunnerThread::create(std::chrono::hours(1))),
      runner(thread),
      logger(makeLogger(thread, model)) {}

}  // namespace kiv_bench
