// Concurrent writers, failed writes, and streams.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <list>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/modules/JsonlFixture.h"
#include "tests/support/RunProgram.h"

namespace kiv_test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;

constexpr int kWriters = 4;
constexpr int kEvents = 500;

class JsonlSharing : public JsonlTest {
 protected:
  /// Reports the events of one writer and calls `after` with the number of each. True if all were
  /// accepted.
  bool reportAll(
      int writer, const std::function<void(int)>& after = [](int) {}) {
    const auto handler = createHandler();
    bool accepted = true;
    for (int number = 0; number < kEvents; ++number) {
      const auto event = createEvent(*handler, "shared");
      event->setInt64Field("number", number);
      event->setStringField("padding", std::string(static_cast<size_t>(number), 'x').c_str());
      event->setInt64Field("writer", writer);
      accepted = handler->reportEvent(event.get(), 1) && accepted;
      after(number);
    }
    return accepted;
  }

  /// The numbers in each writer's lines, in all of the files.
  static std::map<int, std::multiset<int>> numbersByWriter(const std::vector<fs::path>& paths) {
    std::map<int, std::multiset<int>> numbers;
    for (const fs::path& path : paths) {
      std::ifstream file(path);
      for (std::string text; std::getline(file, text);) {
        const auto event = nlohmann::json::parse(text, nullptr, false);
        if (event.is_discarded()) {
          ADD_FAILURE() << "not JSON: " << text;
          continue;
        }
        numbers[event["writer"].get<int>()].insert(event["number"].get<int>());
      }
    }
    return numbers;
  }

  static std::map<int, std::multiset<int>> allNumbersOfAllWriters() {
    std::multiset<int> all;
    for (int number = 0; number < kEvents; ++number) all.insert(number);
    std::map<int, std::multiset<int>> numbers;
    for (int writer = 0; writer < kWriters; ++writer) numbers[writer] = all;
    return numbers;
  }
};

class JsonlFailure : public JsonlTest {
 protected:
  /// Limits the size of files that this process writes.
  static void limitFileSize(uintmax_t size) {
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = static_cast<rlim_t>(std::min<uintmax_t>(size, limit.rlim_max));
    setrlimit(RLIMIT_FSIZE, &limit);
  }
};

class JsonlStream : public JsonlTest {
 protected:
  void reportToClosedPipe() {
    setDestination("-");
    StandardOutputPipe output(O_CLOEXEC);
    output.closeReadEnd();
    report("e");
  }
};

bool isPending(int signal) {
  sigset_t pending;
  sigpending(&pending);
  return sigismember(&pending, signal) == 1;
}

bool isBlocked(int signal) {
  sigset_t blocked;
  pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
  return sigismember(&blocked, signal) == 1;
}

TEST_F(JsonlSharing, ProcessesKeepEachOthersLinesWhole) {
  std::list<Child> children;
  for (int writer = 0; writer < kWriters; ++writer) {
    children.emplace_back([=] { return reportAll(writer); });
  }
  for (const Child& child : children) EXPECT_TRUE(child.succeeded());
  EXPECT_EQ(numbersByWriter({path_}), allNumbersOfAllWriters());
  EXPECT_EQ(linesThatPythonReads({path_}), kWriters * kEvents);
}

TEST_F(JsonlSharing, RotationByRenamingLosesNoLine) {
  const auto rotated = [this](int i) { return directory_ / ("old " + std::to_string(i)); };
  constexpr int kEventsPerRotation = 50;
  std::list<Child> children;
  for (int writer = 0; writer < kWriters; ++writer) {
    children.emplace_back([=] {
      return reportAll(writer, [=](int number) {
        // This writer has just written, so there is a file.
        if (writer == 0 && number % kEventsPerRotation == 0) fs::rename(path_, rotated(number));
      });
    });
  }
  for (const Child& child : children) EXPECT_TRUE(child.succeeded());
  std::vector<fs::path> files{path_};
  for (int number = 0; number < kEvents; number += kEventsPerRotation) {
    files.push_back(rotated(number));
  }
  EXPECT_EQ(numbersByWriter(files), allNumbersOfAllWriters());
  EXPECT_EQ(linesThatPythonReads(files), kWriters * kEvents);
}

TEST_F(JsonlSharing, ALockThatIsHeldWithoutEndDoesNotStopWriters) {
  EXPECT_TRUE(report("first"));
  const int reader = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_EQ(flock(reader, LOCK_SH), 0);
  EXPECT_TRUE(report("second"));
  EXPECT_TRUE(report("third"));
  EXPECT_EQ(contents(), line("first") + line("second") + line("third"));
  close(reader);
}

