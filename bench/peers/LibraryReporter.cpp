#include "bench/peers/LibraryLogger.h"
#include "bench/peers/Reporter.h"

namespace kiv_bench {

namespace {

class LibraryReporter final : public TaskReporter {
 public:
  void report(const Report& report) override { library_.report(report); }
  void post(std::function<void()> task) override { library_.runner.postTask(std::move(task)); }

 private:
  LibraryLogger library_{android::kiv::TelemetrySubmissionModel::NON_BLOCKING};
};

}  // namespace

std::unique_ptr<TaskReporter> makeLibraryReporter() { return std::make_unique<LibraryReporter>(); }

}  // namespace kiv_bench
