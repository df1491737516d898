#include "bench/peers/PlainQueue.h"
#include "bench/peers/Reporter.h"
#include "bench/peers/Task.h"

namespace kiv_bench {

namespace {

class PlainQueueReporter final : public TaskReporter {
 public:
  void report(const Report& report) override {
    queue_.post(bindReport(takings_, session_, report));
  }

  void post(std::function<void()> task) override { queue_.post(std::move(task)); }

 private:
  const std::shared_ptr<android::kiv::KivSessionId> session_ =
      std::make_shared<android::kiv::KivSessionId>(makeSession());
  Takings takings_;
  PlainQueue queue_;
};

}  // namespace

std::unique_ptr<TaskReporter> makePlainQueueReporter() {
  return std::make_unique<PlainQueueReporter>();
}

}  // namespace kiv_bench
