// How events wait, and how long the next try waits.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Backoff.h"
#include "ExportQueue.h"

namespace TAMSA::otlp {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;

constexpr TimePoint kStart{std::chrono::hours(1)};

class ExportQueueTest : public testing::Test {
 protected:
  bool push(const char* name, milliseconds at = milliseconds(0)) {
    return queue_.push({name, {}, {}}, kStart + at);
  }

  std::vector<std::string> takeNames() {
    std::vector<std::string> names;
    for (const LogRecord& record : queue_.takeBatch()) names.push_back(record.name);
    return names;
  }

  ExportQueue queue_{5, 3, milliseconds(100)};
};

TEST_F(ExportQueueTest, GivesNothingToDoWhileItIsEmpty) { EXPECT_EQ(queue_.dueAt(), std::nullopt); }

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

TEST_F(ExportQueueTest, GivesTheOldestFirstAndNoMoreThanABatch) {
  for (const char* name : {"a", "b", "c", "d"}) push(name);
  EXPECT_THAT(takeNames(), ElementsAre("a", "b", "c"));
  EXPECT_THAT(takeNames(), ElementsAre("d"));
  EXPECT_EQ(queue_.dueAt(), std::nullopt);
}

TEST_F(ExportQueueTest, RefusesWhatItHasNoRoomForAndKeepsTheRest) {
  for (const char* name : {"a", "b", "c", "d", "e"}) EXPECT_TRUE(push(name));
  EXPECT_FALSE(push("f"));
  EXPECT_EQ(queue_.size(), 5U);
  EXPECT_EQ(queue_.pushed(), 5U);
  EXPECT_THAT(takeNames(), ElementsAre("a", "b", "c"));
  EXPECT_TRUE(push("g"));
  EXPECT_THAT(takeNames(), ElementsAre("d", "e", "g"));
}

TEST_F(ExportQueueTest, IsEmptyWhenItIsClearedAndSaysWhatItHeld) {
  push("a");
  push("b");
  EXPECT_EQ(queue_.clear(), 2U);
  EXPECT_EQ(queue_.dueAt(), std::nullopt);
}

TEST(BackoffTest, DoublesUntilItIsLongEnough) {
  Backoff backoff;
  std::vector<milliseconds> waits;
  for (int i = 0; i < 6; ++i) waits.push_back(backoff.next(1.0));
  EXPECT_THAT(waits, ElementsAre(milliseconds(1'000), milliseconds(2'000), milliseconds(4'000),
                                 milliseconds(8'000), milliseconds(16'000), milliseconds(16'000)));
}

TEST(BackoffTest, LeavesTheSecondHalfToChance) {
  EXPECT_EQ(Backoff().next(0.0), milliseconds(500));
  EXPECT_EQ(Backoff().next(0.5), milliseconds(750));
}

TEST(BackoffTest, BeginsAnewAfterASuccess) {
  Backoff backoff;
  backoff.next(1.0);
  backoff.next(1.0);
  backoff.reset();
  EXPECT_EQ(backoff.next(1.0), milliseconds(1'000));
}

}  // namespace
}  // namespace TAMSA::otlp
