/// Memory that serves one report after the other.
#pragma once

#include <cstddef>
#include <memory>
#include <utility>

namespace android::kiv::internal {

/// An object that the calling thread has used before, so that its strings have memory already. One
/// that is made while another is in use, or that is the thread's first, is a fresh one.
template <typename T>
class ThreadLocalScratch {
 public:
  /// Objects that were made to hold more than this are not kept for the next.
  static constexpr size_t kMaxKept = 4096;

  /// `size` says how much it is going to hold; `make` gives a fresh one.
  template <typename Make>
  ThreadLocalScratch(size_t size, Make make) : keeps_(size <= kMaxKept) {
    if (!thread_ended) object_ = std::move(kept().object);
    if (object_ == nullptr) object_ = std::make_unique<T>(make());
  }
  ~ThreadLocalScratch() {
    if (keeps_ && !thread_ended) kept().object = std::move(object_);
  }

  ThreadLocalScratch(const ThreadLocalScratch&) = delete;
  ThreadLocalScratch& operator=(const ThreadLocalScratch&) = delete;

  T& operator*() const { return *object_; }
  T* operator->() const { return object_.get(); }

 private:
  struct Kept {
    ~Kept() { thread_ended = true; }
    std::unique_ptr<T> object;
  };

  static Kept& kept() {
    static thread_local Kept kept;
    return kept;
  }

  // A thread may report until its very end: from destructors that run after ours.
  static inline thread_local bool thread_ended = false;

  std::unique_ptr<T> object_;
  const bool keeps_;
};

}  // namespace android::kiv::internal
