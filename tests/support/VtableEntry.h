/// Calls virtual operations by their position in the virtual table, as binaries do that were built
/// against an earlier version. The compiler cannot check that the positions are unchanged.
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

/// On all supported platforms a virtual operation is called like a function whose first parameter
/// is the object, also with results and arguments of class type.
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

/// A `T` that counts its destruction and its deallocation separately. One at a time, made with
/// `new`; its memory is static.
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
