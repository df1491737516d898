/// Ending a process in order when SIGTERM or SIGINT arrives.
#pragma once

#include <pthread.h>

#include <atomic>
#include <csignal>
#include <functional>
#include <thread>

namespace render_service {

/// Blocks SIGTERM and SIGINT in the calling thread and in the threads that it creates from now on.
/// Call it in `main` before anything creates a thread, and that includes the first use of
/// telemetry: one thread that doesn't block the signals is enough for the kernel to end the process
/// there.
void blockTerminationSignals();

/// Waits on its own thread for SIGTERM or SIGINT, and calls `stop` on that thread when the first
/// one arrives. Further signals stay blocked. `blockTerminationSignals` must have been called
/// before.
///
/// `stop` runs on an ordinary thread, not in a signal handler, so it may take locks and allocate.
class TerminationSignals {
 public:
  explicit TerminationSignals(std::function<void()> stop);
  ~TerminationSignals();

  TerminationSignals(const TerminationSignals&) = delete;
  TerminationSignals& operator=(const TerminationSignals&) = delete;

  /// The signal that arrived, or 0. Any thread.
  int received() const { return received_; }

 private:
  void run();

  const std::function<void()> stop_;
  std::atomic<int> received_{0};
  std::atomic<bool> ending_{false};
  std::thread thread_;  // last, because it uses all of the above
};

}  // namespace render_service
