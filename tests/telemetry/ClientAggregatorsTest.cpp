// Loggers on managers of aggregators that a client wrote, which receive whole records.
#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/LogCapture.h"
#include "tests/telemetry/LoggerRig.h"

namespace android::kiv {
namespace {

using ::kiv::KivStreamType;
using ::kiv_test::kNoTag;
using ::kiv_test::LogCapture;
using ::kiv_test::LogLine;
using std::chrono::milliseconds;
using std::chrono::system_clock;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Type = NumericAggregationType;

constexpr KivPcmInfoExt kPcm{44100.9F, 960, 2, true, AUDIO_FORMAT_PCM_16_BIT};
constexpr KivStreamType kObject = KivStreamType::KIV_STREAM_TYPE_OBJECT;

/// Shared, because managers outlive the test and submit in their destructors.
using Calls = std::shared_ptr<std::vector<std::string>>;

template <typename Event>
class ClientAggregator : public KivAggregator<Event> {
 public:
  ClientAggregator(std::string kind, Calls calls)
      : kind_(std::move(kind)), calls_(std::move(calls)) {}

  void add(const Event& event) override { taken.push_back(event); }
  void flush(system_clock::time_point /*start*/, system_clock::time_point /*end*/) override {
    calls_->push_back("flush " + kind_);
  }
  void reset() override { calls_->push_back("reset " + kind_); }

  std::vector<Event> taken;

 private:
  const std::string kind_;
  const Calls calls_;
};

template <typename Event>
using Client = std::shared_ptr<ClientAggregator<Event>>;

class ClientAggregatorsTest : public LoggerRig {
 protected:
  ClientAggregatorsTest() {
    put(error_codes, client_errors);
    put(stream_events, client_streams);
    put(latencies, client_latencies);
    put(integers, client_integers);
    put(floats, client_floats);
    put(texts, client_texts);
  }

  template <typename Event>
  Client<Event> make(const std::string& kind) {
    return std::make_shared<ClientAggregator<Event>>(kind, calls);
  }

  template <typename Event>
  static void put(TelemetryLogger::Manager<Event>& manager, const Client<Event>& aggregator) {
    manager = std::make_shared<TimedAggregationManager<Event>>(aggregator, std::chrono::hours(1));
  }

