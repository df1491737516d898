// Process exit with several workers, with tasks that do not end, and on a worker.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "kiv/TaskRunner.h"
#include "tests/support/Latch.h"

namespace android::kiv {
namespace {

using ::kiv_test::Latch;

constexpr std::chrono::milliseconds kLong{60000};
constexpr unsigned kHangsAfterSeconds = 30;

/// Exits with a task on each of two workers, of which the second takes its time.
[[noreturn]] void exitWithTwoQueues() {
  static const auto* const owners = new std::vector<std::shared_ptr<TaskRunnerThread>>{
      TaskRunnerThread::create(kLong), TaskRunnerThread::create(kLong)};
  TaskRunner(owners->front()).postTask([] { fputs("first\n", stderr); });
  TaskRunner(owners->back()).postTask([] {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    fputs("second\n", stderr);
  });
  std::exit(0);
}

TEST(TaskRunnerThreadTeardownDeathTest, TasksOfEveryThreadRunAtProcessExit) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(exitWithTwoQueues(), testing::ExitedWithCode(0),
              testing::AllOf(testing::HasSubstr("first"), testing::HasSubstr("second"),
                             testing::Not(testing::HasSubstr("Gave up"))));
}

/// Exits on a worker with a task queued that posts itself again and again.
[[noreturn]] void exitBehindATaskThatReposts() {
  // Never destroyed: a static destructor would close the queue before exit runs what is in it.
  static const auto* const thread =
      new std::shared_ptr<TaskRunnerThread>(TaskRunnerThread::create(kLong));
  static auto* const runner = new TaskRunner(*thread);
  static std::function<void()>* repost = nullptr;
  repost = new std::function<void()>([] { runner->postTask(*repost); });
  // Before exit gives up tasks that never end.
  constexpr unsigned kHangsEarly = 5;
  alarm(kHangsEarly);
  Latch posted;
  runner->postTask([&] {
    posted.wait();
    std::exit(0);
  });
  runner->postTask(*repost);
  posted.countDown();
  for (;;) pause();
}

TEST(TaskRunnerThreadTeardownDeathTest, ExitFromATaskDoesNotRunWhatIsPostedMeanwhile) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(exitBehindATaskThatReposts(), testing::ExitedWithCode(0), "");
}

/// Exits while a worker's task does not end, and lets a static destructor drop that worker.
[[noreturn]] void exitWithAHangingTask() {
  alarm(kHangsAfterSeconds);
  static std::shared_ptr<TaskRunnerThread> thread;
  thread = TaskRunnerThread::create(std::chrono::milliseconds(10));
  TaskRunner runner(thread);
  Latch hanging;
  runner.postTask([&] {
    hanging.countDown();
    for (;;) pause();
  });
  hanging.wait();
  for (int i = 0; i < 3; ++i) runner.postTask([] {});
  // These will not run in any case.
  for (int i = 0; i < 2; ++i) {
    if (runner.postTaskAndWait([] {}).code() != android::TIMED_OUT) std::abort();
  }
  std::exit(0);
}

TEST(TaskRunnerThreadTeardownDeathTest, ExitGivesUpATaskThatDoesNotEndAndSaysHowManyAreBehindIt) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(exitWithAHangingTask(), testing::ExitedWithCode(0),
              testing::AllOf(testing::ContainsRegex("Gave up 3 queued tasks"),
                             testing::Not(testing::ContainsRegex("Gave up (.|\n)*Gave up"))));
}

/// Exits with a task that does not end on one worker, and others on a second one.
[[noreturn]] void exitBesideAHangingTask() {
  alarm(kHangsAfterSeconds);
  static const auto* const owners = new std::vector<std::shared_ptr<TaskRunnerThread>>{
      TaskRunnerThread::create(kLong), TaskRunnerThread::create(kLong)};
  TaskRunner(owners->front()).postTask([] {
    for (;;) pause();
  });
  TaskRunner runner(owners->back());
  runner.postTask([] { std::this_thread::sleep_for(std::chrono::milliseconds(200)); });
  runner.postTask([] { fputs("other task ran\n", stderr); });
  std::exit(0);
}

TEST(TaskRunnerThreadTeardownDeathTest, AHangingTaskTakesNoTimeFromOtherWorkersAtExit) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(exitBesideAHangingTask(), testing::ExitedWithCode(0),
              testing::AllOf(testing::HasSubstr("other task ran"),
                             testing::HasSubstr("Gave up 0 queued tasks")));
}

/// Exits while other threads wait for the ends of workers of theirs, all of which end, and then
/// waits for one itself.
[[noreturn]] void exitBesideThreadsThatWait() {
  alarm(kHangsAfterSeconds);
  constexpr int kOthers = 4;
  struct Owner {
    std::shared_ptr<TaskRunnerThread> thread;
    ~Owner() {
      // The process exits.
      std::vector<std::thread> others;
      for (int i = 0; i < kOthers; ++i) {
        others.emplace_back([] {
          TaskRunner(TaskRunnerThread::create(kLong)).postTask([] {
            std::this_thread::sleep_for(std::chrono::milliseconds(2500));
          });
        });
      }
      for (std::thread& other : others) other.join();
      TaskRunner(thread).postTask([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        fputs("last task ran\n", stderr);
      });
    }
  };
  static Owner owner;
  owner.thread = TaskRunnerThread::create(kLong);
  std::exit(0);
}

TEST(TaskRunnerThreadTeardownDeathTest, WaitsOfOtherThreadsTakeNoTimeFromExit) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(exitBesideThreadsThatWait(), testing::ExitedWithCode(0), "last task ran");
}

/// Exits with a worker whose owner is destroyed when exit has run what was queued before, and whose
/// task does not end.
[[noreturn]] void exitWithATaskOfADestructor() {
  alarm(kHangsAfterSeconds);
  struct Owner {
    std::shared_ptr<TaskRunnerThread> thread;
    ~Owner() {
      TaskRunner runner(thread);
      runner.postTask([] {
        for (;;) pause();
      });
      runner.postTask([] {});
    }
  };
  static Owner owner;
  owner.thread = TaskRunnerThread::create(kLong);
  std::exit(0);
}

TEST(TaskRunnerThreadTeardownDeathTest, AStaticDestructorSaysWhatItGivesUp) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(exitWithATaskOfADestructor(), testing::ExitedWithCode(0), "Gave up 1 queued tasks");
}

/// One worker's tasks post to another one that was made earlier.
[[noreturn]] void exitWithATaskThatPostsElsewhere() {
  static const auto* const owners = new std::vector<std::shared_ptr<TaskRunnerThread>>{
      TaskRunnerThread::create(kLong), TaskRunnerThread::create(kLong)};
  static Latch exiting;
  TaskRunner(owners->back()).postTask([] {
    exiting.wait();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    TaskRunner(owners->front()).postTask([] {
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
      fputs("posted task ran\n", stderr);
    });
  });
  std::atexit([] { exiting.countDown(); });
  std::exit(0);
}

TEST(TaskRunnerThreadTeardownDeathTest, ATaskMayPostToAnotherWorkerAtExit) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(exitWithATaskThatPostsElsewhere(), testing::ExitedWithCode(0), "posted task ran");
}

}  // namespace
}  // namespace android::kiv
