#include "modules/jsonl/TailLock.h"

#include <sys/file.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>

namespace TAMSA::jsonl {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kLongestWait{100};
constexpr std::chrono::milliseconds kBetweenTries{1};
constexpr std::chrono::seconds kPauseAfterTimeout{10};

/// Until then, no thread of this process waits.
std::atomic<Clock::time_point> next_wait{Clock::time_point::min()};

bool isHeldByAnother(int error) { return error == EWOULDBLOCK || error == EINTR; }

bool lock(int file) {
  const Clock::time_point begin = Clock::now();
  const bool may_wait = begin >= next_wait.load(std::memory_order_relaxed);
  for (;;) {
    if (flock(file, LOCK_EX | LOCK_NB) == 0) return true;
    if (!isHeldByAnother(errno) || !may_wait) return false;
    if (Clock::now() >= begin + kLongestWait) break;
    std::this_thread::sleep_for(kBetweenTries);
  }
  next_wait.store(Clock::now() + kPauseAfterTimeout, std::memory_order_relaxed);
  return false;
}

}  // namespace

TailLock::TailLock(int file) : file_(file), is_held_(lock(file)) {}

TailLock::~TailLock() {
  // Closing the file is not enough if another thread forked: the child's copy would hold the lock.
  if (is_held_) flock(file_, LOCK_UN);
}

}  // namespace TAMSA::jsonl
