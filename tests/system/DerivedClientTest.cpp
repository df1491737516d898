// Clients outside the library: they derive from its classes and fill in what it leaves open.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "modules/recording/Recorder.h"
#include "tests/system/DerivedLoggers.h"
#include "tests/system/NotingLogger.h"

namespace {

using android::kiv::KivError;
using android::kiv::KivErrorSeverity;
using android::kiv::NumericAggregationType;
using android::kiv::TelemetryHandler;
using android::kiv::TelemetryLogger;
using android::kiv::TraceHandler;
using derived_client::Seen;
using testing::ElementsAre;
using testing::SizeIs;

class DerivedClientTest : public testing::Test {
 protected:
  DerivedClientTest() { recorder.reset(); }

  /// Uses a derived logger through every interface that it has.
  void use(std::shared_ptr<TelemetryLogger> logger) {
    TelemetryHandler& handler = *logger;
    TraceHandler& traces = *logger;
    handler.logKivErrorCode(KivError::MMAP_FAILED, "open", KivErrorSeverity::ERROR, "Client");
    EXPECT_NE(traces.startTrace("Client", "open"), nullptr);
    traces.stopTrace(nullptr);
    EXPECT_TRUE(handler.flush());
    ASSERT_THAT(recorder.events(), SizeIs(1));
    EXPECT_EQ(recorder.events()[0].strings.at("kiv_error_code"), "kiv.MMAP_FAILED");
    logger.reset();
    EXPECT_THAT(seen, ElementsAre("kiv.MMAP_FAILED", "trace open", "destroyed"));
  }

  TAMSA::recording::Recorder& recorder = TAMSA::recording::Recorder::getInstance();
  Seen seen;
};

TEST_F(DerivedClientTest, DerivesWithRunTimeTypeInformation) {
  use(std::make_shared<NotingLogger>(seen));
}

TEST_F(DerivedClientTest, DerivesWithoutRunTimeTypeInformation) {
  use(derived_client::makeLoggerWithoutRtti(seen));
}

TEST_F(DerivedClientTest, CanAskForTheTypeOfADerivedLogger) {
  const std::shared_ptr<TelemetryLogger> logger = std::make_shared<NotingLogger>(seen);
  TraceHandler* const traces = logger.get();
  EXPECT_EQ(dynamic_cast<TelemetryLogger*>(traces), logger.get());
  EXPECT_NE(dynamic_cast<NotingLogger*>(logger.get()), nullptr);
}

class LoudErrors : public android::kiv::KivErrorCodeAggregator {
 public:
  using KivErrorCodeAggregator::KivErrorCodeAggregator;

  const char* getEventName() const override { return "loud"; }
};

TEST_F(DerivedClientTest, BuildsALoggerOnManagersAndAggregatorsOfItsOwn) {
  using namespace android::kiv;
  const auto logger = std::make_shared<TelemetryLogger>(
      KivSessionId(nullptr), "Own", TaskRunnerThread::create(std::chrono::milliseconds(1000)),
      std::make_shared<TimedAggregationManager<KivErrorCodeEvent>>(
          std::make_shared<LoudErrors>(NumericAggregationType::COUNT), kAggregationPeriod),
      std::make_shared<TimedAggregationManager<KivStreamEvent>>(
          std::make_shared<KivStreamEventAggregator>(NumericAggregationType::COUNT),
          kAggregationPeriod),
      std::make_shared<TimedAggregationManager<KivAudioLatencyEvent>>(
          std::make_shared<KivAudioLatencyAggregator>(NumericAggregationType::AVG),
          kAggregationPeriod),
      std::make_shared<TimedAggregationManager<KivGenericEvent<long long>>>(
          std::make_shared<KivGenericNumericEventAggregator<long long>>(), kAggregationPeriod),
      std::make_shared<TimedAggregationManager<KivGenericEvent<float>>>(
          std::make_shared<KivGenericNumericEventAggregator<float>>(), kAggregationPeriod),
      std::make_shared<TimedAggregationManager<KivGenericEvent<std::string>>>(
          std::make_shared<KivGenericStringEventAggregator>(NumericAggregationType::COUNT),
          kAggregationPeriod),
      TelemetrySubmissionModel::BLOCKING);
  logger->logErrorCode("code", "api", KivErrorSeverity::INFO, "class");
  logger->flush();
  ASSERT_THAT(recorder.events(), SizeIs(1));
  EXPECT_EQ(recorder.events()[0].name, "loud");
}

TEST_F(DerivedClientTest, ReportsEveryTypeOfValue) {
  const android::kiv::TelemetryEnv telemetry("Client");
  TelemetryLogger& logger = *telemetry.getLogger();
  logger.logKivEvent<int64_t>("n", 1, NumericAggregationType::SUM);
  logger.logKivEvent<long long>("n", 1, NumericAggregationType::SUM);
  logger.logKivEvent<int>("n", 1, NumericAggregationType::SUM);
  logger.logKivEvent<float>("n", 1.0F, NumericAggregationType::SUM);
  logger.logKivEvent<std::string>("n", "1", NumericAggregationType::COUNT);
  logger.flush();
  ASSERT_THAT(recorder.events(), SizeIs(3));
  EXPECT_EQ(recorder.events()[0].ints.at("value_int"), 3);
  EXPECT_EQ(recorder.events()[1].floats.at("value_float"), 1.0F);
  EXPECT_EQ(recorder.events()[2].strings.at("value_string"), "1");
}

TEST(EventNames, CanBeReadByClients) {
  using namespace android::kiv;
  EXPECT_STREQ(KivErrorCodeAggregator::kKivErrorCodeEvent, "wexo_kiv_error_code");
  EXPECT_STREQ(KivStreamEventAggregator::kKivStreamEvent, "wexo_kiv_stream_event");
  EXPECT_STREQ(KivAudioLatencyAggregator::kKivAudioLatencyEvent, "");
  EXPECT_STREQ(KivGenericNumericEventAggregator<long long>::kKivGenericEvent, "wexo_kiv_generic");
  EXPECT_STREQ(KivGenericNumericEventAggregator<float>::kKivGenericEvent, "wexo_kiv_generic");
  EXPECT_STREQ(KivGenericStringEventAggregator::kKivGenericEvent, "wexo_kiv_generic");
}

}  // namespace
