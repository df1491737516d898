// The recording module's delay, without waiting for it: this program's own `nanosleep` is what the
// module calls.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <ctime>
#include <memory>
#include <vector>

#include "modules/recording/Recorder.h"
#include "tamsa/Ptr.h"
#include "tamsa/UnifiedTelemetry.h"

namespace {

std::vector<std::chrono::nanoseconds>* sleeps = nullptr;

}  // namespace

extern "C" __attribute__((visibility("default"))) int nanosleep(const timespec* duration,
                                                                timespec* /*remaining*/) {
  if (sleeps != nullptr) {
    sleeps->push_back(std::chrono::seconds(duration->tv_sec) +
                      std::chrono::nanoseconds(duration->tv_nsec));
  }
  return 0;
}

namespace TAMSA::UnifiedTelemetry {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SlowModuleTest : public testing::Test {
 protected:
  SlowModuleTest() {
    recorder.reset();
    sleeps = &slept;
  }
  ~SlowModuleTest() override {
    sleeps = nullptr;
    recorder.reset();
  }

  void report() { EXPECT_TRUE(handler->reportEvent(event.get(), 1)); }

  std::vector<std::chrono::nanoseconds> slept;
  recording::Recorder& recorder = recording::Recorder::getInstance();
  const std::shared_ptr<v9::ITelemetryHandler> handler = v9::createTelemetryHandlerPtr().toShared();
  const std::shared_ptr<v7::ITelemetryEvent> event =
      v7::ITelemetryEvent::rawToPtr(handler->createEvent("name")).toShared();
};

TEST_F(SlowModuleTest, TakesThatLongOverEveryReport) {
  recorder.slowDown(std::chrono::milliseconds(90'500));
  report();
  report();
  EXPECT_THAT(slept,
              ElementsAre(std::chrono::milliseconds(90'500), std::chrono::milliseconds(90'500)));
  EXPECT_EQ(recorder.events().size(), 2u);
}

TEST_F(SlowModuleTest, IsQuickAgainAfterAReset) {
  recorder.slowDown(std::chrono::milliseconds(90'500));
  recorder.reset();
  report();
  EXPECT_THAT(slept, IsEmpty());
}

}  // namespace
}  // namespace TAMSA::UnifiedTelemetry
