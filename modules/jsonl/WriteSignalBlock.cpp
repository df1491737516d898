#include "modules/jsonl/WriteSignalBlock.h"

#include <ctime>
#include <initializer_list>

namespace TAMSA::jsonl {

WriteSignalBlock::WriteSignalBlock() {
  sigset_t pending;
  sigemptyset(&pending);
  sigpending(&pending);
  sigemptyset(&blocked_);
  for (const int signal : {SIGPIPE, SIGXFSZ}) {
    // A signal that is pending already was not raised by our write, and must stay pending.
    if (sigismember(&pending, signal) == 0) sigaddset(&blocked_, signal);
  }
  pthread_sigmask(SIG_BLOCK, &blocked_, &previous_);
}

WriteSignalBlock::~WriteSignalBlock() {
  const timespec no_wait{};
  while (sigtimedwait(&blocked_, nullptr, &no_wait) > 0) {
  }
  pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
}

}  // namespace TAMSA::jsonl
