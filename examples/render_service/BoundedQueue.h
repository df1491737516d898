/// Handing objects from one thread to another.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>

namespace render_service {

/// A first-in, first-out queue of limited length, which either side can close. All operations may
/// be called from any thread. What was done to an object before it was pushed is visible to whoever
/// takes it.
template <typename T>
class BoundedQueue {
 public:
  using Patience = std::chrono::milliseconds;

  enum class Push {
    TAKEN,
    FULL,    ///< And was still so when the patience ended.
    CLOSED,  ///< For good.
  };

  explicit BoundedQueue(size_t capacity) : capacity_(capacity) {}

  /// Appends `item`, waiting for room. An item that is not taken stays with the caller, untouched.
  Push push(T& item, Patience patience) {
    std::unique_lock<std::mutex> lock(mutex_);
    const auto can_decide = [this] { return closed_ || items_.size() < capacity_; };
    if (!changed_.wait_for(lock, patience, can_decide)) return Push::FULL;
    if (closed_) return Push::CLOSED;
    items_.push_back(std::move(item));
    changed_.notify_all();
    return Push::TAKEN;
  }

  /// Takes the first item, waiting for one as long as it takes. Empty once the queue is closed and
  /// all that was in it has been taken.
  std::optional<T> pop() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return closed_ || !items_.empty(); });
    return takeFirst();
  }

  /// The same, but empty also if none came in time.
  std::optional<T> pop(Patience patience) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, patience, [this] { return closed_ || !items_.empty(); });
    return takeFirst();
  }

  /// Lets nothing more in.
  void close() {
    const std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    changed_.notify_all();
  }

  /// True when no item is there or can come.
  bool drained() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return closed_ && items_.empty();
  }

  size_t size() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return items_.size();
  }

 private:
  std::optional<T> takeFirst() {
    if (items_.empty()) return std::nullopt;
    std::optional<T> item(std::move(items_.front()));
    items_.pop_front();
    changed_.notify_all();
    return item;
  }

  const size_t capacity_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;  // anything below
  std::deque<T> items_;              // guarded by mutex_
  bool closed_ = false;              // guarded by mutex_
};

}  // namespace render_service
