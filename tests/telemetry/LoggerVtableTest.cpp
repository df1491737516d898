// The positions of the logger's bases and virtual operations. Clients on the device use loggers,
// and the two interfaces of loggers, by position.
#include <gmock/gmock.h>

#include "tests/support/FakeClock.h"
#include "tests/support/LogCapture.h"
#include "tests/support/VtableEntry.h"
#include "tests/telemetry/LoggerRig.h"

namespace android::kiv {
namespace {

using ::kiv_test::callEntry;
using ::kiv_test::FakeClock;
using ::kiv_test::LogCapture;
using ::kiv_test::session;
using ::kiv_test::Watched;
using testing::ElementsAre;

using Text = const std::string&;
using Token = std::shared_ptr<void>;
using WatchedLogger = Watched<TelemetryLogger>;

WatchedLogger* makeWatchedLogger() {
  return new WatchedLogger(session("s"), "logger", TelemetrySubmissionModel::LOCKING_IMMEDIATE);
}

class LoggerVtableTest : public LoggerRig {
 protected:
  LoggerVtableTest() {
    default_logger->flush();
    recorder.reset();
  }

  /// The offset of a base in the logger.
  template <typename Base>
  ptrdiff_t offsetOf() const {
    const Base* const base = logger.get();
    return reinterpret_cast<const std::byte*>(base) -
           reinterpret_cast<const std::byte*>(logger.get());
  }

  /// Begins a trace through the entry at `position` of an object's virtual table.
  void expectTraceStart(void* object, int position) {
    const Token token = callEntry<Token(Text, Text)>(object, position, "Renderer", "open");
    const auto& info = *static_cast<const KivTraceInfo*>(token.get());
    EXPECT_EQ(info.kiv_class, "Renderer");
    EXPECT_EQ(info.name, "open");
  }

