/// Bytes in use on the heap.
#pragma once

#include <malloc.h>

#include <cstddef>

namespace kiv_bench {

/// Bytes of the process's heap that are in use, with what the allocator itself adds to each
/// allocation.
inline size_t heapInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

}  // namespace kiv_bench
