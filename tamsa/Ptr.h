/// Owners of objects that the telemetry module hands out.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "tamsa/SymbolCache.h"

namespace TAMSA {

/// The only owner of a raw module object, with the function that destroys it. May be empty.
template <typename T>
class Ptr {
 public:
  using Destroy = void (*)(T*);

  Ptr() = default;
  Ptr(T* object, Destroy destroy) : object_(object), destroy_(destroy) {}
  ~Ptr() { reset(); }

  Ptr(Ptr&& other) noexcept
      : object_(std::exchange(other.object_, nullptr)), destroy_(other.destroy_) {}
  Ptr& operator=(Ptr&& other) noexcept {
    // The old object goes last: while it is destroyed, the module may come back for the new one.
    Ptr taken(std::move(other));
    std::swap(object_, taken.object_);
    std::swap(destroy_, taken.destroy_);
    return *this;
  }
  Ptr(const Ptr&) = delete;
  Ptr& operator=(const Ptr&) = delete;

  explicit operator bool() const { return object_ != nullptr; }
  T* get() const { return object_; }

  /// Hands the object over to a shared pointer, which destroys it with the same function. Without
  /// such a function the object is the module's to keep.
  std::shared_ptr<T> toShared() && {
    if (object_ == nullptr) return nullptr;
    return std::shared_ptr<T>(std::exchange(object_, nullptr), [destroy = destroy_](T* object) {
      if (destroy != nullptr) destroy(object);
    });
  }

 private:
  void reset() {
    if (object_ != nullptr && destroy_ != nullptr) destroy_(object_);
  }

  T* object_ = nullptr;
  Destroy destroy_ = nullptr;
};

namespace internal {

/// Destroys objects of type `T` through the module's function `Name`.
template <typename T, const char* Name, int64_t Version>
struct PtrFactory {
  static void destroy(T* object) {
    // A module without the function keeps its objects: a leak there beats a crash here.
    auto* const function = Symbol::Cache<Name, void(int64_t, void*) noexcept>::getCached();
    if (function != nullptr) function(Version, object);
  }
};

}  // namespace internal

}  // namespace TAMSA
