/// Simulates a lack of memory. Programs that use it link MemoryShortage.cpp, which replaces the
/// global operator new.
#pragma once

namespace kiv_test {

/// While it exists, allocations fail on the thread that constructed it.
class MemoryShortage {
 public:
  MemoryShortage();
  ~MemoryShortage();

  MemoryShortage(const MemoryShortage&) = delete;
  MemoryShortage& operator=(const MemoryShortage&) = delete;
};

/// The result of `call` when every allocation in it fails.
template <typename Call>
auto withoutMemory(Call call) {
  const MemoryShortage shortage;
  return call();
}

}  // namespace kiv_test
