// A worker at its limits: a queue that is too long, a start limit below zero, an empty task.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "kiv/TaskRunner.h"
#include "tests/support/FreshProcess.h"
#include "tests/support/Latch.h"
#include "tests/support/LogCapture.h"
#include "tests/support/WorkerHold.h"

namespace android::kiv {
namespace {

using ::kiv_test::Latch;
using ::kiv_test::LogCapture;
using ::kiv_test::LogLine;
using ::kiv_test::WorkerHold;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::chrono::milliseconds kLong{60000};
constexpr unsigned kHangsAfterSeconds = 30;
constexpr int kFirstMark = 65536;

std::vector<std::string> textsOf(const LogCapture& log) {
  std::vector<std::string> texts;
  for (const LogLine& line : log.lines()) texts.push_back(line.text);
  return texts;
}

class TaskRunnerLimits : public testing::Test {
 protected:
  /// Holds the worker inside a task, so that none of those behind it starts.
  void hold() {
    Latch held;
    runner.postTask([this, &held] {
      held.countDown();
      released.wait();
    });
    held.wait();
  }

  void post(int tasks) {
    for (int i = 0; i < tasks; ++i) runner.postTask([this] { ++ran; });
  }

  /// Lets the worker go on until it has said that its queue has drained.
  void drain(const LogCapture& log) {
    released.countDown();
    while (textsOf(log).back().rfind("The queue is empty again", 0) != 0) {
      std::this_thread::yield();
    }
  }

