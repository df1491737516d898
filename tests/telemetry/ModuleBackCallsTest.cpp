// A telemetry module that uses the library from inside each of its own operations.
#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <set>
#include <string>
#include <tuple>

#include "tests/telemetry/LoggerRig.h"

namespace android::kiv {
namespace {

using ::kiv_test::Event;
using ::kiv_test::session;
using testing::Each;
using testing::ElementsAre;
using testing::SizeIs;
using Type = NumericAggregationType;

/// The path on which reports reach the module.
enum class Path { NON_BLOCKING, BLOCKING, IMMEDIATE, PUBLIC_AGGREGATOR };

/// Reports and submits on one of the paths.
class ModuleBackCallsTest : public LoggerRig,
                            public testing::WithParamInterface<std::tuple<Path, std::string>> {
 protected:
  ModuleBackCallsTest() {
    const Path path = std::get<0>(GetParam());
    if (path == Path::PUBLIC_AGGREGATOR) {
      manager = std::make_shared<TimedAggregationManager<KivGenericEvent<long long>>>(
          std::make_shared<KivGenericNumericEventAggregator<long long>>(), kAggregationPeriod);
      manager->start();
    } else {
      logger = makeLogger(static_cast<Model>(path));
    }
  }

  ~ModuleBackCallsTest() override { recorder.reset(); }

  void report(const std::string& name) {
    ++reported;
    if (logger != nullptr) {
      logger->logKivEvent(name, 7, Type::MAX);
    } else {
      manager->add({{session("s"), name, Type::MAX}, 7});
    }
  }

  bool flush() { return logger != nullptr ? logger->flush() : manager->flush(); }
  bool stop() { return logger != nullptr ? logger->stop() : manager->stop(); }
  void start() {
    if (logger != nullptr) {
      logger->start();
    } else {
      manager->start();
    }
  }

  /// Calls `hook` inside the operation under test.
  void onCall(const std::function<void()>& hook) {
    const std::string operation = std::get<1>(GetParam());
    if (operation == "reportEvent") {
      recorder.onReport([hook](const Event& /*event*/) { hook(); });
    } else {
      recorder.onCall([hook, operation](const std::string& called) {
        if (called == operation) hook();
      });
    }
  }

  void removeHooks() {
    recorder.onCall(nullptr);
    recorder.onReport(nullptr);
  }

  int64_t counted() const {
    int64_t total = 0;
    for (const int64_t count : ints("aggregated_count")) total += count;
    return total;
  }

  /// Checks that every event has each of its fields once, with its own values.
  void expectWholeEvents() const {
    for (const Event& event : events()) {
      EXPECT_THAT(event.set, SizeIs(9));
      EXPECT_THAT(std::set<std::string>(event.set.begin(), event.set.end()), SizeIs(9));
    }
    EXPECT_THAT(ints("value_int"), Each(7));
    EXPECT_THAT(strings("aggregation_method"), Each("MAX"));
  }

  std::atomic<int64_t> reported{0};
  std::shared_ptr<TimedAggregationManager<KivGenericEvent<long long>>> manager;
  std::shared_ptr<TelemetryLogger> logger;
};

std::string nameOf(const testing::TestParamInfo<std::tuple<Path, std::string>>& parameter) {
  static constexpr const char* kPaths[] = {"NonBlocking", "Blocking", "Immediate",
                                           "PublicAggregator"};
  const auto& [path, operation] = parameter.param;
  return kPaths[static_cast<size_t>(path)] + std::string("_") + operation;
}

INSTANTIATE_TEST_SUITE_P(PathAndOperation, ModuleBackCallsTest,
                         testing::Combine(testing::Values(Path::NON_BLOCKING, Path::BLOCKING,
                                                          Path::IMMEDIATE, Path::PUBLIC_AGGREGATOR),
                                          testing::Values("createTelemetryHandler", "createEvent",
                                                          "setInt64Field", "setFloatField",
                                                          "setStringField", "reportEvent")),
                         nameOf);

TEST_P(ModuleBackCallsTest, AReportFromInsideIsCountedOnce) {
  std::atomic<int> left{3};
  onCall([&] {
    if (left-- <= 0) return;
    for (const char* name : {"a", "m", "z"}) report(name);
  });
  for (const char* name : {"l", "m", "n"}) report(name);
  flush();
  removeHooks();
  flush();
  EXPECT_EQ(counted(), reported);
  expectWholeEvents();
}

TEST_P(ModuleBackCallsTest, AFlushFromInsideSubmitsReportsMadeMeanwhile) {
  std::atomic<bool> first{true};
  onCall([&] {
    if (!first.exchange(false)) return;
    report("nested");
    EXPECT_TRUE(flush());
  });
  report("a");
  flush();
  removeHooks();
  flush();
  EXPECT_THAT(strings("kiv_event_name"), ElementsAre("nested", "a"));
  expectWholeEvents();
}

TEST_P(ModuleBackCallsTest, AModuleThatReportsAndFlushesInEveryCallDoesNotRecurseForever) {
  onCall([&] {
    report("nested");
    flush();
  });
  for (const char* name : {"a", "b"}) report(name);
  flush();
  removeHooks();
  EXPECT_TRUE(flush());
  EXPECT_TRUE(flush());
  EXPECT_EQ(counted(), reported);
  EXPECT_GT(reported, 2);
  expectWholeEvents();
}

TEST_P(ModuleBackCallsTest, AStopAndAStartFromInsideDoNotInterruptTheSubmission) {
  std::atomic<bool> first{true};
  onCall([&] {
    if (!first.exchange(false)) return;
    report("nested");
    EXPECT_TRUE(stop());
    start();
  });
  report("a");
  flush();
  report("b");
  EXPECT_TRUE(flush());
  const std::vector<std::string> names = strings("kiv_event_name");
  EXPECT_EQ(std::count(names.begin(), names.end(), "a"), 1);
  EXPECT_EQ(std::count(names.begin(), names.end(), "b"), 1);
  expectWholeEvents();
}

}  // namespace
}  // namespace android::kiv
