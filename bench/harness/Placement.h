/// On which processors producers and workers run.
#pragma once

#include <sched.h>

namespace kiv_bench {

enum class Placement {
  /// Wherever the system puts them.
  FREE,
  /// All on one, where waking a worker costs what the call itself costs, and no contestant gains by
  /// where its worker happens to wake up.
  ONE_PROCESSOR,
  /// The producer on one, its worker on another that has nothing else to do, if there is one.
  WORKER_APART,
};

/// Confines the calling thread, which is the only producer, and the workers that it starts. Gives
/// the thread its freedom back at the end.
class Confinement {
 public:
  explicit Confinement(Placement placement);
  ~Confinement();

  Confinement(const Confinement&) = delete;
  Confinement& operator=(const Confinement&) = delete;

  /// Returns the result of `make`. Threads that `make` starts run on the workers' processor.
  template <typename Make>
  auto startWorker(const Make& make) const {
    confineTo(workers_);
    auto made = make();
    confineTo(producer_);
    return made;
  }

 private:
  static void confineTo(const cpu_set_t& processors);

  cpu_set_t all_;
  cpu_set_t producer_;
  cpu_set_t workers_;
};

}  // namespace kiv_bench
