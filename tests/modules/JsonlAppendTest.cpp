// How lines share their destination with those of other processes and threads, and what a failed
// write leaves behind.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
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

#include "JsonlFixture.h"

namespace kiv_test {
namespace {

namespace fs = std::filesystem;

constexpr int kWriters = 4;
constexpr int kEvents = 500;

class JsonlSharing : public JsonlTest {
 protected:
  /// Reports as many events as a writer has to, and calls `after` with the number of each; true if
  /// all were accepted.
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

  /// Which numbers each writer's lines bear, in all of the files.
  static std::map<int, std::multiset<int>> numbersByWriter(const std::vector<fs::path>& paths) {
    std::map<int, std::multiset<int>> numbers;
    for (const fs::path& path : paths) {
      std::ifstream file(path);
      for (std::string text; std::getline(file, text);) {
        const auto event = nlohmann::json::parse(text, nullptr, false);
        if (event.is_discarded()) {
          ADD_FAILURE() << "no JSON: " << text;
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
  /// Sets how long files may become that this process writes.
  static void limitFileSize(uintmax_t size) {
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = static_cast<rlim_t>(std::min<uintmax_t>(size, limit.rlim_max));
    setrlimit(RLIMIT_FSIZE, &limit);
  }
};

class JsonlStream : public JsonlTest {
 protected:
  bool reportToClosedPipe() {
    setDestination("-");
    StandardOutputPipe output(O_CLOEXEC);
    output.closeReadEnd();
    return report("e");
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

TEST_F(JsonlSharing, ProcessesLoseAndTearNoLineOfEachOther) {
  std::list<Child> children;
  for (int writer = 0; writer < kWriters; ++writer) {
    children.emplace_back([=] { return reportAll(writer); });
  }
  for (const Child& child : children) EXPECT_TRUE(child.succeeded());
  EXPECT_EQ(numbersByWriter({path_}), allNumbersOfAllWriters());
  EXPECT_EQ(linesThatPythonReads({path_}), kWriters * kEvents);
}

TEST_F(JsonlSharing, AFileThatIsRotatedUnderItsWritersLosesAndTearsNoLine) {
  const auto rotated = [this](int i) { return directory_ / ("old " + std::to_string(i)); };
  constexpr int kEventsPerRotation = 50;
  std::list<Child> children;
  for (int writer = 0; writer < kWriters; ++writer) {
    children.emplace_back([=] {
      return reportAll(writer, [=](int number) {
        // The one who rotates has just written, so there is a file.
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

TEST_F(JsonlSharing, ThreadsWithHandlersOfTheirOwnLoseAndTearNoLineOfEachOther) {
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

TEST_F(JsonlFailure, OfAFullDeviceIsAnswered) {
  setDestination("/dev/full");
  EXPECT_FALSE(report("e"));
}

TEST_F(JsonlFailure, OfAPathBelowAFileIsAnswered) {
  EXPECT_TRUE(report("first"));
  setDestination(path_ / "events.jsonl");
  EXPECT_FALSE(report("refused"));
  EXPECT_EQ(contents(), line("first"));
}

TEST_F(JsonlFailure, OfAPathThatMayNotBeWrittenIsAnswered) {
  EXPECT_TRUE(report("first"));
  const auto handler = createHandler();
  fs::permissions(path_, fs::perms::owner_read);
  fs::permissions(directory_, fs::perms::owner_read | fs::perms::owner_exec);
  EXPECT_TRUE(Child([&] {
                // Whoever may do everything has to become somebody who may not.
                constexpr uid_t kNobody = 65534;
                if (geteuid() == 0 && setuid(kNobody) != 0) return false;
                const bool existing = report(*handler, "refused");
                setDestination(directory_ / "new.jsonl");
                return !existing && !report("refused");
              }).succeeded());
  fs::permissions(directory_, fs::perms::owner_all);
  EXPECT_EQ(contents(), line("first"));
}

TEST_F(JsonlFailure, ThatLeavesNothingBehindLeavesNoEmptyLineEither) {
  setDestination("/dev/full");
  EXPECT_FALSE(report("refused"));
  setDestination(path_);
  EXPECT_TRUE(report("next"));
  EXPECT_EQ(contents(), line("next"));
}

TEST_F(JsonlFailure, OfAShortWriteLeavesNothingOfTheLine) {
  EXPECT_TRUE(Child([this] {
                std::signal(SIGXFSZ, SIG_IGN);
                const bool first = report("first");
                limitFileSize(fs::file_size(path_) + 10);
                const bool second = report("second");
                limitFileSize(RLIM_INFINITY);
                return first && !second && report("third");
              }).succeeded());
  EXPECT_EQ(contents(), line("first") + line("third"));
}

TEST_F(JsonlFailure, OfAFileAtItsSizeLimitDoesNotEndTheProcess) {
  EXPECT_TRUE(Child([this] {
                std::signal(SIGXFSZ, SIG_DFL);
                const bool first = report("first");
                limitFileSize(fs::file_size(path_));
                return first && !report("second") && !isPending(SIGXFSZ) && !isBlocked(SIGXFSZ);
              }).succeeded());
  EXPECT_EQ(contents(), line("first"));
}

TEST_F(JsonlFailure, OfAFileThatCannotBeCutLeavesTheNextLineWhole) {
  const int file = memfd_create("lines", MFD_CLOEXEC | MFD_ALLOW_SEALING);
  ASSERT_EQ(fcntl(file, F_ADD_SEALS, F_SEAL_SHRINK), 0);
  const std::string path = "/proc/self/fd/" + std::to_string(file);
  setDestination(path);
  EXPECT_TRUE(Child([this] {
                limitFileSize(10);
                const bool first = report("first");
                limitFileSize(RLIM_INFINITY);
                return !first && report("second") && report("third");
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

TEST_F(JsonlStream, OfAClosedPipeIsAnsweredWithoutEndingTheProcess) {
  EXPECT_TRUE(Child([this] {
                std::signal(SIGPIPE, SIG_DFL);
                return !reportToClosedPipe();
              }).succeeded());
}

TEST_F(JsonlStream, OfAClosedPipeLeavesNoSignalBehind) {
  EXPECT_TRUE(Child([this] {
                std::signal(SIGPIPE, SIG_DFL);
                return !reportToClosedPipe() && !isPending(SIGPIPE) && !isBlocked(SIGPIPE);
              }).succeeded());
}

TEST_F(JsonlStream, OfAClosedPipeTakesNoSignalThatWasPendingBefore) {
  EXPECT_TRUE(Child([this] {
                sigset_t signals;
                sigemptyset(&signals);
                sigaddset(&signals, SIGPIPE);
                pthread_sigmask(SIG_BLOCK, &signals, nullptr);
                std::raise(SIGPIPE);
                return !reportToClosedPipe() && isPending(SIGPIPE) && isBlocked(SIGPIPE);
              }).succeeded());
}

TEST_F(JsonlStream, HasTheNextLineWholeAfterOneThatWasCutShort) {
  setDestination("-");
  const auto torn_handler = createHandler();
  const auto handler = createHandler();
  bool torn = false;
  bool refused = false;
  bool next = false;
  bool last = false;
  std::string name;
  std::string fragment;
  std::string output;
  {
    const StandardOutputPipe pipe(O_CLOEXEC | O_NONBLOCK);
    name.assign(pipe.capacity(), 'x');
    std::thread([&] { torn = !report(*torn_handler, name.c_str()); }).join();
    refused = !report(*handler, "refused");
    fragment = pipe.read();
    next = report(*handler, "next");
    last = report(*handler, "last");
    output = pipe.read();
  }
  EXPECT_TRUE(torn);
  EXPECT_TRUE(refused);
  EXPECT_TRUE(next);
  EXPECT_TRUE(last);
  EXPECT_EQ(fragment, line(name).substr(0, name.size()));
  EXPECT_EQ(output, "\n" + line("next") + line("last"));
}

TEST_F(JsonlStream, NeedNotBeTheStandardOutput) {
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
  const int reader = open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  EXPECT_TRUE(report("e"));
  std::string output(100, '\0');
  const ssize_t length = read(reader, output.data(), output.size());
  EXPECT_EQ(output.substr(0, static_cast<size_t>(length)), line("e"));
  close(reader);
}

TEST_F(JsonlStream, WithoutReaderIsRefusedInsteadOfWaitedFor) {
  ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0);
  EXPECT_FALSE(report("e"));
}

}  // namespace
}  // namespace kiv_test
