// Failures that a healthy system does not show: this program replaces the functions that fail.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <string>
#include <utility>

#include "tests/modules/JsonlFixture.h"
#include "tests/support/MemoryShortage.h"

namespace {

// Replacements for the next call of each function.
ssize_t (*next_write)(int, const void*, size_t) = nullptr;
int next_flock_error = 0;
bool is_lock_taken = false;
int lock_tries = 0;
int next_close_error = 0;
time_t seconds_ahead = 0;  // added to every clock

ssize_t writeForReal(int file, const void* data, size_t size) {
  return syscall(SYS_write, file, data, size);
}

int fail(int error) {
  errno = error;
  return -1;
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) ssize_t write(int file, const void* data, size_t size) {
  const auto call = std::exchange(next_write, nullptr);
  return call != nullptr ? call(file, data, size) : writeForReal(file, data, size);
}

__attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* time) noexcept {
  const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, time));
  time->tv_sec += seconds_ahead;
  return result;
}

__attribute__((visibility("default"))) int flock(int file, int operation) noexcept {
  ++lock_tries;
  const int error = is_lock_taken ? EWOULDBLOCK : std::exchange(next_flock_error, 0);
  return error != 0 ? fail(error) : static_cast<int>(syscall(SYS_flock, file, operation));
}

__attribute__((visibility("default"))) int close(int file) {
  const int error = std::exchange(next_close_error, 0);
  const auto result = static_cast<int>(syscall(SYS_close, file));
  return error != 0 ? fail(error) : result;
}

}  // extern "C"

namespace kiv_test {
namespace {

class JsonlFaults : public JsonlTest {
 protected:
  JsonlFaults() { shared_path = path_.c_str(); }
  ~JsonlFaults() override {
    next_write = nullptr;
    is_lock_taken = false;
  }

  /// True if the lock of the test's file is free. May be called from within a call of the module.
  static bool isUnlocked() {
    const int file = open(shared_path, O_WRONLY | O_CLOEXEC);
    const bool unlocked = flock(file, LOCK_EX | LOCK_NB) == 0;
    close(file);
    return unlocked;
  }

