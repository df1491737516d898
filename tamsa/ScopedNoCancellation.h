/// Work that a cancellation of its thread must not interrupt.
#pragma once

#include <pthread.h>

namespace TAMSA::internal {

/// Keeps the calling thread from being cancelled while it holds what other threads wait for. A
/// request that comes meanwhile takes effect at the thread's next cancellation point after that.
/// Android has no cancellation.
class ScopedNoCancellation {
 public:
#ifdef __ANDROID__
  ScopedNoCancellation() {}
#else
  ScopedNoCancellation() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
  ~ScopedNoCancellation() { pthread_setcancelstate(before_, nullptr); }
#endif

  ScopedNoCancellation(const ScopedNoCancellation&) = delete;
  ScopedNoCancellation& operator=(const ScopedNoCancellation&) = delete;

 private:
#ifndef __ANDROID__
  int before_ = 0;
#endif
};

}  // namespace TAMSA::internal