TEST_F(JsonlSharing, PartOfALineThatAKilledWriterLeftIsEnded) {
  std::ofstream(path_) << line("first") << "{\"event\":\"kil";
  EXPECT_TRUE(report("next"));
  EXPECT_TRUE(report("last"));
  EXPECT_EQ(contents(), line("first") + "{\"event\":\"kil\n" + line("next") + line("last"));
}

TEST_F(JsonlSharing, ThreadsKeepEachOthersLinesWhole) {
  bool accepted[kWriters] = {};
  std::vector<std::thread> threads;
  threads.reserve(kWriters);
  for (int writer = 0; writer < kWriters; ++writer) {
    threads.emplace_back([this, writer, &accepted] { accepted[writer] = reportAll(writer); });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(accepted, testing::Each(true));
  EXPECT_EQ(numbersByWriter({path_}), allNumbersOfAllWriters());
}

/// The line that is logged about one lost event.
std::string loss(const std::string& path, const std::string& error) {
  return "TamsaJsonl: lost 1 events (1 reports), 1 in all: 1: cannot write to " + path + ": " +
         error;
}

TEST_F(JsonlFailure, OfAFullDeviceIsLogged) {
  EXPECT_THAT(logOfChild([this] {
                setDestination("/dev/full");
                report("e");
              }),
              ElementsAre(loss("/dev/full", "No space left on device")));
}

TEST_F(JsonlFailure, IsLoggedOnceForManyEventsWhichAreAllAccepted) {
  EXPECT_THAT(logOfChild([this] {
                setDestination("/dev/full");
                for (int i = 0; i < 1'000; ++i) ASSERT_TRUE(report("e"));
              }),
              ElementsAre(loss("/dev/full", "No space left on device")));
}

TEST_F(JsonlFailure, IsCountedWithTheReportsThatTheEventCombines) {
  EXPECT_THAT(logOfChild([this] {
                setDestination("/dev/full");
                const auto handler = createHandler();
                const auto event = createEvent(*handler, "e");
                event->setInt64Field("aggregated_count", 12);
                handler->reportEvent(event.get(), 1);
              }),
              ElementsAre(testing::HasSubstr("lost 1 events (12 reports), 1 in all")));
}

TEST_F(JsonlFailure, ThatWasNotLoggedYetIsLoggedWhenTheProcessEnds) {
  setDestination("/dev/full");
  for (const char* when : {"before", "at-end"}) {
    const ProgramResult result = runProgram({JSONL_LATE_REPORTER, when, "3"});
    EXPECT_EQ(result.exit_code, 0) << when;
    EXPECT_THAT(result.err, testing::HasSubstr("lost 1 events (1 reports), 1 in all: "
                                               "1: cannot write to /dev/full: "))
        << when;
    EXPECT_THAT(result.err, testing::HasSubstr("lost 2 events (2 reports), 3 in all: "
                                               "2: cannot write to /dev/full: "))
        << when;
  }
}

TEST_F(JsonlFailure, OfAPathBelowAFileIsLogged) {
  EXPECT_TRUE(report("first"));
  EXPECT_THAT(logOfChild([this] {
                setDestination(path_ / "events.jsonl");
                report("lost");
              }),
              ElementsAre(loss(path_ / "events.jsonl", "Not a directory")));
  EXPECT_EQ(contents(), line("first"));
}

TEST_F(JsonlFailure, OfMissingPermissionsIsLogged) {
  EXPECT_TRUE(report("first"));
  fs::permissions(path_, fs::perms::owner_read);
  fs::permissions(directory_, fs::perms::owner_read | fs::perms::owner_exec);
  const auto reportWithoutPrivileges = [this](const fs::path& path) {
    return logOfChild([&] {
      constexpr uid_t kUnprivileged = 65534;
      setDestination(path);
      const auto handler = createHandler();
      if (geteuid() != 0 || setuid(kUnprivileged) == 0) report(*handler, "lost");
    });
  };
  EXPECT_THAT(reportWithoutPrivileges(path_), ElementsAre(loss(path_, "Permission denied")));
  EXPECT_THAT(reportWithoutPrivileges(directory_ / "new.jsonl"),
              ElementsAre(loss(directory_ / "new.jsonl", "Permission denied")));
  fs::permissions(directory_, fs::perms::owner_all);
  EXPECT_EQ(contents(), line("first"));
}

TEST_F(JsonlFailure, OfOneDestinationLeavesNoEmptyLineInAnother) {
  setDestination("/dev/full");
  report("lost");
  setDestination(path_);
  EXPECT_TRUE(report("next"));
  EXPECT_EQ(contents(), line("next"));
}

TEST_F(JsonlFailure, OfAShortWriteLeavesNothingOfTheLine) {
  EXPECT_THAT(logOfChild([this] {
                std::signal(SIGXFSZ, SIG_IGN);
                report("first");
                limitFileSize(fs::file_size(path_) + 10);
                report("second");
                limitFileSize(RLIM_INFINITY);
                report("third");
              }),
              ElementsAre(loss(path_, "File too large")));
  EXPECT_EQ(contents(), line("first") + line("third"));
}

TEST_F(JsonlFailure, OfAFileAtItsSizeLimitDoesNotEndTheProcess) {
  EXPECT_TRUE(Child([this] {
                std::signal(SIGXFSZ, SIG_DFL);
                // The log is a file at its limit, too.
                const int log = open((directory_ / "log").c_str(), O_WRONLY | O_CREAT, 0600);
                dup2(log, STDERR_FILENO);
                report("first");
                limitFileSize(fs::file_size(path_));
                report("second");
                return !isPending(SIGXFSZ) && !isBlocked(SIGXFSZ);
              }).succeeded());
  EXPECT_EQ(contents(), line("first"));
}

TEST_F(JsonlFailure, ThatLeavesPartOfALineLeavesTheNextLineWhole) {
  const int file = memfd_create("lines", MFD_CLOEXEC | MFD_ALLOW_SEALING);
  ASSERT_EQ(fcntl(file, F_ADD_SEALS, F_SEAL_SHRINK), 0);
  const std::string path = "/proc/self/fd/" + std::to_string(file);
  setDestination(path);
  EXPECT_TRUE(Child([this] {
                limitFileSize(10);
                report("first");
                limitFileSize(RLIM_INFINITY);
                return report("second") && report("third");
              }).succeeded());
  EXPECT_EQ(contents(path), line("first").substr(0, 10) + "\n" + line("second") + line("third"));
  close(file);
}

TEST_F(JsonlStream, DashIsTheStandardOutput) {
  setDestination("-");
  std::string output;
  {
    const StandardOutputPipe pipe(O_CLOEXEC);
    EXPECT_TRUE(Child([this] { return report("first") && report("second"); }).succeeded());
    output = pipe.read();
  }
  EXPECT_EQ(output, line("first") + line("second"));
}

TEST_F(JsonlStream, OfAClosedPipeIsLoggedWithoutEndingTheProcess) {
  EXPECT_THAT(logOfChild([this] {
                std::signal(SIGPIPE, SIG_DFL);
                reportToClosedPipe();
              }),
              ElementsAre(loss("-", "Broken pipe")));
}

TEST_F(JsonlStream, OfAClosedPipeLeavesNoSignalPending) {
  EXPECT_TRUE(Child([this] {
                std::signal(SIGPIPE, SIG_DFL);
                reportToClosedPipe();
                return !isPending(SIGPIPE) && !isBlocked(SIGPIPE);
              }).succeeded());
}

TEST_F(JsonlStream, OfAClosedPipeConsumesNoSignalThatWasPendingBefore) {
  EXPECT_TRUE(Child([this] {
                sigset_t signals;
                sigemptyset(&signals);
                sigaddset(&signals, SIGPIPE);
                pthread_sigmask(SIG_BLOCK, &signals, nullptr);
                std::raise(SIGPIPE);
                reportToClosedPipe();
                return isPending(SIGPIPE) && isBlocked(SIGPIPE);
              }).succeeded());
}

TEST_F(JsonlStream, HasTheNextLineWholeAfterOneThatWasCutShort) {
  setDestination("-");
  const auto torn_handler = createHandler();
  const auto handler = createHandler();
  std::string name;
  std::string fragment;
  std::string output;
  {
    const StandardOutputPipe pipe(O_CLOEXEC | O_NONBLOCK);
    name.assign(pipe.capacity(), 'x');
    std::thread([&] { report(*torn_handler, name.c_str()); }).join();
    report(*handler, "lost");
    fragment = pipe.read();
    report(*handler, "next");
    report(*handler, "last");
    output = pipe.read();
  }
  EXPECT_EQ(fragment, line(name).substr(0, name.size()));
  EXPECT_EQ(output, "\n" + line("next") + line("last"));
}

TEST_F(JsonlStream, MayBeANamedPipe) {
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
  const int reader = open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  EXPECT_TRUE(report("e"));
  std::string output(100, '\0');
  const ssize_t length = read(reader, output.data(), output.size());
  EXPECT_EQ(output.substr(0, static_cast<size_t>(length)), line("e"));
  close(reader);
}

TEST_F(JsonlStream, WithoutReaderIsNotWaitedFor) {
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
  EXPECT_THAT(logOfChild([this] { report("e"); }),
              ElementsAre(loss(path_, "No such device or address")));
}

}  // namespace
}  // namespace kiv_test
