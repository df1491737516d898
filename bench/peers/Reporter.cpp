#include "bench/peers/Reporter.h"

#include <future>

namespace kiv_bench {

void TaskReporter::drain() {
  std::promise<void> reached;
  auto done = reached.get_future();
  post([&reached] { reached.set_value(); });
  done.wait();
}

const std::vector<ReporterKind>& reporterKinds() {
  static const std::vector<ReporterKind> kinds = {
      {"library", makeLibraryReporter},
      {"spdlog async", makeSpdlogReporter},
      {"asio post", makeAsioReporter},
      {"plain queue", makePlainQueueReporter},
  };
  return kinds;
}

const std::vector<TaskReporterKind>& taskReporterKinds() {
  static const std::vector<TaskReporterKind> kinds = {
      {"library", makeLibraryReporter},
      {"asio post", makeAsioReporter},
      {"plain queue", makePlainQueueReporter},
  };
  return kinds;
}

}  // namespace kiv_bench
