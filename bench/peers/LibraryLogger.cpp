#include "bench/peers/LibraryLogger.h"

#include "bench/library/OwnAggregations.h"

namespace kiv_bench {

using android::kiv::TaskRunnerThread;

LibraryLogger::LibraryLogger(android::kiv::TelemetrySubmissionModel model)
    : thread(TaskRunnerThread::create(std::chrono::hours(1))),
      runner(thread),
      logger(makeOwnLogger(makeSession(), kName, thread, model)) {}

}  // namespace kiv_bench
