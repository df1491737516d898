/// Sections whose instructions and allocations are counted.
///
/// Under valgrind's callgrind or, where there is no valgrind, under QEMU with the plugin beside
/// this file, the instructions of the thread that runs a section are counted, and no other's.
#pragma once

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "bench/counts/SectionMark.h"
#include "instrumentation/AllocationCount.h"

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#endif

namespace kiv_bench {

inline void beginCount() {
#ifdef CALLGRIND_TOGGLE_COLLECT
  CALLGRIND_TOGGLE_COLLECT;
#else
  syscall(kSectionMark);
#endif
}

inline void endCount() {
#ifdef CALLGRIND_TOGGLE_COLLECT
  CALLGRIND_TOGGLE_COLLECT;
  CALLGRIND_DUMP_STATS;
#else
  syscall(kSectionMark);
#endif
}

/// Runs `section`, which does something `count` times, and prints its name, `count`, and how often
/// it allocated.
template <typename Section>
void countSection(const char* name, uint32_t count, const Section& section) {
  const kiv_test::AllocationCount allocations;
  beginCount();
  section();
  endCount();
  std::printf("%s\t%u\t%zu\n", name, count, allocations.count());
}

}  // namespace kiv_bench
