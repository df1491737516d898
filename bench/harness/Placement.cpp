#include "bench/harness/Placement.h"

namespace kiv_bench {

namespace {

/// The last one, since interrupts tend to be served by the first.
cpu_set_t lastOf(const cpu_set_t& processors) {
  unsigned last = CPU_SETSIZE - 1;
  while (last > 0 && !CPU_ISSET(last, &processors)) --last;
  cpu_set_t only_last{};
  CPU_SET(last, &only_last);
  return only_last;
}

cpu_set_t difference(const cpu_set_t& processors, const cpu_set_t& without) {
  cpu_set_t rest{};
  CPU_XOR(&rest, &processors, &without);
  return CPU_COUNT(&rest) > 0 ? rest : processors;
}

}  // namespace

Confinement::Confinement(Placement placement) : all_() {
  sched_getaffinity(0, sizeof(all_), &all_);
  producer_ = placement == Placement::FREE ? all_ : lastOf(all_);
  workers_ = placement == Placement::WORKER_APART ? difference(all_, producer_) : producer_;
  confineTo(producer_);
}

Confinement::~Confinement() { confineTo(all_); }

void Confinement::confineTo(const cpu_set_t& processors) {
  sched_setaffinity(0, sizeof(processors), &processors);
}

}  // namespace kiv_bench
