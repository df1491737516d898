/// A want of memory. Programs that use it link MemoryShortage.cpp, which replaces the global
/// operator new.
#pragma once

namespace kiv_test {

/// While it lives, the thread that made it gets no memory. Others do.
class MemoryShortage {
 public:
  MemoryShortage();
  ~MemoryShortage();

  MemoryShortage(const MemoryShortage&) = delete;
  MemoryShortage& operator=(const MemoryShortage&) = delete;
};

/// What `call` returns if there is no memory for it.
template <typename Call>
auto withoutMemory(Call call) {
  const MemoryShortage shortage;
  return call();
}

}  // namespace kiv_test
