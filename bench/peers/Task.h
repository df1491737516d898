/// A report as one binds it for a worker when there is no library for that: copies of its texts,
/// and a share in its session.
#pragma once

#include <cstdint>
#include <memory>

#include "bench/peers/Report.h"

namespace kiv_bench {

/// Where the peers' workers take reports. They do the least that is possible: the library's worker
/// logs a line and aggregates.
class Takings {
 public:
  void take(const android::kiv::KivSessionId& session, const Report& report) {
    asm volatile("" : : "r"(&session), "r"(&report) : "memory");
    ++count_;
  }

 private:
  uint64_t count_ = 0;  // touched by the worker only
};

inline auto bindReport(Takings& takings, std::shared_ptr<android::kiv::KivSessionId> session,
                       const Report& report) {
  return [&takings, session = std::move(session), report] { takings.take(*session, report); };
}

}  // namespace kiv_bench
