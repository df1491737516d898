// A worker's end: from outside, from one of its own tasks, under posts, and at process exit.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

#include "kiv/TaskRunner.h"
#include "tests/support/Latch.h"
#include "tests/support/WorkerHold.h"

namespace {

bool in_forked_process = false;

}  // namespace

// Asked by the leak checker, where there is one: what another thread held on its stack at the time
// of a fork has no owner in the child.
extern "C" int __lsan_is_turned_off();
extern "C" int __lsan_is_turned_off() { return in_forked_process ? 1 : 0; }

namespace android::kiv {
namespace {

using ::kiv_test::Latch;
using ::kiv_test::WorkerHold;

constexpr std::chrono::milliseconds kLong{60000};

TEST(TaskRunnerThreadTeardown, RunsWhatIsQueuedBeforeItReturns) {
  auto thread = TaskRunnerThread::create(kLong);
  TaskRunner runner(thread);
  std::atomic<int> ran{0};
  WorkerHold hold(runner);
  for (int i = 0; i < 10; ++i) runner.postTask([&] { ++ran; });
  std::thread releaser([&] {
    // Once tasks are dropped, the thread is being destroyed.
    for (bool dropped = false; !dropped;) {
      auto captured = std::make_shared<int>(1);
      const std::weak_ptr<int> watch = captured;
      runner.postTask([captured = std::move(captured)] {});
      dropped = watch.expired();
      std::this_thread::yield();
    }
    hold.release();
  });
  thread.reset();
  EXPECT_EQ(ran, 10);
  releaser.join();
}

TEST(TaskRunnerThreadTeardown, LaterPostsAreDropped) {
  auto thread = TaskRunnerThread::create(kLong);
  TaskRunner runner(thread);
  thread.reset();
  auto captured = std::make_shared<int>(1);
  const std::weak_ptr<int> watch = captured;
  runner.postTask([captured = std::move(captured)] {});
  EXPECT_TRUE(watch.expired());
}

TEST(TaskRunnerThreadTeardown, LaterWaitsFailAtOnce) {
  auto thread = TaskRunnerThread::create(kLong);
  TaskRunner runner(thread);
  thread.reset();
  const auto result = runner.postTaskAndWait<bool>([] { return true; });
  EXPECT_EQ(result.status().code(), android::DEAD_OBJECT);
}

TEST(TaskRunnerThreadTeardownDeathTest, LaterWaitsHaveNoValue) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  auto thread = TaskRunnerThread::create(kLong);
  TaskRunner runner(thread);
  thread.reset();
  const auto result = runner.postTaskAndWait<bool>([] { return true; });
  EXPECT_EXIT(static_cast<void>(result.value()), testing::KilledBySignal(SIGABRT),
              "Value is not set\\. status=DEAD_OBJECT");
}

TEST(TaskRunnerThreadTeardown, AHandleIsNoOwner) {
  auto thread = TaskRunnerThread::create(kLong);
  const std::weak_ptr<TaskRunnerThread> watch = thread;
  const TaskRunner runner(thread);
  thread.reset();
  EXPECT_TRUE(watch.expired());
  EXPECT_FALSE(runner.isRunningOnCurrentThread());
}

TEST(TaskRunnerThreadTeardown, AHandleBoundToNoThreadFailsEveryPost) {
  TaskRunner runner{std::weak_ptr<TaskRunnerThread>()};
  bool ran = false;
  runner.postTask([&] { ran = true; });
  EXPECT_EQ(runner.postTaskAndWait([&] { ran = true; }).code(), android::DEAD_OBJECT);
  EXPECT_FALSE(runner.isRunningOnCurrentThread());
  EXPECT_FALSE(ran);
}

TEST(TaskRunnerThreadTeardown, LastReferenceDroppedByTheWorkerEndsItQuietly) {
  auto thread = TaskRunnerThread::create(kLong);
  TaskRunner runner(thread);
  const std::weak_ptr<TaskRunnerThread> watch = thread;
  Latch release;
  Latch last_ran;
  runner.postTask([&release, thread = std::move(thread)] { release.wait(); });
  runner.postTask([&] { last_ran.countDown(); });
  release.countDown();
  // Tasks queued before still run, although the owner of the thread is destroyed by then.
  last_ran.wait();
  EXPECT_TRUE(watch.expired());
  EXPECT_EQ(runner.postTaskAndWait([] {}).code(), android::DEAD_OBJECT);
}

TEST(TaskRunnerThreadTeardown, EndsWhileOthersPostAndWait) {
  for (int round = 0; round < 50; ++round) {
    auto thread = TaskRunnerThread::create(kLong);
    Latch posting(4);
    std::atomic<bool> over{false};
    std::atomic<int> accounted{0};
    std::vector<std::thread> posters;
    for (int i = 0; i < 4; ++i) {
      posters.emplace_back([&, runner = TaskRunner(thread)]() mutable {
        bool counted = false;
        while (!over) {
          bool ran = false;
          const KivStatus status = runner.postTaskAndWait([&] { ran = true; });
          if (status.ok() != ran) break;
          runner.postTask([] {});
          if (!counted) posting.countDown();
          counted = true;
          if (!status.ok()) {
            ++accounted;
            break;
          }
        }
      });
    }
    posting.wait();
    thread.reset();
    for (auto& poster : posters) poster.join();
    // Each ended because its wait was refused, none by a wait that lied about its task.
    ASSERT_EQ(accounted, 4);
    over = true;
  }
}

/// Exits while the worker is held in a task, with more behind it. The last one says so on standard
/// error, so the test sees whether it ran.
[[noreturn]] void exitWithTasksQueued(bool owner_is_worker) {
  auto thread = TaskRunnerThread::create(kLong);
  TaskRunner runner(thread);
  static Latch release;
  std::shared_ptr<TaskRunnerThread> owned_by_task;
  if (owner_is_worker) {
    owned_by_task = std::move(thread);
  } else {
    // Never destroyed: a thread that lives at exit.
    static const auto* const owner = new std::shared_ptr<TaskRunnerThread>(thread);
    static_cast<void>(owner);
  }
  runner.postTask([owner = std::move(owned_by_task)] { release.wait(); });
  runner.postTask([] { fputs("last task ran\n", stderr); });
  // Registered after the thread was made, hence called before the queue is waited for.
  std::atexit([] { release.countDown(); });
  std::exit(0);
}

TEST(TaskRunnerThreadTeardownDeathTest, TasksOfALiveThreadRunAtProcessExit) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(exitWithTasksQueued(false), testing::ExitedWithCode(0), "last task ran");
}

