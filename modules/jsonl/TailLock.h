/// A file lock that writers of lines hold while they look at the end of the file and change it.
#pragma once

namespace TAMSA::jsonl {

/// RAII lock by `flock`. Waits for other holders a tenth of a second at most, and then, for ten
/// seconds, not at all: a reader or a stopped process may hold the lock for any length of time.
class TailLock {
 public:
  /// `file` must be open while the lock lives.
  explicit TailLock(int file);
  ~TailLock();

  TailLock(const TailLock&) = delete;
  TailLock& operator=(const TailLock&) = delete;

  /// False if another holder did not release it in time, and where the file system has no locks.
  bool isHeld() const { return is_held_; }

 private:
  const int file_;
  const bool is_held_;
};

}  // namespace TAMSA::jsonl
