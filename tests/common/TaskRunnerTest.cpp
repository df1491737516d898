#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include "kiv/TaskRunner.h"
#include "tests/support/Latch.h"
#include "tests/support/VtableEntry.h"
#include "tests/support/WorkerHold.h"

namespace android::kiv {
namespace {

using ::kiv_test::callEntry;
using ::kiv_test::Latch;
using ::kiv_test::Watched;
using ::kiv_test::WorkerHold;
using std::chrono::milliseconds;
using testing::ElementsAre;

constexpr milliseconds kLong{60000};
constexpr milliseconds kShort{1};

class TaskRunnerTest : public testing::Test {
 protected:
  std::shared_ptr<TaskRunnerThread> thread = TaskRunnerThread::create(kLong);
  TaskRunner runner{thread};
};

TEST_F(TaskRunnerTest, RunsAPostedTask) {
  Latch ran;
  runner.postTask([&] { ran.countDown(); });
  ran.wait();
}

TEST_F(TaskRunnerTest, NeverRunsATaskInsideThePost) {
  std::thread::id ran_on;
  ASSERT_TRUE(runner.postTaskAndWait([&] { ran_on = std::this_thread::get_id(); }).ok());
  EXPECT_NE(ran_on, std::this_thread::get_id());
}

TEST_F(TaskRunnerTest, PostsFromATaskRunAfterIt) {
  std::vector<std::string> order;
  Latch done;
  runner.postTask([&] {
    runner.postTask([&] {
      order.emplace_back("posted inside");
      done.countDown();
    });
    order.emplace_back("outer ends");
  });
  done.wait();
  EXPECT_THAT(order, ElementsAre("outer ends", "posted inside"));
}

TEST_F(TaskRunnerTest, WaitReturnsAfterTheTaskHasRun) {
  bool ran = false;
  EXPECT_EQ(runner.postTaskAndWait([&] { ran = true; }).code(), android::OK);
  EXPECT_TRUE(ran);
}

TEST_F(TaskRunnerTest, RunsWaitedAndUnwaitedTasksInPostingOrder) {
  std::vector<int> order;
  for (int i = 0; i < 100; ++i) runner.postTask([&order, i] { order.push_back(i); });
  ASSERT_TRUE(runner.postTaskAndWait([&] { order.push_back(100); }).ok());
  std::vector<int> expected(101);
  for (size_t i = 0; i < expected.size(); ++i) expected[i] = static_cast<int>(i);
  EXPECT_EQ(order, expected);
}

TEST_F(TaskRunnerTest, RunsOneTaskAtATimeWhoeverPosts) {
  constexpr int kThreads = 4;
  constexpr int kTasks = 500;
  std::atomic<int> inside{0};
  int ran = 0;
  bool overlapped = false;
  std::vector<std::thread> posters;
  for (int i = 0; i < kThreads; ++i) {
    posters.emplace_back([&] {
      for (int j = 0; j < kTasks; ++j) {
        runner.postTask([&] {
          if (inside.fetch_add(1) != 0) overlapped = true;
          ++ran;
          inside.fetch_sub(1);
        });
      }
    });
  }
  for (auto& poster : posters) poster.join();
  ASSERT_TRUE(runner.postTaskAndWait([] {}).ok());
  EXPECT_EQ(ran, kThreads * kTasks);
  EXPECT_FALSE(overlapped);
}

TEST_F(TaskRunnerTest, KeepsThePostingOrderOfEachThread) {
  std::vector<int> seen[2];
  std::vector<std::thread> posters;
  for (auto& order : seen) {
    posters.emplace_back([&] {
      for (int i = 0; i < 300; ++i) runner.postTask([&order, i] { order.push_back(i); });
    });
  }
  for (auto& poster : posters) poster.join();
  ASSERT_TRUE(runner.postTaskAndWait([] {}).ok());
  for (const auto& order : seen) {
    EXPECT_EQ(order.size(), 300u);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
  }
}

TEST_F(TaskRunnerTest, ATaskThatComesAsTheWorkerFallsAsleepIsNotForgotten) {
  std::atomic<int> ran{0};
  for (int i = 1; i <= 1000; ++i) {
    runner.postTask([&] { ++ran; });
    for (int looks = 0; ran < i; ++looks) {
      if (looks > 1000) std::this_thread::yield();
    }
    // The worker finds nothing more to do about now.
    for (std::atomic<int> pause{i % 64}; pause > 0;) --pause;
  }
}

TEST_F(TaskRunnerTest, KnowsItsOwnWorker) {
  EXPECT_FALSE(runner.isRunningOnCurrentThread());
  bool inside = false;
  ASSERT_TRUE(runner.postTaskAndWait([&] { inside = runner.isRunningOnCurrentThread(); }).ok());
  EXPECT_TRUE(inside);
}

TEST_F(TaskRunnerTest, IsNotOnTheWorkerOfAnotherThread) {
  TaskRunner other(TaskRunnerThread::create(kLong));
  bool inside = true;
  ASSERT_TRUE(runner.postTaskAndWait([&] { inside = other.isRunningOnCurrentThread(); }).ok());
  EXPECT_FALSE(inside);
}

TEST_F(TaskRunnerTest, AWaitOnItsOwnWorkerFailsAtOnce) {
  int code = android::OK;
  bool ran = false;
  ASSERT_TRUE(
      runner.postTaskAndWait([&] { code = runner.postTaskAndWait([&] { ran = true; }).code(); })
          .ok());
  EXPECT_EQ(code, android::INVALID_OPERATION);
  EXPECT_FALSE(ran);
}

TEST_F(TaskRunnerTest, CopiesShareTheThread) {
  TaskRunner copy = runner;  // NOLINT(performance-unnecessary-copy-initialization)
  bool inside = false;
  ASSERT_TRUE(copy.postTaskAndWait([&] { inside = runner.isRunningOnCurrentThread(); }).ok());
  EXPECT_TRUE(inside);
}

TEST_F(TaskRunnerTest, ReturnsTheResultOfAWaitedTask) {
  const auto yes = runner.postTaskAndWait<bool>([] { return true; });
  const auto no = runner.postTaskAndWait<bool>([] { return false; });
  EXPECT_EQ(yes.status().code(), 0);
  EXPECT_TRUE(yes.value());
  EXPECT_EQ(no.status().code(), 0);
  EXPECT_FALSE(no.value());
}

TEST_F(TaskRunnerTest, ReleasesCapturesBeforeTheWaiterWakes) {
  /// Takes its time, so that a waiter would wake before it is gone.
  struct Captured {
    std::atomic<bool>& released;
    ~Captured() {
      std::this_thread::sleep_for(milliseconds(50));
      released = true;
    }
  };
  std::atomic<bool> released{false};
  std::shared_ptr<Captured> captured(new Captured{released});
  ASSERT_TRUE(runner.postTaskAndWait([captured = std::move(captured)] {}).ok());
  EXPECT_TRUE(released);
}

TEST_F(TaskRunnerTest, NothingButTheTaskOwnsItsCapturesWhileItRuns) {
  struct {
    std::weak_ptr<int> watch;
    long owners = 0;
  } seen;
  auto captured = std::make_shared<int>(1);
  seen.watch = captured;
  // Small enough for a std::function to hold it in itself, which some libraries copy when it moves.
  ASSERT_TRUE(runner
                  .postTaskAndWait([captured = std::move(captured), &seen] {
                    seen.owners = seen.watch.use_count();
                  })
                  .ok());
  EXPECT_EQ(seen.owners, 1);
}

TEST_F(TaskRunnerTest, WaitingOnTheWorkerItselfFailsAtOnce) {
  KivStatus inner;
  bool ran = false;
  ASSERT_TRUE(
      runner.postTaskAndWait([&] { inner = runner.postTaskAndWait([&] { ran = true; }); }).ok());
  EXPECT_FALSE(inner.ok());
  ASSERT_TRUE(runner.postTaskAndWait([] {}).ok());
  EXPECT_FALSE(ran);
}

TEST_F(TaskRunnerTest, WaitsToTheEndOfATaskThatHasStarted) {
  const auto hasty_thread = TaskRunnerThread::create(kShort);
  TaskRunner hasty(hasty_thread);
  Latch started;
  Latch release;
  std::thread releaser([&] {
    started.wait();
    // Outlives the start limit, which no longer applies once the task has started.
    TaskRunner other(thread);
    for (int i = 0; i < 1000; ++i) ASSERT_TRUE(other.postTaskAndWait([] {}).ok());
    release.countDown();
  });
  bool ended = false;
  const KivStatus status = hasty.postTaskAndWait([&] {
    started.countDown();
    release.wait();
    ended = true;
  });
  // An overloaded machine may not have started it in time: then it must not have run at all.
  if (!status.ok()) started.countDown();
  releaser.join();
  EXPECT_EQ(ended, status.ok());
}

TEST_F(TaskRunnerTest, WithdrawsAWaitedTaskThatDidNotStartInTime) {
  const auto hasty_thread = TaskRunnerThread::create(kShort);
  TaskRunner hasty(hasty_thread);
  WorkerHold hold(hasty);
  bool ran = false;
  EXPECT_EQ(hasty.postTaskAndWait([&] { ran = true; }).code(), android::TIMED_OUT);
  Latch drained;
  hasty.postTask([&] { drained.countDown(); });
  hold.release();
  drained.wait();
  EXPECT_FALSE(ran);
}

TEST_F(TaskRunnerTest, ReleasesAWithdrawnTaskBeforeTheWaitReturns) {
  const auto hasty_thread = TaskRunnerThread::create(kShort);
  TaskRunner hasty(hasty_thread);
  WorkerHold hold(hasty);
  auto captured = std::make_shared<int>(1);
  const std::weak_ptr<int> watch = captured;
  EXPECT_FALSE(hasty.postTaskAndWait([captured = std::move(captured)] {}).ok());
  EXPECT_TRUE(watch.expired());
}

TEST_F(TaskRunnerTest, ATimedOutWaitForAResultSaysSo) {
  const auto hasty_thread = TaskRunnerThread::create(kShort);
  TaskRunner hasty(hasty_thread);
  WorkerHold hold(hasty);
  EXPECT_EQ(hasty.postTaskAndWait<bool>([] { return true; }).status().code(), android::TIMED_OUT);
}

TEST_F(TaskRunnerTest, AWithdrawalAsTheTaskStartsIsEitherRunOrTimedOut) {
  const auto hasty_thread = TaskRunnerThread::create(milliseconds(0));
  TaskRunner hasty(hasty_thread);
  for (int i = 0; i < 5000; ++i) {
    // Something in front of it, of varying length, so that the start falls around the time limit.
    hasty.postTask([i] {
      for (int j = 0; j < i % 16; ++j) std::this_thread::yield();
    });
    // On this stack: a task that ran after its wait was given up would write to a dead frame.
    bool ran = false;
    const KivStatus status = hasty.postTaskAndWait([&] { ran = true; });
    ASSERT_EQ(ran, status.ok());
    ASSERT_TRUE(status.ok() || status.code() == android::TIMED_OUT);
  }
}

TEST_F(TaskRunnerTest, ASignalHandlerDoesNotEndAWait) {
  struct sigaction ignoring {};
  ignoring.sa_handler = [](int /*signal*/) {};
  struct sigaction previous {};
  ASSERT_EQ(sigaction(SIGUSR1, &ignoring, &previous), 0);
  WorkerHold hold(runner);
  std::thread interrupter([&hold, waiter = pthread_self()] {
    // All but the first few come while it waits.
    for (int i = 0; i < 200; ++i) {
      pthread_kill(waiter, SIGUSR1);
      for (int j = 0; j < 10; ++j) std::this_thread::yield();
    }
    hold.release();
  });
  EXPECT_TRUE(runner.postTaskAndWait([] {}).ok());
  interrupter.join();
  sigaction(SIGUSR1, &previous, nullptr);
}

TEST_F(TaskRunnerTest, AVeryLongLimitIsNoLimit) {
  const auto patient_thread = TaskRunnerThread::create(milliseconds::max());
  TaskRunner patient(patient_thread);
  patient.postTask([] { std::this_thread::sleep_for(milliseconds(20)); });
  EXPECT_TRUE(patient.postTaskAndWait([] {}).ok());
}

TEST_F(TaskRunnerTest, AThreadKnowsItsOwners) { EXPECT_EQ(thread->shared_from_this(), thread); }

// The forms that share the object are for clients. Loggers use the flag form only: their texts are
// packed into one piece of memory, which these forms would split up again.

class Recipient {
 public:
  void take(const std::string& text, int number) {
    text_ = text;
    number_ = number;
  }