  static inline const char* shared_path = nullptr;
  static inline bool was_locked = false;
  static inline pid_t forked = -1;
  static inline int until_closed[2];
};

TEST_F(JsonlFaults, AnInterruptedWriteIsRepeated) {
  const auto handler = createHandler();
  next_write = [](int, const void*, size_t) -> ssize_t { return fail(EINTR); };
  EXPECT_TRUE(report(*handler, "e"));
  EXPECT_EQ(contents(), line("e"));
}

TEST_F(JsonlFaults, AShortWriteToAStreamIsFinished) {
  setDestination("-");
  const auto handler = createHandler();
  bool accepted = false;
  std::string output;
  {
    const StandardOutputPipe pipe(O_CLOEXEC);
    next_write = [](int file, const void* data, size_t) { return writeForReal(file, data, 3); };
    accepted = report(*handler, "e");
    output = pipe.read();
  }
  EXPECT_TRUE(accepted);
  EXPECT_EQ(output, line("e"));
}

TEST_F(JsonlFaults, AFileIsLockedWhileItIsWritten) {
  const auto handler = createHandler();
  next_write = [](int file, const void* data, size_t size) {
    was_locked = !isUnlocked();
    return writeForReal(file, data, size);
  };
  EXPECT_TRUE(report(*handler, "e"));
  EXPECT_TRUE(was_locked);
  EXPECT_TRUE(isUnlocked());
}

TEST_F(JsonlFaults, LossesAreLoggedAMinuteLaterWithAnEventThatIsNotLost) {
  const LogCapture log;
  const auto handler = createHandler();
  const auto lose = [&] {
    next_write = [](int, const void*, size_t) -> ssize_t { return fail(ENOSPC); };
    EXPECT_TRUE(report(*handler, "lost"));
  };
  constexpr time_t kMoreThanAMinute = 61;
  seconds_ahead += kMoreThanAMinute;
  lose();
  lose();
  EXPECT_TRUE(report(*handler, "e"));
  const size_t lines = log.lines().size();
  seconds_ahead += kMoreThanAMinute;
  EXPECT_TRUE(report(*handler, "e"));
  ASSERT_EQ(log.lines().size(), lines + 1);
  EXPECT_THAT(log.lines().back().text, testing::StartsWith("lost 1 events (1 reports)"));
}

TEST_F(JsonlFaults, AnInterruptedLockIsRepeated) {
  const auto handler = createHandler();
  next_flock_error = EINTR;
  next_write = [](int file, const void* data, size_t size) {
    was_locked = !isUnlocked();
    return writeForReal(file, data, size);
  };
  EXPECT_TRUE(report(*handler, "e"));
  EXPECT_TRUE(was_locked);
}

TEST_F(JsonlFaults, ALockThatIsNotReleasedIsWaitedForOnce) {
  const auto handler = createHandler();
  is_lock_taken = true;
  lock_tries = 0;
  EXPECT_TRUE(report(*handler, "first"));
  EXPECT_GT(std::exchange(lock_tries, 0), 1);
  EXPECT_TRUE(report(*handler, "second"));
  EXPECT_EQ(lock_tries, 1);
  EXPECT_EQ(contents(), line("first") + line("second"));
}

TEST_F(JsonlFaults, AShortWriteWithoutTheLockLeavesOtherLinesAlone) {
  const auto handler = createHandler();
  is_lock_taken = true;
  next_write = [](int file, const void* data, size_t) {
    const ssize_t taken = writeForReal(file, data, 3);
    // Another writer.
    const int other = open(shared_path, O_WRONLY | O_APPEND | O_CLOEXEC);
    writeForReal(other, "\nother\n", 7);
    close(other);
    return taken;
  };
  EXPECT_THAT(logOfChild([&] { report(*handler, "lost"); }),
              testing::ElementsAre(testing::HasSubstr("lost 1 events")));
  EXPECT_EQ(contents(), line("lost").substr(0, 3) + "\nother\n");
}

TEST_F(JsonlFaults, AShortWriteWithTheLockLeavesLinesOfWritersWithoutItAlone) {
  const auto handler = createHandler();
  next_write = [](int file, const void* data, size_t) {
    const ssize_t taken = writeForReal(file, data, 3);
    next_write = [](int, const void*, size_t) -> ssize_t {
      const int other = open(shared_path, O_WRONLY | O_APPEND | O_CLOEXEC);
      writeForReal(other, "\nother\n", 7);
      close(other);
      return fail(ENOSPC);
    };
    return taken;
  };
  report(*handler, "lost");
  EXPECT_EQ(contents(), line("lost").substr(0, 3) + "\nother\n");
}

TEST_F(JsonlFaults, AFileSystemWithoutLocksGetsLines) {
  const auto handler = createHandler();
  EXPECT_TRUE(report(*handler, "first"));
  next_flock_error = ENOLCK;
  EXPECT_TRUE(report(*handler, "second"));
  EXPECT_EQ(contents(), line("first") + line("second"));
}

TEST_F(JsonlFaults, AChildForkedDuringAWriteDoesNotHoldTheLock) {
  const auto handler = createHandler();
  ASSERT_EQ(pipe2(until_closed, O_CLOEXEC), 0);
  next_write = [](int file, const void* data, size_t size) {
    forked = fork();
    if (forked == 0) {
      close(until_closed[1]);
      char nothing = 0;
      _exit(read(until_closed[0], &nothing, 1) == 0 ? 0 : 1);
    }
    return writeForReal(file, data, size);
  };
  EXPECT_TRUE(report(*handler, "e"));
  EXPECT_TRUE(isUnlocked());
  close(until_closed[0]);
  close(until_closed[1]);
  int status = -1;
  EXPECT_EQ(waitpid(forked, &status, 0), forked);
  EXPECT_EQ(status, 0);
}

TEST_F(JsonlFaults, AFailureThatOnlyTheCloseReportsIsLogged) {
  const auto handler = createHandler();
  EXPECT_THAT(logOfChild([&] {
                next_close_error = EIO;
                report(*handler, "e");
              }),
              testing::ElementsAre(testing::HasSubstr(": Input/output error")));
}

TEST_F(JsonlFaults, AnEventThatLostAFieldIsRefused) {
  const auto handler = createHandler();
  const auto event = createEvent(*handler, "e");
  {
    const MemoryShortage shortage;
    event->setStringField("lost", "");
  }
  EXPECT_FALSE(handler->reportEvent(event.get(), 1));
  EXPECT_TRUE(report(*handler, "other"));
  EXPECT_EQ(contents(), line("other"));
}

TEST_F(JsonlFaults, AReportWithoutMemoryIsRefused) {
  const auto handler = createHandler();
  const auto event = createEvent(*handler, "e");
  EXPECT_FALSE(withoutMemory([&] { return handler->reportEvent(event.get(), 1); }));
  EXPECT_TRUE(handler->reportEvent(event.get(), 1));
  EXPECT_EQ(contents(), line("e"));
}

TEST_F(JsonlFaults, WithoutMemoryThereAreNoHandlersAndNoEvents) {
  const auto handler = createHandler();
  EXPECT_EQ(withoutMemory([&] { return module_.createTelemetryHandler(9); }), nullptr);
  EXPECT_EQ(withoutMemory([&] { return handler->createEvent("e"); }), nullptr);
}

}  // namespace
}  // namespace kiv_test
