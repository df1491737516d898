/// Puts an aggregator under a time window.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>

#include "kiv/Export.h"
#include "kiv/KivBaseAggregator.h"

namespace android::kiv {

struct AggregationKey;

namespace internal {

/// The open window of a manager, if any. Laid out as a std::optional, but any thread may ask for
/// its state.
template <typename Window>
class WindowSlot {
 public:
  bool isOpen() const { return isIn(State::OPEN); }

  /// True for the one thread that opens the first window now.
  bool claimFirst() {
    State before = State::NEW;
    return state_.compare_exchange_strong(before, State::CLAIMED, std::memory_order_acquire);
  }
  bool isClaimed() const { return isIn(State::CLAIMED); }

  void open(const Window& window) {
    window_ = window;
    state_.store(State::OPEN, std::memory_order_release);
  }
  void close() { state_.store(State::CLOSED, std::memory_order_release); }

  Window& operator*() { return window_; }
  Window* operator->() { return &window_; }

 private:
  enum class State : uint8_t { NEW, CLAIMED, OPEN, CLOSED };

  bool isIn(State state) const { return state_.load(std::memory_order_acquire) == state; }

  Window window_{};
  std::atomic<State> state_{State::NEW};
};

}  // namespace internal

/// The length of every window of the library.
inline constexpr std::chrono::milliseconds kAggregationPeriod{5000};

/// Decides when a window is over, has the aggregator submit it, and opens the next.
///
/// There is no timer: a window closes with the first report that comes more than the period after
/// it opened, with `flush()` or `stop()`, or with the manager's destruction. Its age is measured on
/// the steady clock; its reported start and end are wall-clock times, and one window ends exactly
/// where the next begins.
///
/// Not synchronised: operations are called by one thread at a time.
///
/// Instantiated in the library for its own kinds of events.
template <typename Event>
class KIV_EXPORT TimedAggregationManager {
 public:
  /// A stopped manager over `aggregator`, which nobody else uses from now on.
  TimedAggregationManager(std::shared_ptr<KivAggregator<Event>> aggregator,
                          std::chrono::milliseconds aggregation_period);

  /// Submits the open window, if running.
  ~TimedAggregationManager();

  TimedAggregationManager(const TimedAggregationManager&) = delete;
  TimedAggregationManager& operator=(const TimedAggregationManager&) = delete;

  /// Empties the aggregator and opens a window. Does nothing if running.
  void start();

  /// Takes a report into the window that is open now, after closing one that is over. While
  /// stopped, the report is dropped with an error log line.
  void add(const Event& event);

  /// For the library's own loggers: does the same for a report of which there is no record. False
  /// if that takes a record, because the aggregator is none of the library's own.
  KIV_HIDDEN bool addReport(const AggregationKey& key, NumericAggregationType method, float sample);

  /// For loggers that are constructed on any thread, while the owner's thread may call everything
  /// else: `start()` on a manager that was never started. False if it was stopped since, so that
  /// only its owner may start it.
  KIV_HIDDEN bool startIfNew();

  /// For the library's own end: submits the open window, if any, and releases the telemetry
  /// module's handler. Reports are taken afterwards as before.
  KIV_HIDDEN void finish();

  /// Submits the open window and opens the next. False, with an error log line, while stopped, and
  /// inside too many submissions that lie within each other.
  bool flush();

  /// Submits the open window and stops. False, with a debug log line, if already stopped. Inside
  /// too many submissions that lie within each other, false, with an error log line, and it goes
  /// on.
  bool stop();

 private:
  friend struct DeviceLayout;

  struct Window {
    std::chrono::steady_clock::time_point started_steady;
    std::chrono::system_clock::time_point started_system;
  };

  KIV_HIDDEN static Window openWindow();

  /// Empties the aggregator and opens a window.
  KIV_HIDDEN void begin();

  /// Makes sure that the open window is not over. False, with an error log line, while stopped.
  KIV_HIDDEN bool rollOverIfExpired();

  /// Opens the next window and submits the one before it. Only while running. In the depth of
  /// submissions that lie within each other it leaves the window as it is, and returns false.
  KIV_HIDDEN bool rollOver();

  /// The same, with an error log line for an operation that fails.
  KIV_HIDDEN bool rollOverFor(const char* operation);

  std::shared_ptr<KivAggregator<Event>> aggregator_;
  std::chrono::milliseconds aggregation_period_;
  internal::WindowSlot<Window> window_;  // open exactly while running
};

}  // namespace android::kiv
