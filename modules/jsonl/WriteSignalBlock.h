/// Keeps failing writes from raising signals.
#pragma once

#include <csignal>

namespace TAMSA::jsonl {

/// Scope guard: in this thread, a write to a closed pipe or beyond the limit of file sizes fails
/// without a signal.
class WriteSignalBlock {
 public:
  WriteSignalBlock();
  ~WriteSignalBlock();

  WriteSignalBlock(const WriteSignalBlock&) = delete;
  WriteSignalBlock& operator=(const WriteSignalBlock&) = delete;

 private:
  sigset_t blocked_;
  sigset_t previous_;
};

}  // namespace TAMSA::jsonl
