// Memory does not grow with the number of windows and keys.
#include <gmock/gmock.h>
#include <malloc.h>
#include <unistd.h>

#include <fstream>

#include "tests/endurance/SilentLog.h"
#include "tests/support/FakeClock.h"
#include "tests/support/FromEnvironment.h"
#include "tests/telemetry/LoggerRig.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KIV_SANITIZED 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KIV_SANITIZED 1
#endif

namespace android::kiv {
namespace {

constexpr size_t kMebibyte = 1024 * 1024;

/// Resident memory of the process, in bytes.
size_t residentSize() {
  std::ifstream statm("/proc/self/statm");
  size_t total = 0;
  size_t resident = 0;
  statm >> total >> resident;
  return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

/// Bytes that are allocated from the heap.
size_t allocatedSize() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

class MemoryTest : public LoggerRig {
 protected:
  void SetUp() override {
#ifdef KIV_SANITIZED
    GTEST_SKIP() << "the sanitizer's allocator does not release freed memory";
#endif
    recorder.keepNothing();
    // Memory that earlier tests left in the allocator would hide the growth in this one.
    malloc_trim(0);
  }

  /// Reports `count` new keys, of all kinds.
  void reportFreshKeys(size_t count) {
    KivPcmInfoExt pcm{48000.0F, 960, 2, true, AUDIO_FORMAT_PCM_16_BIT};
    constexpr auto kType = ::kiv::KivStreamType::KIV_STREAM_TYPE_OBJECT;
    for (size_t i = 0; i < count; ++i, ++keys) {
      // Too long for the small-string optimization.
      const std::string name = "a key that was never there before: " + std::to_string(keys);
      pcm.samples = static_cast<uint32_t>(keys);
      switch (keys % 6) {
        case 0:
          logger->logErrorCode(name, "api", KivErrorSeverity::INFO, "class");
          break;
        case 1:
          logger->logStreamEvent(pcm, kType, name);
          break;
        case 2:
          logger->logAudioLatency(pcm, kType, std::chrono::milliseconds(1));
          break;
        case 3:
          logger->logKivEvent(name, 1, NumericAggregationType::SUM);
          break;
        case 4:
          logger->logKivEvent(name, 1.0F, NumericAggregationType::SUM);
          break;
        default:
          logger->logKivEvent(name, name, NumericAggregationType::COUNT);
      }
    }
  }

  // The clock stands still, so that windows end only when they are flushed.
  const ::kiv_test::FakeClock clock;
  size_t keys = 0;
  const ::kiv_test::SilentLog silence;
  const std::shared_ptr<TelemetryLogger> logger = makeLogger(Model::NON_BLOCKING);
};

TEST_F(MemoryTest, WindowsOfNewKeysDoNotGrowMemory) {
  constexpr size_t kKeysPerWindow = 1000;
  constexpr size_t kSettled = 100;
  const size_t windows = ::kiv_test::fromEnvironment("KIV_MEMORY_WINDOWS", 150);
  size_t settled = 0;
  for (size_t window = 1; window <= windows; ++window) {
    reportFreshKeys(kKeysPerWindow);
    ASSERT_TRUE(logger->flush());
    if (window == kSettled) settled = residentSize();
  }
  const size_t end = residentSize();
  EXPECT_EQ(recorder.reports(), static_cast<int>(windows * kKeysPerWindow));
  EXPECT_LE(end, settled + kMebibyte);
  RecordProperty("resident_after_100_windows", std::to_string(settled));
  RecordProperty("resident_at_the_end", std::to_string(end));
}

TEST_F(MemoryTest, AWindowOfManyKeysIsSubmittedAndItsMemoryReleased) {
  const size_t count = ::kiv_test::fromEnvironment("KIV_MEMORY_KEYS", 50000);
  reportFreshKeys(600);
  ASSERT_TRUE(logger->flush());
  const int before_reports = recorder.reports();
  malloc_trim(0);
  const size_t before = allocatedSize();
  const size_t resident_before = residentSize();

  // In portions, so that the queue stays short and the table is what is measured.
  for (size_t left = count; left > 0;) {
    const size_t portion = std::min<size_t>(left, 10000);
    reportFreshKeys(portion);
    left -= portion;
    settle();
  }
  const size_t full = allocatedSize();
  ASSERT_TRUE(logger->flush());
  const size_t after = allocatedSize();
  const size_t resident_after = residentSize();
  // The allocator releases freed memory to the system only on request.
  malloc_trim(0);
  const size_t resident_after_trim = residentSize();

  EXPECT_EQ(recorder.reports() - before_reports, static_cast<int>(count));
  EXPECT_GT(full, before + count * 50);
  // Every thread caches a few freed blocks of each size.
  EXPECT_LE(after, before + kMebibyte);
  // Blocks that are still in use keep pages of the heap resident. On a busy machine the queue gets
  // longer, and leaves more of them.
  EXPECT_LE(resident_after_trim, resident_before + 4 * kMebibyte + (full - before) / 8);
  RecordProperty("allocated_before", std::to_string(before));
  RecordProperty("allocated_when_full", std::to_string(full));
  RecordProperty("allocated_after", std::to_string(after));
  RecordProperty("resident_before", std::to_string(resident_before));
  RecordProperty("resident_after", std::to_string(resident_after));
  RecordProperty("resident_after_trim", std::to_string(resident_after_trim));
}

}  // namespace
}  // namespace android::kiv