  Latch released;
  std::atomic<int> ran{0};
  std::shared_ptr<TaskRunnerThread> thread = TaskRunnerThread::create(kLong);
  TaskRunner runner{thread};
};

TEST_F(TaskRunnerLimits, AQueueThatOutgrowsItsMarkSaysSoAndSaysWhenItHasDrained) {
  const LogCapture log;
  hold();
  post(kFirstMark);
  EXPECT_THAT(textsOf(log), IsEmpty());
  post(1);
  EXPECT_THAT(textsOf(log), ElementsAre("More than 65536 tasks are queued"));
  post(2 * kFirstMark);
  drain(log);
  EXPECT_THAT(textsOf(log),
              ElementsAre("More than 65536 tasks are queued", "More than 131072 tasks are queued",
                          "The queue is empty again; 0 tasks were dropped"));
  EXPECT_EQ(ran, 3 * kFirstMark + 1);
}

TEST_F(TaskRunnerLimits, ManyTasksInAllAreNoLongQueue) {
  const LogCapture log;
  for (int i = 0; i < 4; ++i) {
    post(kFirstMark / 2);
    EXPECT_TRUE(runner.postTaskAndWait([] {}).ok());
  }
  EXPECT_THAT(textsOf(log), IsEmpty());
}

TEST_F(TaskRunnerLimits, AfterItHasDrainedItSpeaksUpAgain) {
  const LogCapture log;
  hold();
  post(kFirstMark + 1);
  drain(log);
  Latch held_again;
  Latch released_again;
  runner.postTask([&] {
    held_again.countDown();
    released_again.wait();
  });
  held_again.wait();
  post(kFirstMark + 1);
  EXPECT_THAT(textsOf(log), ElementsAre("More than 65536 tasks are queued",
                                        "The queue is empty again; 0 tasks were dropped",
                                        "More than 65536 tasks are queued"));
  released_again.countDown();
  // The worker is done with what this test owns.
  EXPECT_TRUE(runner.postTaskAndWait([] {}).ok());
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

TEST_F(TaskRunnerLimits, DropsAndCountsTasksBeyondItsCapacityAndNoneBelow) {
  constexpr int kCapacity = 4194304;
  const LogCapture log;
  hold();
  post(kCapacity);
  EXPECT_EQ(textsOf(log).back(), "More than 2097152 tasks are queued");
  post(3);
  EXPECT_EQ(textsOf(log).back(), "4194304 tasks are queued: dropping further ones");
  drain(log);
  EXPECT_EQ(textsOf(log).back(), "The queue is empty again; 3 tasks were dropped");
  EXPECT_EQ(ran, kCapacity);
}

TEST(TaskRunnerThreadTeardown, AThreadThatHasEndedLeavesNothingBehind) {
  const auto makeThreads = [] {
    for (int i = 0; i < 2000; ++i) TaskRunner(TaskRunnerThread::create(kLong)).postTask([] {});
  };
  makeThreads();
  const size_t before = mallinfo2().uordblks;
  makeThreads();
  // A queue takes some 300 bytes.
  EXPECT_LT(mallinfo2().uordblks, before + 100'000);
}

/// The size of this process's address space, in bytes.
size_t addressSpace() {
  size_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  return pages * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

/// The default size of a thread's stack, in bytes.
size_t stackSize() {
  pthread_attr_t attributes;
  size_t size = 0;
  pthread_getattr_default_np(&attributes);
  pthread_attr_getstacksize(&attributes, &size);
  pthread_attr_destroy(&attributes);
  return size;
}

TEST(TaskRunnerThreadTeardown, AWorkerThatDropsItsOwnThreadLeavesNothingBehind) {
  const auto makeThreads = [] {
    for (int i = 0; i < 200; ++i) {
      Latch dropped;
      auto thread = TaskRunnerThread::create(kLong);
      TaskRunner runner(thread);
      runner.postTask([owner = std::move(thread), &dropped]() mutable {
        owner.reset();
        dropped.countDown();
      });
      dropped.wait();
    }
  };
  makeThreads();
  const size_t before = addressSpace();
  makeThreads();
  // A thread that is neither joined nor detached keeps its stack. Other stacks are freed, but for
  // a few that the C library keeps for new threads.
  EXPECT_LT(addressSpace(), before + 100 * stackSize());
}

#endif

TEST(TaskRunnerThreadTeardown, AWorkerThatHasEndedIsAThreadLikeOthers) {
  struct WaitsWhenTheThreadEnds {
    ~WaitsWhenTheThreadEnds() {
      status->store(runner->postTaskAndWait([] {}).code());
      ended->countDown();
    }
    TaskRunner* runner;
    std::atomic<int>* status;
    Latch* ended;
  };
  std::atomic<int> status{android::OK};
  Latch ended;
  auto thread = TaskRunnerThread::create(kLong);
  TaskRunner runner(thread);
  runner.postTask([&, owner = std::move(thread)]() mutable {
    thread_local const WaitsWhenTheThreadEnds waits{&runner, &status, &ended};
    owner.reset();
  });
  ended.wait();
  EXPECT_EQ(status, android::DEAD_OBJECT);
}

TEST(TaskRunnerStartLimit, ANegativeOneIsZero) {
  alarm(kHangsAfterSeconds);
  // The second becomes a long time if its nanoseconds wrap around.
  for (const auto limit :
       {std::chrono::milliseconds(-1500), std::chrono::milliseconds(-13'835'058'055'283),
        std::chrono::milliseconds::min()}) {
    const auto thread = TaskRunnerThread::create(limit);
    TaskRunner runner(thread);
    const WorkerHold hold(runner);
    EXPECT_EQ(runner.postTaskAndWait([] {}).code(), android::TIMED_OUT);
  }
  alarm(0);
}

TEST(TaskRunnerEmptyTaskDeathTest, AnEmptyTaskEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto thread = TaskRunnerThread::create(kLong);
  TaskRunner runner(thread);
  EXPECT_EXIT(runner.postTask(nullptr), testing::KilledBySignal(SIGABRT), "empty task");
  EXPECT_EXIT(runner.postTaskAndWait(std::function<void()>()), testing::KilledBySignal(SIGABRT),
              "empty task");
  EXPECT_EXIT(runner.postTaskAndWait<bool>(std::function<bool()>()),
              testing::KilledBySignal(SIGABRT), "empty task");
}

}  // namespace
}  // namespace android::kiv
