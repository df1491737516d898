/// The window of a `TimedAggregationManager`. Not for clients.
#pragma once

#include <atomic>
#include <cstdint>

namespace android::kiv::internal {

/// A window and its state. Its layout is that of a std::optional, with a member in its padding, but
/// any thread may read the state.
template <typename Window>
class WindowSlot {
 public:
  bool isOpen() const { return isIn(State::OPEN); }

  /// True for the one thread that has to open the first window.
  bool claimFirst() {
    State before = State::NEW;
    return state_.compare_exchange_strong(before, State::CLAIMED, std::memory_order_acquire);
  }
  bool isClaimed() const { return isIn(State::CLAIMED); }

  /// `generation` differs between a process and its forked copies.
  void open(const Window& window, uint32_t generation) {
    window_ = window;
    generation_ = generation;
    state_.store(State::OPEN, std::memory_order_release);
  }
  void close() { state_.store(State::CLOSED, std::memory_order_release); }

  /// The generation of the process that opened the window.
  uint32_t generation() const { return generation_; }

  Window& operator*() { return window_; }
  Window* operator->() { return &window_; }

 private:
  enum class State : uint8_t { NEW, CLAIMED, OPEN, CLOSED };

  bool isIn(State state) const { return state_.load(std::memory_order_acquire) == state; }

  Window window_{};
  std::atomic<State> state_{State::NEW};
  uint32_t generation_ = 0;
};

}  // namespace android::kiv::internal
