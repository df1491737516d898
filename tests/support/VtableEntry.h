/// Calls of virtual operations by their position, as code makes them that was built elsewhere: the
/// position is all that it knows, and no compiler checks that it is still the same.
///
/// Positions are counted from 1. A virtual destructor takes two: one entry destroys the object, the
/// next one frees it as well.
#pragma once

#include <cstddef>
#include <cstring>
#include <utility>

namespace kiv_test {

namespace internal {

template <typename Signature>
struct Entry;

/// To its caller a virtual operation is a function that takes the object first. That holds for
/// results and arguments of class type too, on all our platforms.
template <typename Result, typename... Params>
struct Entry<Result(Params...)> {
  using Function = Result(void*, Params...);
};

}  // namespace internal

/// Calls the entry at `position` of the virtual table to which `object` points.
template <typename Signature, typename... Args>
auto callEntry(void* object, int position, Args&&... args) {
  void* const* table = nullptr;
  std::memcpy(&table, object, sizeof table);
  using Function = typename internal::Entry<Signature>::Function;
  return reinterpret_cast<Function*>(table[position - 1])(object, std::forward<Args>(args)...);
}

/// A `T` that tells its destruction from its freeing. One at a time, made with `new`; its memory is
/// never really freed.
template <typename T>
class Watched : public T {
 public:
  using T::T;
  ~Watched() override { ++destroyed; }

  static void* operator new(std::size_t) {
    alignas(Watched) static std::byte memory[sizeof(Watched)];
    destroyed = 0;
    freed = 0;
    return memory;
  }
  static void operator delete(void*) { ++freed; }

  static inline int destroyed = 0;
  static inline int freed = 0;
};

}  // namespace kiv_test
