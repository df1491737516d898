/// Counts the current thread's allocations. Programs that use it link AllocationCount.cpp, which
/// replaces the global operator new.
#pragma once

#include <cstddef>

namespace kiv_test {

class AllocationCount {
 public:
  AllocationCount();

  /// Allocations by the constructing thread since construction.
  size_t count() const;

 private:
  size_t start_;
};

}  // namespace kiv_test