  const Calls calls = std::make_shared<std::vector<std::string>>();
  Client<KivErrorCodeEvent> client_errors = make<KivErrorCodeEvent>("errors");
  Client<KivStreamEvent> client_streams = make<KivStreamEvent>("streams");
  Client<KivAudioLatencyEvent> client_latencies = make<KivAudioLatencyEvent>("latencies");
  Client<KivGenericEvent<long long>> client_integers = make<KivGenericEvent<long long>>("integers");
  Client<KivGenericEvent<float>> client_floats = make<KivGenericEvent<float>>("floats");
  Client<KivGenericEvent<std::string>> client_texts = make<KivGenericEvent<std::string>>("texts");
};

TEST_F(ClientAggregatorsTest, ConstructionStartsTheKindsInTheirOrder) {
  makeLogger(Model::BLOCKING);
  EXPECT_THAT(*calls, ElementsAre("reset errors", "reset streams", "reset latencies",
                                  "reset integers", "reset floats", "reset texts"));
}

TEST_F(ClientAggregatorsTest, StartStartsTheKindsInTheirOrder) {
  const auto logger = makeLogger(Model::BLOCKING);
  logger->stop();
  calls->clear();
  EXPECT_TRUE(logger->start());
  EXPECT_THAT(*calls, ElementsAre("reset errors", "reset streams", "reset latencies",
                                  "reset integers", "reset floats", "reset texts"));
}

TEST_F(ClientAggregatorsTest, AnErrorArrivesWithAllFields) {
  const LogCapture quiet;
  makeLogger(Model::BLOCKING)->logErrorCode("code", "api", KivErrorSeverity::FATAL, "class");
  ASSERT_THAT(client_errors->taken, SizeIs(1));
  const KivErrorCodeEvent& event = client_errors->taken[0];
  EXPECT_EQ(event.session_id.toString(), "s");
  EXPECT_EQ(event.api, "api");
  EXPECT_EQ(event.kiv_class, "class");
  EXPECT_EQ(event.error_code, "code");
  EXPECT_EQ(event.severity, KivErrorSeverity::FATAL);
}

TEST_F(ClientAggregatorsTest, AnErrorWithoutAClassHasTheLoggersName) {
  const LogCapture quiet;
  makeLogger(Model::BLOCKING, "Mixer")->logErrorCode("code", "api", KivErrorSeverity::INFO, "");
  ASSERT_THAT(client_errors->taken, SizeIs(1));
  EXPECT_EQ(client_errors->taken[0].kiv_class, "Mixer");
}

/// Checks the fields that stream events and latencies share.
template <typename Event>
void expectStream(const Event& event) {
  EXPECT_EQ(event.session.toString(), "s");
  EXPECT_EQ(event.format, AUDIO_FORMAT_PCM_16_BIT);
  EXPECT_EQ(event.streamType, kObject);
  EXPECT_EQ(event.sampleRate, 44100u);
  EXPECT_EQ(event.samples, 960u);
  EXPECT_EQ(event.channels, 2u);
  EXPECT_TRUE(event.interleaved);
}

TEST_F(ClientAggregatorsTest, AStreamEventArrivesWithAllFields) {
  makeLogger(Model::BLOCKING)->logStreamEvent(kPcm, kObject, "start");
  ASSERT_THAT(client_streams->taken, SizeIs(1));
  expectStream(client_streams->taken[0]);
  EXPECT_EQ(client_streams->taken[0].event, "start");
}

TEST_F(ClientAggregatorsTest, ALatencyArrivesWithAllFields) {
  makeLogger(Model::BLOCKING)->logAudioLatency(kPcm, kObject, milliseconds(-5'000'000'000));
  ASSERT_THAT(client_latencies->taken, SizeIs(1));
  expectStream(client_latencies->taken[0]);
  EXPECT_EQ(client_latencies->taken[0].latency, milliseconds(-5'000'000'000));
}

/// Checks the fields that named values of all types share.
template <typename Event>
void expectNamed(const Event& event, Type type) {
  EXPECT_EQ(event.session.toString(), "s");
  EXPECT_EQ(event.name, "n");
  EXPECT_EQ(event.aggregationType, type);
}

TEST_F(ClientAggregatorsTest, AnIntegerArrivesWithAllFields) {
  makeLogger(Model::BLOCKING)->logKivEvent("n", 9007199254740993LL, Type::MAX);
  ASSERT_THAT(client_integers->taken, SizeIs(1));
  expectNamed(client_integers->taken[0], Type::MAX);
  EXPECT_EQ(client_integers->taken[0].value, 9007199254740993LL);
}

TEST_F(ClientAggregatorsTest, AFloatArrivesWithAllFields) {
  makeLogger(Model::BLOCKING)->logKivEvent("n", 0.1F, Type::MIN);
  ASSERT_THAT(client_floats->taken, SizeIs(1));
  expectNamed(client_floats->taken[0], Type::MIN);
  EXPECT_EQ(client_floats->taken[0].value, 0.1F);
}

TEST_F(ClientAggregatorsTest, ATextArrivesWithAllFields) {
  makeLogger(Model::BLOCKING)->logKivEvent("n", std::string("value"), Type::SUM);
  ASSERT_THAT(client_texts->taken, SizeIs(1));
  expectNamed(client_texts->taken[0], Type::SUM);
  EXPECT_EQ(client_texts->taken[0].value, "value");
}

TEST_F(ClientAggregatorsTest, AClientCallIsACountedText) {
  makeLogger(Model::BLOCKING)->logKivClientCall("open", "ok");
  ASSERT_THAT(client_texts->taken, SizeIs(1));
  EXPECT_EQ(client_texts->taken[0].name, "client_api_call.open");
  EXPECT_EQ(client_texts->taken[0].aggregationType, Type::COUNT);
  EXPECT_EQ(client_texts->taken[0].value, "ok");
}

TEST_F(ClientAggregatorsTest, AReportWhileStoppedIsLoggedOnceAndDropped) {
  const auto logger = makeLogger(Model::BLOCKING);
  logger->stop();
  const LogCapture log;
  logger->logStreamEvent(kPcm, kObject, "start");
  EXPECT_THAT(log.lines(),
              ElementsAre(LogLine{ANDROID_LOG_ERROR, kNoTag,
                                  "add: TimedAggregationManager not running! Cannot add."}));
  EXPECT_THAT(client_streams->taken, IsEmpty());
}

}  // namespace
}  // namespace android::kiv
