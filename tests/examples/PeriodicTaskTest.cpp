#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "examples/render_service/PeriodicTask.h"
#include "tests/support/Latch.h"

namespace {

using kiv_test::Latch;
using render_service::PeriodicTask;
using std::chrono::hours;
using std::chrono::milliseconds;

TEST(PeriodicTask, CallsItsTaskAgainAndAgain) {
  Latch three_calls(3);
  const PeriodicTask task(milliseconds(1), [&] { three_calls.countDown(); });
  three_calls.wait();
}

TEST(PeriodicTask, CallsItsTaskOnAThreadOfItsOwn) {
  Latch called;
  std::thread::id caller;
  {
    const PeriodicTask task(milliseconds(1), [&] {
      caller = std::this_thread::get_id();
      called.countDown();
    });
    called.wait();
  }
  EXPECT_NE(caller, std::thread::id());
  EXPECT_NE(caller, std::this_thread::get_id());
}

TEST(PeriodicTask, EndsWithoutWaitingForThePeriod) {
  // The test would run into its time limit otherwise.
  const PeriodicTask task(hours(24), [] { ADD_FAILURE() << "The period is not over."; });
}

}  // namespace
