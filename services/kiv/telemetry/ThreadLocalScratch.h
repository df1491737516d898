/// Objects of each thread that keep the capacity of their strings from one report to the next.
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

namespace android::kiv::internal {

/// Borrows the calling thread's object, whose strings keep their capacity between uses. Makes a new
/// object if the thread has none, or if it is in use.
template <typename T>
class ThreadLocalScratch {
 public:
  /// Objects that were made to hold more than this are not kept for the next.
  static constexpr size_t kMaxKept = 4096;

  /// `size` is how many bytes the object is going to hold; `make` returns a new one.
  template <typename Make>
  ThreadLocalScratch(size_t size, Make make) : keeps_(size <= kMaxKept) {
    if (kept != nullptr) object_.reset(std::exchange(kept, nullptr));
    if (object_ == nullptr) object_ = std::make_unique<T>(make());
  }
  ~ThreadLocalScratch() {
    if (!keeps_ || !isReleasedAtThreadEnd()) return;
    delete std::exchange(kept, object_.release());
  }

  ThreadLocalScratch(const ThreadLocalScratch&) = delete;
  ThreadLocalScratch& operator=(const ThreadLocalScratch&) = delete;

  T& operator*() const { return *object_; }
  T* operator->() const { return object_.get(); }

 private:
  enum class Release : uint8_t { NONE, REGISTERED, DONE };

  static void releaseKept(void* /*anything*/) {
    delete std::exchange(kept, nullptr);
    release = Release::DONE;
  }

  /// Has what the thread keeps released when the thread ends. False if that is over: a thread may
  /// report until its very end, from destructors that run after ours.
  ///
  /// A thread_local object with a destructor would do that too, but registering that destructor
  /// takes the loader's lock, for which a worker must not wait.
  static bool isReleasedAtThreadEnd() {
    if (release == Release::NONE) {
      static const char anything = 0;
      int64_t shared = key.load(std::memory_order_acquire);
      if (shared == kNoKey) {
        pthread_key_t made{};
        // Without a key the object is not kept.
        if (pthread_key_create(&made, &releaseKept) != 0) return false;
        // Threads that get here at the same time each use a key of their own.
        shared = made;
        key.store(shared, std::memory_order_release);
      }
      if (pthread_setspecific(static_cast<pthread_key_t>(shared), &anything) != 0) return false;
      release = Release::REGISTERED;
    }
    return release == Release::REGISTERED;
  }

  static constexpr int64_t kNoKey = -1;

  /// Made by the first thread. Not a static variable of the function: that has a lock, which a
  /// forked child may inherit locked.
  static inline std::atomic<int64_t> key{kNoKey};

  static inline thread_local T* kept = nullptr;
  static inline thread_local Release release = Release::NONE;

  std::unique_ptr<T> object_;
  const bool keeps_;
};

}  // namespace android::kiv::internal
