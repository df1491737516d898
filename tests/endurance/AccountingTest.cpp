// No report is lost or counted twice, with many threads, keys and windows.
#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <map>
#include <thread>

#include "tests/endurance/SilentLog.h"
#include "tests/support/FromEnvironment.h"
#include "tests/telemetry/LoggerRig.h"

namespace android::kiv {
namespace {

constexpr size_t kThreads = 8;
constexpr size_t kKeys = 1000;
constexpr size_t kFlushesPerThread = 20;

using Counts = std::array<int64_t, kKeys>;

class AccountingTest : public LoggerRig {
 protected:
  static std::string nameOf(size_t key) { return "key " + std::to_string(key); }

  static Model modelOf(size_t i) { return i % 2 == 0 ? Model::NON_BLOCKING : Model::BLOCKING; }

  AccountingTest() {
    // The session is the only field of a latency's key that its event has.
    for (size_t key = 0; key < kKeys; ++key) {
      latency_loggers.push_back(makeLogger(modelOf(key), "latency", nameOf(key)));
    }
  }

  /// Makes one report. The key's number selects its kind.
  void report(TelemetryLogger& logger, size_t key) {
    constexpr KivPcmInfoExt kPcm{48000.0F, 960, 2, true, AUDIO_FORMAT_PCM_16_BIT};
    constexpr auto kType = ::kiv::KivStreamType::KIV_STREAM_TYPE_OBJECT;
    const std::string& name = names[key];
    switch (key % 6) {
      case 0:
        return logger.logErrorCode(name, "api", KivErrorSeverity::INFO, "class");
      case 1:
        return logger.logStreamEvent(kPcm, kType, name);
      case 2:
        return latency_loggers[key]->logAudioLatency(kPcm, kType, std::chrono::milliseconds(1));
      case 3:
        return logger.logKivEvent(name, 1, NumericAggregationType::SUM);
      case 4:
        return logger.logKivEvent(name, 1.0F, NumericAggregationType::SUM);
      default:
        return logger.logKivEvent(name, name, NumericAggregationType::COUNT);
    }
  }

  /// Makes `reports` reports over all keys. Returns their number by key.
  Counts reportMany(size_t thread_number, size_t reports) {
    const auto logger = makeLogger(modelOf(thread_number));
    Counts counts{};
    for (size_t i = 1; i <= reports; ++i) {
      // Every thread visits all keys, each from a different start.
      const size_t key = (i * 7 + thread_number * 131) % kKeys;
      report(*logger, key);
      ++counts[key];
      if (i % (reports / kFlushesPerThread) == 0) {
        EXPECT_TRUE(logger->flush());
      }
    }
    return counts;
  }

  /// The key of an event, as text.
  static std::string keyOf(const ::kiv_test::Event& event) {
    for (const char* const field : {"kiv_error_code", "kiv_event", "kiv_event_name"}) {
      const auto found = event.strings.find(field);
      if (found != event.strings.end()) return found->second;
    }
    return event.strings.at("kiv_session_id");
  }

  std::vector<std::string> names = [] {
    std::vector<std::string> all;
    for (size_t key = 0; key < kKeys; ++key) all.push_back(nameOf(key));
    return all;
  }();
  std::vector<std::shared_ptr<TelemetryLogger>> latency_loggers;
};

TEST_F(AccountingTest, CountsEqualTheReportsOfEachKey) {
  const ::kiv_test::SilentLog silence;
  const size_t reports = ::kiv_test::fromEnvironment("KIV_ACCOUNTING_REPORTS", 4000);
  std::array<Counts, kThreads> reported{};
  std::vector<std::thread> threads;
  for (size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] { reported[i] = reportMany(i, reports); });
  }
  for (auto& reporting : threads) reporting.join();
  ASSERT_TRUE(latency_loggers.front()->flush());

  std::map<std::string, int64_t> submitted;
  size_t windows_shared = 0;
  for (const auto& event : events()) {
    const int64_t count = event.ints.at("aggregated_count");
    submitted[keyOf(event)] += count;
    windows_shared += count > 1 ? 1 : 0;
    const auto sum = event.ints.find("value_int");
    if (sum != event.ints.end() && event.strings.at("aggregation_method") == "SUM" &&
        event.floats.at("value_float") == 0.0F) {
      ASSERT_EQ(sum->second, count);
    }
  }
  EXPECT_GT(windows_shared, 0u);
  int64_t total = 0;
  for (size_t key = 0; key < kKeys; ++key) {
    int64_t expected = 0;
    for (const Counts& counts : reported) expected += counts[key];
    ASSERT_EQ(submitted[nameOf(key)], expected) << nameOf(key);
    total += expected;
  }
  EXPECT_EQ(total, static_cast<int64_t>(kThreads * reports));
  EXPECT_EQ(submitted.size(), kKeys);
  RecordProperty("reports", std::to_string(total));
  RecordProperty("events", std::to_string(events().size()));
}

}  // namespace
}  // namespace android::kiv