TEST(TaskRunnerThreadTeardownDeathTest, TasksOfAThreadThatEndsItselfRunAtProcessExit) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(exitWithTasksQueued(true), testing::ExitedWithCode(0), "last task ran");
}

/// Exits when nothing can be posted any more, because the worker has dropped its own thread, and
/// one task is left.
[[noreturn]] void exitBehindAClosedQueue() {
  auto thread = TaskRunnerThread::create(kLong);
  TaskRunner runner(thread);
  static Latch posted;
  static Latch closed;
  static Latch release;
  runner.postTask([owner = std::move(thread)]() mutable {
    posted.wait();
    owner.reset();
    closed.countDown();
    release.wait();
  });
  runner.postTask([] { fputs("last task ran\n", stderr); });
  posted.countDown();
  closed.wait();
  std::atexit([] { release.countDown(); });
  std::exit(0);
}

TEST(TaskRunnerThreadTeardownDeathTest, TasksOfAThreadThatHasEndedItselfRunAtProcessExit) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(exitBehindAClosedQueue(), testing::ExitedWithCode(0), "last task ran");
}

[[noreturn]] void exitFromATask() {
  static const auto thread = TaskRunnerThread::create(kLong);
  TaskRunner runner(thread);
  Latch never;
  Latch taken;
  Latch posted;
  {
    // The worker takes both of these at once.
    const WorkerHold hold(runner);
    runner.postTask([&] {
      taken.countDown();
      posted.wait();
      std::exit(0);
    });
    runner.postTask([] { fputs("second task ran\n", stderr); });
  }
  taken.wait();
  runner.postTask([] { fputs("last task ran\n", stderr); });
  posted.countDown();
  never.wait();
  std::abort();
}

TEST(TaskRunnerThreadTeardownDeathTest, ExitFromATaskRunsWhatIsQueued) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(exitFromATask(), testing::ExitedWithCode(0), "second task ran\nlast task ran");
}

