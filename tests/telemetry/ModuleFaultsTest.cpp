// A telemetry module that refuses events, is not ready, is slow, or uses the library in a report.
#include <gmock/gmock.h>

#include <atomic>
#include <set>
#include <thread>

#include "tests/support/Latch.h"
#include "tests/support/LogCapture.h"
#include "tests/support/WorkerHold.h"
#include "tests/telemetry/LoggerRig.h"

namespace android::kiv {
namespace {

using ::kiv_test::Event;
using ::kiv_test::kNoTag;
using ::kiv_test::Latch;
using ::kiv_test::LogCapture;
using ::kiv_test::LogLine;
using std::chrono::milliseconds;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Type = NumericAggregationType;

constexpr KivPcmInfoExt kPcm{48000.0F, 960, 2, true, AUDIO_FORMAT_PCM_16_BIT};
constexpr auto kObject = ::kiv::KivStreamType::KIV_STREAM_TYPE_OBJECT;

std::string nameOf(int i) { return std::string(1, static_cast<char>('a' + i)); }

void reportEveryKind(TelemetryLogger& logger) {
  logger.logErrorCode("code", "api", KivErrorSeverity::INFO, "class");
  logger.logStreamEvent(kPcm, kObject, "start");
  logger.logAudioLatency(kPcm, kObject, milliseconds(1));
  logger.logKivEvent("integer", 1, Type::SUM);
  logger.logKivEvent("float", 1.0F, Type::SUM);
  logger.logKivEvent("text", std::string("value"), Type::COUNT);
}

constexpr size_t kKinds = 6;

/// Every fault in every submission model.
class ModuleFaultsTest : public LoggerRig,
                         public testing::WithParamInterface<TelemetrySubmissionModel> {
 protected:
  int64_t counted(const std::string& name) const {
    int64_t total = 0;
    for (const Event& event : events()) {
      const auto found = event.strings.find("kiv_event_name");
      if (found != event.strings.end() && found->second == name) {
        total += event.ints.at("aggregated_count");
      }
    }
    return total;
  }

  std::shared_ptr<TelemetryLogger> logger = makeLogger(GetParam());
  LogCapture log;
};

std::string modelName(const testing::TestParamInfo<TelemetrySubmissionModel>& model) {
  switch (model.param) {
    case TelemetrySubmissionModel::NON_BLOCKING:
      return "NonBlocking";
    case TelemetrySubmissionModel::BLOCKING:
      return "Blocking";
    default:
      return "Immediate";
  }
}

INSTANTIATE_TEST_SUITE_P(Model, ModuleFaultsTest,
                         testing::Values(TelemetrySubmissionModel::NON_BLOCKING,
                                         TelemetrySubmissionModel::BLOCKING,
                                         TelemetrySubmissionModel::LOCKING_IMMEDIATE),
                         modelName);

TEST_P(ModuleFaultsTest, EveryThirdReportRefusedIsLoggedAndTheOthersArrive) {
  for (int n = 3; n <= 24; n += 3) recorder.refuseReport(n);
  for (int i = 0; i < 24; ++i) logger->logKivEvent(nameOf(i), 1, Type::SUM);
  EXPECT_TRUE(logger->flush());
  ASSERT_THAT(events(), SizeIs(24));
  for (size_t i = 0; i < 24; ++i) {
    EXPECT_EQ(events()[i].strings.at("kiv_event_name"), nameOf(static_cast<int>(i)));
    EXPECT_EQ(events()[i].accepted, i % 3 != 2);
  }
  EXPECT_THAT(log.lines(), SizeIs(8));
  EXPECT_THAT(log.lines(), Each(LogLine{ANDROID_LOG_ERROR, kNoTag,
                                        "submitEvents: Failed to report UnifiedTelemetry event: "
                                        "wexo_kiv_generic"}));
}

TEST_P(ModuleFaultsTest, WindowsBeforeTheModuleIsReadyAreLostAndTheNextIsComplete) {
  constexpr int kWindowsLost = 3;
  recorder.withholdHandlers(kWindowsLost);
  for (int window = 0; window <= kWindowsLost; ++window) {
    logger->logKivEvent("first", window, Type::SUM);
    logger->flush();
    EXPECT_THAT(events(), SizeIs(window < kWindowsLost ? 0 : 1));
  }
  logger->logKivEvent("second", 1, Type::SUM);
  EXPECT_TRUE(logger->flush());
  EXPECT_THAT(strings("kiv_event_name"), ElementsAre("first", "second"));
  EXPECT_THAT(ints("value_int"), ElementsAre(kWindowsLost, 1));
  EXPECT_THAT(log.lines(), IsEmpty());
}

TEST_P(ModuleFaultsTest, AModuleThatIsNotReadyAffectsNoLaterWindowOfAnyKind) {
  recorder.withholdHandlers(kKinds);
  reportEveryKind(*logger);
  logger->flush();
  EXPECT_THAT(events(), IsEmpty());
  reportEveryKind(*logger);
  logger->flush();
  EXPECT_THAT(events(), SizeIs(kKinds));
}

TEST_P(ModuleFaultsTest, AReportFromInsideAReportOfItsKeyIsCountedOnce) {
  std::atomic<int> left{3};
  recorder.onReport([&](const Event& /*event*/) {
    if (left-- > 0) logger->logKivEvent("key", 1, Type::SUM);
  });
  for (int i = 0; i < 5; ++i) logger->logKivEvent("key", 1, Type::SUM);
  // Each flush can produce an event of the next window.
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(logger->flush());
  EXPECT_EQ(counted("key"), 5 + 3);
}

TEST_P(ModuleFaultsTest, AReportFromInsideAReportBelongsToTheNextWindow) {
  std::atomic<bool> first{true};
  recorder.onReport([&](const Event& /*event*/) {
    // In the same table, this key would follow the one that is being submitted.
    if (first.exchange(false)) logger->logKivEvent("z", 1, Type::SUM);
  });
  logger->logKivEvent("a", 1, Type::SUM);
  EXPECT_TRUE(logger->flush());
  const bool submits_at_once = GetParam() == Model::LOCKING_IMMEDIATE;
  EXPECT_EQ(counted("z"), submits_at_once ? 1 : 0);
  EXPECT_TRUE(logger->flush());
  EXPECT_EQ(counted("z"), 1);
  EXPECT_EQ(counted("a"), 1);
}

TEST_P(ModuleFaultsTest, ReportsOfEveryKindFromInsideReportsOfEveryKindAreCounted) {
  std::atomic<int> left{static_cast<int>(kKinds)};
  recorder.onReport([&](const Event& /*event*/) {
    if (left-- > 0) reportEveryKind(*logger);
  });
  reportEveryKind(*logger);
  logger->flush();
  logger->flush();
  int64_t total = 0;
  for (const int64_t count : ints("aggregated_count")) total += count;
  EXPECT_EQ(total, static_cast<int64_t>(kKinds + kKinds * kKinds));
}

TEST_P(ModuleFaultsTest, AFlushFromInsideAReportSubmitsNothingTwice) {
  std::atomic<bool> first{true};
  recorder.onReport([&](const Event& /*event*/) {
    if (first.exchange(false)) logger->flush();
  });
  for (int i = 0; i < 5; ++i) logger->logKivEvent(nameOf(i), 1, Type::SUM);
  logger->flush();
  for (int i = 0; i < 5; ++i) EXPECT_EQ(counted(nameOf(i)), 1);
}

TEST_P(ModuleFaultsTest, AStopFromInsideAReportDoesNotInterruptTheSubmission) {
  std::atomic<bool> first{true};
  recorder.onReport([&](const Event& /*event*/) {
    if (first.exchange(false)) logger->stop();
  });
  if (GetParam() == Model::LOCKING_IMMEDIATE) {
    logger->logKivEvent("a", 1, Type::SUM);
    EXPECT_THAT(strings("kiv_event_name"), ElementsAre("a"));
  } else {
    for (int i = 0; i < 5; ++i) logger->logKivEvent(nameOf(i), 1, Type::SUM);
    EXPECT_FALSE(logger->flush());
    EXPECT_THAT(strings("kiv_event_name"), ElementsAre("a", "b", "c", "d", "e"));
  }
  EXPECT_FALSE(logger->flush());
  EXPECT_TRUE(logger->start());
  EXPECT_TRUE(logger->flush());
}

class SlowModuleTest : public LoggerRig {
 protected:
  static constexpr int kCallers = 4;

