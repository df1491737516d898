/// A queue between threads.
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
/// be called from any thread. A push happens before the pop of the same object.
template <typename T>
class BoundedQueue {
 public:
  using Patience = std::chrono::milliseconds;

  enum class Push {
    TAKEN,
    FULL,    ///< Still full when the time was over.
    CLOSED,  ///< Never opens again.
  };

  explicit BoundedQueue(size_t capacity) : capacity_(capacity) {}

  /// Appends `item`, and waits for room if necessary. An item that is not taken is unchanged.
  Push push(T& item, Patience patience) {
    std::unique_lock<std::mutex> lock(mutex_);
    const auto can_decide = [this] { return closed_ || items_.size() < capacity_; };
    if (!changed_.wait_for(lock, patience, can_decide)) return Push::FULL;
    if (closed_) return Push::CLOSED;
    items_.push_back(std::move(item));
    changed_.notify_all();
    return Push::TAKEN;
  }

  /// Takes the first item, and waits for one without a limit. Returns nothing once the queue is
  /// closed and empty.
  std::optional<T> pop() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return closed_ || !items_.empty(); });
    return takeFirst();
  }

  /// Takes the first item, and waits for one at most as long as `patience`. Returns nothing if
  /// there is none.
  std::optional<T> pop(Patience patience) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait_for(lock, patience, [this] { return closed_ || !items_.empty(); });
    return takeFirst();
  }

  /// Makes all later pushes fail.
  void close() {
    const std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    changed_.notify_all();
  }

  /// True if the queue is closed and empty.
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
  std::condition_variable changed_;  // notified of changes of the following
  std::deque<T> items_;              // guarded by mutex_
  bool closed_ = false;              // guarded by mutex_
};

}  // namespace render_service
