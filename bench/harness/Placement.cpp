#include "Placement.h"

namespace kiv_bench {

ProducerPlacement::ProducerPlacement() : all_(), producer_(), others_() {
  sched_getaffinity(0, sizeof(all_), &all_);
  // The last one, since interrupts tend to be served by the first.
  int last = CPU_SETSIZE - 1;
  while (last > 0 && !CPU_ISSET(static_cast<unsigned>(last), &all_)) --last;
  CPU_SET(static_cast<unsigned>(last), &producer_);
  CPU_XOR(&others_, &all_, &producer_);
  if (CPU_COUNT(&others_) == 0) others_ = all_;
  confineTo(producer_);
}

ProducerPlacement::~ProducerPlacement() { confineTo(all_); }

void ProducerPlacement::confineTo(const cpu_set_t& processors) {
  sched_setaffinity(0, sizeof(processors), &processors);
}

}  // namespace kiv_bench
