#include "TerminationSignals.h"

#include <utility>

namespace render_service {

namespace {

sigset_t terminationSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  return signals;
}

}  // namespace

void blockTerminationSignals() {
  const sigset_t signals = terminationSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

TerminationSignals::TerminationSignals(std::function<void()> stop)
    : stop_(std::move(stop)), thread_([this] { run(); }) {}

TerminationSignals::~TerminationSignals() {
  // Wakes the thread if it still waits. The signal goes to that thread only, which has it blocked.
  ending_ = true;
  pthread_kill(thread_.native_handle(), SIGINT);
  thread_.join();
}

void TerminationSignals::run() {
  const sigset_t signals = terminationSignals();
  int signal = 0;
  while (sigwait(&signals, &signal) != 0) {
  }
  if (ending_) return;
  received_ = signal;
  stop_();
}

}  // namespace render_service