  /// Ends a trace of 5,000,000,000 microseconds in the same way.
  void expectTraceStop(void* object, int position) {
    Token token = logger->startTrace("Renderer", "open");
    const std::weak_ptr<void> trace = token;
    clock.advance(std::chrono::seconds(5000));
    callEntry<void(Token)>(object, position, std::move(token));
    EXPECT_TRUE(trace.expired());
    default_logger->flush();
    EXPECT_THAT(strings("kiv_event_name"), ElementsAre("api_latency_us.open"));
    EXPECT_THAT(ints("value_int"), ElementsAre(5'000'000'000));
  }

  FakeClock clock;
  LogCapture log;
  std::shared_ptr<TelemetryLogger> default_logger =
      TelemetryLoggerManager::getInstance().getTelemetryLoggerInstance();
  std::shared_ptr<TelemetryLogger> logger = makeLogger(Model::BLOCKING);
  TraceHandler* traces = logger.get();
};

TEST_F(LoggerVtableTest, BasesAreInOrder) {
  EXPECT_EQ(offsetOf<TelemetryHandler>(), 0);
  EXPECT_EQ(offsetOf<TraceHandler>(), sizeof(void*));
  EXPECT_EQ(offsetOf<std::enable_shared_from_this<TelemetryLogger>>(), 2 * sizeof(void*));
}

TEST_F(LoggerVtableTest, TheFirstEntryDestroys) {
  callEntry<void()>(makeWatchedLogger(), 1);
  EXPECT_EQ(WatchedLogger::destroyed, 1);
  EXPECT_EQ(WatchedLogger::freed, 0);
}

TEST_F(LoggerVtableTest, TheSecondEntryDestroysAndFrees) {
  callEntry<void()>(makeWatchedLogger(), 2);
  EXPECT_EQ(WatchedLogger::destroyed, 1);
  EXPECT_EQ(WatchedLogger::freed, 1);
}

TEST_F(LoggerVtableTest, TheThirdEntryReportsAnErrorOfTheCatalogue) {
  callEntry<void(KivError, Text, KivErrorSeverity, Text)>(logger.get(), 3, KivError::MMAP_FAILED,
                                                          "api", KivErrorSeverity::FATAL, "class");
  logger->flush();
  EXPECT_THAT(strings("kiv_error_code"), ElementsAre("kiv.MMAP_FAILED"));
  EXPECT_THAT(strings("kiv_api"), ElementsAre("api"));
  EXPECT_THAT(ints("severity"), ElementsAre(3));
  EXPECT_THAT(strings("kiv_class"), ElementsAre("class"));
}

TEST_F(LoggerVtableTest, TheFourthEntryReportsAnErrorOfTheCatalogueAndANumber) {
  callEntry<void(KivError, int, Text, KivErrorSeverity, Text)>(
      logger.get(), 4, KivError::MMAP_FAILED, -12, "api", KivErrorSeverity::FATAL, "class");
  logger->flush();
  EXPECT_THAT(strings("kiv_error_code"), ElementsAre("kiv.MMAP_FAILED=-12"));
  EXPECT_THAT(strings("kiv_api"), ElementsAre("api"));
  EXPECT_THAT(ints("severity"), ElementsAre(3));
  EXPECT_THAT(strings("kiv_class"), ElementsAre("class"));
}

TEST_F(LoggerVtableTest, TheFifthEntryReportsAnErrorGivenAsText) {
  callEntry<void(Text, Text, KivErrorSeverity, Text)>(logger.get(), 5, "code", "api",
                                                      KivErrorSeverity::FATAL, "class");
  logger->flush();
  EXPECT_THAT(strings("kiv_error_code"), ElementsAre("code"));
  EXPECT_THAT(strings("kiv_api"), ElementsAre("api"));
  EXPECT_THAT(ints("severity"), ElementsAre(3));
  EXPECT_THAT(strings("kiv_class"), ElementsAre("class"));
}

TEST_F(LoggerVtableTest, TheSixthEntryFlushes) {
  logger->logErrorCode("code", "api", KivErrorSeverity::FATAL, "class");
  EXPECT_TRUE(callEntry<bool()>(logger.get(), 6));
  EXPECT_THAT(strings("kiv_error_code"), ElementsAre("code"));
}

TEST_F(LoggerVtableTest, TheSixthEntryReturnsFalseIfNothingWasRunning) {
  logger->stop();
  EXPECT_FALSE(callEntry<bool()>(logger.get(), 6));
}

TEST_F(LoggerVtableTest, TheSeventhEntryBeginsATrace) { expectTraceStart(logger.get(), 7); }

TEST_F(LoggerVtableTest, TheEighthEntryEndsATrace) { expectTraceStop(logger.get(), 8); }

TEST_F(LoggerVtableTest, TheFirstEntryOfTheTraceHandlerDestroysTheLogger) {
  callEntry<void()>(static_cast<TraceHandler*>(makeWatchedLogger()), 1);
  EXPECT_EQ(WatchedLogger::destroyed, 1);
  EXPECT_EQ(WatchedLogger::freed, 0);
}

TEST_F(LoggerVtableTest, TheSecondEntryOfTheTraceHandlerFreesTheLoggerToo) {
  callEntry<void()>(static_cast<TraceHandler*>(makeWatchedLogger()), 2);
  EXPECT_EQ(WatchedLogger::destroyed, 1);
  EXPECT_EQ(WatchedLogger::freed, 1);
}

TEST_F(LoggerVtableTest, TheThirdEntryOfTheTraceHandlerBeginsATrace) {
  expectTraceStart(traces, 3);
}

TEST_F(LoggerVtableTest, TheFourthEntryOfTheTraceHandlerEndsATrace) { expectTraceStop(traces, 4); }

using WatchedManager = Watched<TelemetryLoggerManager>;

TEST(LoggerManagerVtable, TheFirstEntryDestroys) {
  callEntry<void()>(new WatchedManager, 1);
  EXPECT_EQ(WatchedManager::destroyed, 1);
  EXPECT_EQ(WatchedManager::freed, 0);
}

TEST(LoggerManagerVtable, TheSecondEntryDestroysAndFrees) {
  callEntry<void()>(new WatchedManager, 2);
  EXPECT_EQ(WatchedManager::destroyed, 1);
  EXPECT_EQ(WatchedManager::freed, 1);
}

}  // namespace
}  // namespace android::kiv
