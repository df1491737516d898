#include "tests/support/MemoryShortage.h"

#include <cstdlib>
#include <new>

namespace {

thread_local bool is_short = false;

}  // namespace

// Not inlined: the compiler reports a mismatch if it inlines only one of a pair.
__attribute__((noinline)) void* operator new(size_t size) {
  void* const memory = is_short ? nullptr : std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

__attribute__((noinline)) void operator delete(void* memory) noexcept { std::free(memory); }

__attribute__((noinline)) void operator delete(void* memory, size_t /*size*/) noexcept {
  std::free(memory);
}

namespace kiv_test {

MemoryShortage::MemoryShortage() { is_short = true; }

MemoryShortage::~MemoryShortage() { is_short = false; }

}  // namespace kiv_test
