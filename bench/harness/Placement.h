/// On which processors threads run.
#pragma once

#include <sched.h>

namespace kiv_bench {

/// Keeps a single producer on a processor of its own while it lives: the calling thread is confined
/// to one processor, and workers started through `besides()` to the others. All contestants are
/// placed alike, so that none gains by where its worker happens to wake up.
class ProducerPlacement {
 public:
  ProducerPlacement();
  ~ProducerPlacement();

  ProducerPlacement(const ProducerPlacement&) = delete;
  ProducerPlacement& operator=(const ProducerPlacement&) = delete;

  /// What `make` returns. The threads that it starts stay off the producer's processor, unless
  /// there is no other.
  template <typename Make>
  auto besides(const Make& make) {
    confineTo(others_);
    auto made = make();
    confineTo(producer_);
    return made;
  }

 private:
  static void confineTo(const cpu_set_t& processors);

  cpu_set_t all_;
  cpu_set_t producer_;
  cpu_set_t others_;
};

}  // namespace kiv_bench
