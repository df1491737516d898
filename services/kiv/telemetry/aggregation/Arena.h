/// An arena: memory that is allocated piece by piece and released all at once.
#pragma once

#include <cstddef>

namespace android::kiv::internal {

class Arena {
 public:
  Arena() = default;
  ~Arena() { release(); }

  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;

  /// Memory for any object of up to a pointer's alignment.
  void* allocate(size_t bytes);

  /// Releases all pieces. Keeps one small block for the next ones.
  void clear();

 private:
  /// The header of a block, followed by its memory.
  struct Block {
    Block* previous;
  };

  void release();

  Block* last_ = nullptr;
  size_t left_ = 0;   // in the last block
  size_t total_ = 0;  // in all blocks
};

}  // namespace android::kiv::internal
