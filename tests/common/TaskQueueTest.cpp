// The queue's own view of its length.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "services/kiv/common/TaskQueue.h"
#include "tests/support/LogCapture.h"

namespace android::kiv::internal {
namespace {

using ::kiv_test::LogCapture;
using testing::IsEmpty;

/// Defines `admitsBeyondMark()`, which returns the private operation. An explicit instantiation may
/// name it.
template <auto member>
struct Opened {
  friend auto admitsBeyondMark() { return member; }
};
auto admitsBeyondMark();
template struct Opened<&TaskQueue::admitsBeyondMark>;

TEST(TaskQueue, IsNotOverfullIfTheWorkerOvertakesAPost) {
  const LogCapture log;
  TaskQueue queue(std::chrono::seconds(1));
  for (int i = 0; i < 3; ++i) queue.post([] {});
  queue.close();
  queue.run();
  // Looked at late, by the thread that posted the first of the tasks.
  constexpr uint32_t kFirstPlace = 0;
  EXPECT_TRUE((queue.*admitsBeyondMark())(kFirstPlace));
  EXPECT_THAT(log.lines(), IsEmpty());
}

}  // namespace
}  // namespace android::kiv::internal