  ~SlowModuleTest() override { release.countDown(); }

  /// Blocks the module in the next report, and so the worker, until `release`.
  void holdNextReport() {
    recorder.onReport([this](const Event& /*event*/) {
      if (!first.exchange(false)) return;
      busy.countDown();
      release.wait();
    });
  }

  /// Runs `call` on four threads at once, each with its own blocking logger.
  template <typename Call>
  std::vector<std::thread> callers(Call call) {
    std::vector<std::thread> threads;
    for (int i = 0; i < kCallers; ++i) {
      threads.emplace_back([call, own = makeLogger(Model::BLOCKING)] { call(*own); });
    }
    return threads;
  }

  static void join(std::vector<std::thread>& threads) {
    for (auto& caller : threads) caller.join();
  }

  int64_t total() const {
    int64_t sum = 0;
    for (const int64_t count : ints("aggregated_count")) sum += count;
    return sum;
  }

  Latch busy;
  Latch release;
  std::atomic<bool> first{true};
};

TEST_F(SlowModuleTest, BlockingCallersWaitAndLoseNothing) {
  holdNextReport();
  const auto logger = makeLogger(Model::NON_BLOCKING);
  logger->logKivEvent("held", 1, Type::SUM);
  std::thread flushing([&] { EXPECT_TRUE(logger->flush()); });
  busy.wait();
  std::atomic<int> returned{0};
  auto threads = callers([&](TelemetryLogger& own) {
    own.logKivEvent("n", 1, Type::SUM);
    ++returned;
  });
  EXPECT_EQ(returned, 0);
  release.countDown();
  join(threads);
  flushing.join();
  EXPECT_TRUE(logger->flush());
  EXPECT_EQ(total(), 1 + kCallers);
}

TEST_F(SlowModuleTest, CallersThatTimeOutReturnWhileTheModuleIsBusy) {
  thread = TaskRunnerThread::create(milliseconds(1));
  runner = TaskRunner(thread);
  holdNextReport();
  const auto logger = makeLogger(Model::NON_BLOCKING);
  logger->logKivEvent("held", 1, Type::SUM);
  // Posted, because a wait could time out on a busy machine.
  runner.postTask([&] { logger->flush(); });
  busy.wait();
  auto threads = callers([](TelemetryLogger& own) { own.logKivEvent("n", 1, Type::SUM); });
  join(threads);
  Latch drained;
  runner.postTask([&] {
    logger->flush();
    drained.countDown();
  });
  release.countDown();
  drained.wait();
  EXPECT_THAT(strings("kiv_event_name"), ElementsAre("held"));
}

TEST_F(SlowModuleTest, EveryReportIsCounted) {
  recorder.slowDown(milliseconds(1));
  auto threads = callers([](TelemetryLogger& own) {
    for (int i = 0; i < 10; ++i) {
      own.logKivEvent("n", 1, Type::SUM);
      EXPECT_TRUE(own.flush());
    }
  });
  join(threads);
  EXPECT_EQ(total(), kCallers * 10);
}

TEST_F(SlowModuleTest, CallersOfTheProcesssLoggersReturnAndAreCountedAtMostOnce) {
  // Together longer than a caller's time limit, so that some waits time out.
  recorder.slowDown(milliseconds(300));
  std::atomic<int> reports{0};
  auto threads = callers([&](TelemetryLogger& /*own*/) {
    const auto shared =
        std::make_shared<TelemetryLogger>(::kiv_test::session("s"), "n", Model::BLOCKING);
    for (int i = 0; i < 2; ++i) {
      shared->logKivEvent("report " + std::to_string(++reports), 1, Type::SUM);
      shared->flush();
    }
  });
  join(threads);
  recorder.slowDown(milliseconds(0));
  const auto logger = std::make_shared<TelemetryLogger>();
  while (!logger->flush()) {
  }
  EXPECT_EQ(reports, kCallers * 2);
  EXPECT_THAT(ints("aggregated_count"), Each(1));
  const std::vector<std::string> names = strings("kiv_event_name");
  EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());
}

}  // namespace
}  // namespace android::kiv
