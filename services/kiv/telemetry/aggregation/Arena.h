/// Memory that is allocated piece by piece and released all at once.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace android::kiv {

class Arena {
 public:
  /// Memory for any object of up to a pointer's alignment.
  void* allocate(size_t bytes);

  /// Takes back all pieces. Keeps one small block for the next ones.
  void clear();

 private:
  struct Block {
    std::unique_ptr<char[]> bytes;
    size_t size = 0;
  };

  std::vector<Block> blocks_;
  size_t used_ = 0;   // of the last block
  size_t total_ = 0;  // in all blocks
};

}  // namespace android::kiv
