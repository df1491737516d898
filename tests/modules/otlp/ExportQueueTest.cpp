// The queue of records, and the delays of retries.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "modules/otlp/ExportQueue.h"
#include "modules/otlp/RetrySchedule.h"

namespace TAMSA::otlp {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;

constexpr TimePoint kStart{std::chrono::hours(1)};
constexpr size_t kAnyNumber = 1'000'000;

class ExportQueueTest : public testing::Test {
 protected:
  bool push(const std::string& text, milliseconds at = milliseconds(0)) {
    return queue_.push({text, 1, 1, ++window_}, kStart + at);
  }

  /// All events of one submission have the same end of their window.
  bool pushOf(uint64_t source, int64_t window_end) {
    return queue_.push({"x", 1, source, window_end}, kStart);
  }

  std::vector<std::string> takeBatch(size_t max_records = 3, size_t max_bytes = kAnyNumber) {
    const auto views = queue_.beginBatch(max_records, max_bytes);
    std::vector<std::string> batch(views.begin(), views.end());
    queue_.settleBatch();
    return batch;
  }

  ExportQueue queue_{5, 3, milliseconds(100)};
  int64_t window_ = 0;
};

using ExportQueueSubmission = ExportQueueTest;

TEST_F(ExportQueueTest, IsNotDueWhileItIsEmpty) { EXPECT_EQ(queue_.dueAt(), std::nullopt); }

TEST_F(ExportQueueTest, IsDueWhenTheOldestRecordHasWaitedForTheDelay) {
  push("a");
  push("b", milliseconds(50));
  EXPECT_EQ(queue_.dueAt(), kStart + milliseconds(100));
}

TEST_F(ExportQueueTest, IsDueAtOnceWithAWholeBatch) {
  push("a");
  push("b");
  EXPECT_EQ(queue_.dueAt(), kStart + milliseconds(100));
  push("c");
  EXPECT_EQ(queue_.dueAt(), TimePoint::min());
}

TEST_F(ExportQueueTest, GivesTheOldestRecordsFirst) {
  for (const char* text : {"a", "b", "c", "d"}) push(text);
  EXPECT_THAT(takeBatch(), ElementsAre("a", "b", "c"));
  EXPECT_THAT(takeBatch(), ElementsAre("d"));
  EXPECT_EQ(queue_.dueAt(), std::nullopt);
}

TEST_F(ExportQueueTest, LimitsTheBytesOfABatch) {
  for (const char* text : {"aa", "bb", "cc"}) push(text);
  EXPECT_THAT(takeBatch(3, 5), ElementsAre("aa", "bb"));
}

TEST_F(ExportQueueTest, GivesARecordThatExceedsTheBytesAlone) {
  push("long");
  push("b");
  EXPECT_THAT(takeBatch(3, 2), ElementsAre("long"));
}

TEST_F(ExportQueueTest, RefusesRecordsWhileItIsFull) {
  for (const char* text : {"a", "b", "c", "d", "e"}) EXPECT_TRUE(push(text));
  EXPECT_FALSE(push("f"));
  EXPECT_EQ(queue_.pushed(), 5U);
  EXPECT_THAT(takeBatch(), ElementsAre("a", "b", "c"));
  EXPECT_TRUE(push("g"));
  EXPECT_THAT(takeBatch(), ElementsAre("d", "e", "g"));
}

TEST_F(ExportQueueTest, CountsRecordsThatAreUnderWay) {
  for (const char* text : {"a", "b", "c", "d", "e"}) push(text);
  queue_.beginBatch(3, kAnyNumber);
  EXPECT_FALSE(push("f"));
}

TEST_F(ExportQueueTest, GivesAReturnedBatchFirst) {
  for (const char* text : {"a", "b"}) push(text);
  queue_.beginBatch(3, kAnyNumber);
  push("c");
  queue_.returnBatch();
  EXPECT_THAT(takeBatch(), ElementsAre("a", "b", "c"));
}

TEST_F(ExportQueueTest, ClearsAllButTheBatch) {
  for (const char* text : {"a", "b", "c", "d"}) push(text);
  queue_.beginBatch(1, kAnyNumber);
  EXPECT_EQ(queue_.clear().events, 3U);
  EXPECT_EQ(queue_.size(), 1U);
  EXPECT_EQ(queue_.settleBatch().events, 1U);
  EXPECT_EQ(queue_.size(), 0U);
  EXPECT_EQ(queue_.removed(), 4U);
}

TEST_F(ExportQueueTest, CountsTheReportsOfWhatItRemoves) {
  queue_.push({"a", 10, 1, 1}, kStart);
  queue_.push({"b", 5, 1, 2}, kStart);
  queue_.beginBatch(1, kAnyNumber);
  EXPECT_EQ(queue_.clear().reports, 5U);
  EXPECT_EQ(queue_.settleBatch().reports, 10U);
}

TEST_F(ExportQueueSubmission, ThatHasBegunIsTakenWhole) {
  for (int i = 0; i < 17'000; ++i) ASSERT_TRUE(pushOf(1, 1)) << i;
  EXPECT_FALSE(pushOf(1, 2));
}

TEST_F(ExportQueueSubmission, OfAHandlerWithoutRecordsIsTakenWhole) {
  for (int i = 0; i < 17'000; ++i) pushOf(1, 1);
  for (int i = 0; i < 100; ++i) ASSERT_TRUE(pushOf(2, 7)) << i;
  EXPECT_FALSE(pushOf(2, 8));
}

TEST_F(ExportQueueSubmission, IsRefusedWhileThePreviousOneOfItsHandlerWaits) {
  for (int i = 0; i < 6; ++i) pushOf(1, 1);
  EXPECT_FALSE(pushOf(1, 2));
  for (int i = 0; i < 2; ++i) takeBatch();
  EXPECT_TRUE(pushOf(1, 2));
}

TEST_F(ExportQueueSubmission, IsLimitedInTheEnd) {
  size_t taken = 0;
  while (pushOf(1, 1)) ++taken;
  EXPECT_EQ(taken, ExportQueue::kHardLimit);
  EXPECT_FALSE(pushOf(2, 1));
}

TEST(BackoffTest, DoublesUpToALimit) {
  Backoff backoff;
  std::vector<milliseconds> delays;
  for (int i = 0; i < 6; ++i) delays.push_back(backoff.next(1.0));
  EXPECT_THAT(delays, ElementsAre(milliseconds(1'000), milliseconds(2'000), milliseconds(4'000),
                                  milliseconds(8'000), milliseconds(16'000), milliseconds(16'000)));
}

TEST(BackoffTest, HasJitterInItsSecondHalf) {
  EXPECT_EQ(Backoff().next(0.0), milliseconds(500));
  EXPECT_EQ(Backoff().next(0.5), milliseconds(750));
}

class RetryScheduleTest : public testing::Test {
 protected:
  std::chrono::nanoseconds delay() const { return schedule_.nextAttempt() - kStart; }

  RetrySchedule schedule_;
};

TEST_F(RetryScheduleTest, DelaysNothingAtFirst) {
  EXPECT_EQ(schedule_.nextAttempt(), TimePoint::min());
}

TEST_F(RetryScheduleTest, DelaysLongerAfterEachFailure) {
  schedule_.onFailure(kStart, {}, 1.0);
  EXPECT_EQ(delay(), seconds(1));
  schedule_.onFailure(kStart, {}, 1.0);
  EXPECT_EQ(delay(), seconds(2));
}

TEST_F(RetryScheduleTest, DelaysAsLongAsTheCollectorAsks) {
  schedule_.onFailure(kStart, seconds(40), 1.0);
  EXPECT_EQ(delay(), seconds(40));
}

TEST_F(RetryScheduleTest, DelaysNoLessThanTheBackoff) {
  schedule_.onFailure(kStart, {}, 1.0);
  schedule_.onFailure(kStart, seconds(1), 1.0);
  EXPECT_EQ(delay(), seconds(2));
}

TEST_F(RetryScheduleTest, DelaysNoLongerThanAnHour) {
  schedule_.onFailure(kStart, std::chrono::hours(10'000), 1.0);
  EXPECT_EQ(delay(), std::chrono::hours(1));
}

TEST_F(RetryScheduleTest, StartsAgainAfterASuccess) {
  schedule_.onFailure(kStart, seconds(40), 1.0);
  schedule_.onSuccess();
  EXPECT_EQ(schedule_.nextAttempt(), TimePoint::min());
  schedule_.onFailure(kStart, {}, 1.0);
  EXPECT_EQ(delay(), seconds(1));
}

TEST_F(RetryScheduleTest, EndsABackoffOnDemandButNotARequestedDelay) {
  schedule_.onFailure(kStart, {}, 1.0);
  schedule_.endBackoff();
  EXPECT_EQ(schedule_.nextAttempt(), TimePoint::min());
  schedule_.onFailure(kStart, seconds(1), 1.0);
  schedule_.endBackoff();
  EXPECT_EQ(delay(), seconds(1));
}

}  // namespace
}  // namespace TAMSA::otlp