/// Exits while a worker is in a task that closed its queue.
[[noreturn]] void exitWhileAWorkerEnds() {
  static Latch closed;
  static Latch exiting;
  auto thread = TaskRunnerThread::create(kLong);
  TaskRunner runner(thread);
  runner.postTask([thread = std::move(thread)]() mutable {
    thread.reset();
    closed.countDown();
    exiting.wait();
    fputs("last task ran\n", stderr);
  });
  closed.wait();
  // Registered after the thread was made, hence called before the queue is waited for.
  std::atexit([] { exiting.countDown(); });
  std::exit(0);
}

TEST(TaskRunnerThreadTeardownDeathTest, ExitWaitsForAWorkerThatEnds) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(exitWhileAWorkerEnds(), testing::ExitedWithCode(0),
              testing::AllOf(testing::HasSubstr("last task ran"),
                             testing::Not(testing::HasSubstr("Gave up"))));
}

/// Says how many tasks ran of those that a thread, the worker and the exiting thread posted while
/// the process ended.
[[noreturn]] void exitWhileAThreadPosts() {
  static std::atomic<int> ran{0};
  static TaskRunner* runner = nullptr;
  // Registered before the thread is made, hence called after the queue was waited for.
  std::atexit([] {
    std::thread([] {
      for (int i = 0; i < 30000; ++i) runner->postTask([] { ++ran; });
    }).join();
    const auto post_on_worker = [] {
      for (int i = 0; i < 5; ++i) runner->postTask([] { ++ran; });
    };
    EXPECT_TRUE(runner->postTaskAndWait(post_on_worker).ok());
    EXPECT_TRUE(runner->postTaskAndWait([] { ++ran; }).ok());
    fprintf(stderr, "%d tasks ran\n", ran.load());
  });
  static const auto* const owner =
      new std::shared_ptr<TaskRunnerThread>(TaskRunnerThread::create(kLong));
  runner = new TaskRunner(*owner);
  std::exit(0);
}

TEST(TaskRunnerThreadTeardownDeathTest, ThreadsThatNeverStopPostingDoNotKeepTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(exitWhileAThreadPosts(), testing::ExitedWithCode(0), "10006 tasks ran");
}

/// Runs `body` in a forked process, which it ends with `exit()`. True if it said so and ended well.
template <typename Body>
bool succeedsInFork(Body body) {
  const pid_t child = fork();
  if (child == 0) {
    in_forked_process = true;
    std::exit(body() ? 0 : 1);
  }
  int status = 0;
  return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

TEST(TaskRunnerFork, EveryCallReturnsInAChildWithoutTheWorker) {
  auto thread = TaskRunnerThread::create(kLong);
  TaskRunner runner(thread);
  ASSERT_TRUE(runner.postTaskAndWait([] {}).ok());
  EXPECT_TRUE(succeedsInFork([&] {
    runner.postTask([] {});
    const bool refused = runner.postTaskAndWait([] {}).code() == android::DEAD_OBJECT;
    thread.reset();
    return refused;
  }));
}

TEST(TaskRunnerFork, EndingInAChildLeavesTheChildsOwnThreadsAlone) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "the sanitizer allows no new threads in the child";
#endif
  auto thread = TaskRunnerThread::create(kLong);
  EXPECT_TRUE(succeedsInFork([&] {
    Latch release;
    // Gets the stack, and so the identifier, that the worker has in the parent.
    pthread_t own{};
    const auto run = [](void* latch) -> void* {
      static_cast<Latch*>(latch)->wait();
      return nullptr;
    };
    if (pthread_create(&own, nullptr, run, &release) != 0) return false;
    thread.reset();
    release.countDown();
    return pthread_join(own, nullptr) == 0;
  }));
}

TEST(TaskRunnerFork, AChildForkedWhileTheQueueIsBusyExits) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer's allocator may stay locked in the child";
#endif
  auto thread = TaskRunnerThread::create(kLong);
  TaskRunner runner(thread);
  std::atomic<bool> over{false};
  std::thread poster([&] {
    while (!over) {
      runner.postTask([] {});
      runner.postTaskAndWait([] {});
    }
  });
  for (int i = 0; i < 20; ++i) EXPECT_TRUE(succeedsInFork([] { return true; }));
  over = true;
  poster.join();
}

TEST(TaskRunnerFork, TheParentGoesOn) {
  auto thread = TaskRunnerThread::create(kLong);
  TaskRunner runner(thread);
  EXPECT_TRUE(succeedsInFork([] { return true; }));
  EXPECT_TRUE(runner.postTaskAndWait([] {}).ok());
}

}  // namespace
}  // namespace android::kiv
