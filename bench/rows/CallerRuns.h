/// Measurements of one reporter for the rows about callers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "bench/harness/Placement.h"
#include "bench/peers/Reporter.h"

namespace kiv_bench {

/// Who reports. More than one thread are not confined.
struct Producers {
  size_t threads;
  Placement placement;
};

/// Reports per thread, one each 100 to 300 microseconds: p50 and p99 of a call in ns.
std::vector<double> runPaced(const ReporterKind& kind, const Producers& producers,
                             uint32_t reports);

/// Processor time of the whole process per paced report, in ns, with the sleeps between reports.
std::vector<double> runProcessorTime(const ReporterKind& kind, const Producers& producers,
                                     uint32_t reports);

/// Bursts of 1 000 reports per thread, and time for the worker to catch up in between: ns a report
/// over whole bursts, and p99 of a call.
std::vector<double> runBursts(const ReporterKind& kind, const Producers& producers,
                              uint32_t bursts);

/// As many reports per thread as fast as can be, until the worker has seen to the last: millions a
/// second.
std::vector<double> runSustained(const ReporterKind& kind, const Producers& producers,
                                 uint32_t reports);

}  // namespace kiv_bench