  std::string text_;
  int number_ = 0;
};

TEST_F(TaskRunnerTest, MemberFormCallsTheMemberWithItsArguments) {
  const auto recipient = std::make_shared<Recipient>();
  EXPECT_TRUE(runner.postTaskAndWait(&Recipient::take, recipient, "open", 3).ok());
  EXPECT_EQ(recipient->text_, "open");
  EXPECT_EQ(recipient->number_, 3);
}

TEST_F(TaskRunnerTest, MemberFormTellsThatTheMemberWasNotCalled) {
  const auto recipient = std::make_shared<Recipient>();
  thread.reset();
  EXPECT_EQ(runner.postTaskAndWait(&Recipient::take, recipient, "open", 3).code(),
            android::DEAD_OBJECT);
  EXPECT_EQ(recipient->text_, "");
}

TEST_F(TaskRunnerTest, MemberFormCopiesItsArguments) {
  const auto recipient = std::make_shared<Recipient>();
  WorkerHold hold(runner);
  std::string text = "before";
  runner.postTask(&Recipient::take, recipient, text, 1);
  text = "after";
  hold.release();
  ASSERT_TRUE(runner.postTaskAndWait([] {}).ok());
  EXPECT_EQ(recipient->text_, "before");
}

TEST_F(TaskRunnerTest, MemberFormCopiesATextThatIsGivenAsAPointer) {
  const auto recipient = std::make_shared<Recipient>();
  WorkerHold hold(runner);
  char text[] = "before";
  char* const pointer = text;
  runner.postTask(&Recipient::take, recipient, pointer, 1);
  text[0] = 'B';
  hold.release();
  ASSERT_TRUE(runner.postTaskAndWait([] {}).ok());
  EXPECT_EQ(recipient->text_, "before");
}

TEST_F(TaskRunnerTest, MemberFormKeepsTheObjectAliveUntilTheTaskHasRun) {
  auto recipient = std::make_shared<Recipient>();
  const std::weak_ptr<Recipient> watch = recipient;
  WorkerHold hold(runner);
  runner.postTask(&Recipient::take, std::move(recipient), "open", 1);
  EXPECT_FALSE(watch.expired());
  hold.release();
  ASSERT_TRUE(runner.postTaskAndWait([] {}).ok());
  EXPECT_TRUE(watch.expired());
}

TEST_F(TaskRunnerTest, FlagFormDoesNotShareInOwningTheObject) {
  const auto recipient = std::make_shared<Recipient>();
  WorkerHold hold(runner);
  runner.postTask(false, &Recipient::take, recipient.get(), "open", 5);
  EXPECT_EQ(recipient.use_count(), 1);
  hold.release();
  ASSERT_TRUE(runner.postTaskAndWait([] {}).ok());
  EXPECT_EQ(recipient->number_, 5);
}

TEST_F(TaskRunnerTest, FlagFormWaitsWhenAskedTo) {
  Recipient recipient;
  runner.postTask(true, &Recipient::take, &recipient, "open", 5);
  EXPECT_EQ(recipient.number_, 5);
}

using TaskRunnerDeathTest = TaskRunnerTest;

TEST_F(TaskRunnerDeathTest, ATimedOutWaitHasNoValue) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto hasty_thread = TaskRunnerThread::create(kShort);
  TaskRunner hasty(hasty_thread);
  WorkerHold hold(hasty);
  const auto result = hasty.postTaskAndWait<bool>([] { return true; });
  EXPECT_EXIT(static_cast<void>(result.value()), testing::KilledBySignal(SIGABRT),
              "Value is not set\\. status=TIMED_OUT");
}

TEST_F(TaskRunnerTest, IsDestroyedThroughTheFirstVirtualEntry) {
  callEntry<void()>(new Watched<TaskRunner>(thread), 1);
  EXPECT_EQ(Watched<TaskRunner>::destroyed, 1);
  EXPECT_EQ(Watched<TaskRunner>::freed, 0);
}

TEST_F(TaskRunnerTest, IsFreedThroughTheSecondVirtualEntry) {
  callEntry<void()>(new Watched<TaskRunner>(thread), 2);
  EXPECT_EQ(Watched<TaskRunner>::destroyed, 1);
  EXPECT_EQ(Watched<TaskRunner>::freed, 1);
}

}  // namespace
}  // namespace android::kiv
