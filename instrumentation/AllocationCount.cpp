#include "instrumentation/AllocationCount.h"

#include <cstdlib>
#include <new>

namespace {

thread_local size_t allocations = 0;

}  // namespace

void* operator new(size_t size) {
  ++allocations;
  if (void* const memory = std::malloc(size == 0 ? 1 : size)) return memory;
  std::abort();
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t /*size*/) noexcept { std::free(memory); }

namespace kiv_test {

AllocationCount::AllocationCount() : start_(allocations) {}

size_t AllocationCount::count() const { return allocations - start_; }

}  // namespace kiv_test
