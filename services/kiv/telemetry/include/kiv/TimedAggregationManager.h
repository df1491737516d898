/// Puts an aggregator under a time window.
#pragma once

#include <chrono>
#include <memory>

#include "kiv/Export.h"
#include "kiv/KivBaseAggregator.h"
#include "kiv/internal/WindowSlot.h"

namespace android::kiv {

namespace internal {
struct DeviceLayout;
struct WindowAccess;
}  // namespace internal

/// The length of every window of the library.
inline constexpr std::chrono::milliseconds kAggregationPeriod{5000};

/// Closes windows when their period is over: lets the aggregator submit them, and opens the next.
///
/// There is no timer: a window closes with the first report that comes more than the period after
/// it opened, with `flush()` or `stop()`, or with the manager's destruction. A window's age is
/// measured on the steady clock; its reported start and end are wall-clock times, and one window
/// ends exactly where the next begins.
///
/// Not synchronized: callers must serialize their calls.
///
/// Instantiated in the library for its own kinds of events.
template <typename Event>
class KIV_EXPORT TimedAggregationManager {
 public:
  /// Makes a stopped manager over `aggregator`, which must not be used otherwise from now on. A
  /// period of more than 292 years is taken for 292 years.
  TimedAggregationManager(std::shared_ptr<KivAggregator<Event>> aggregator,
                          std::chrono::milliseconds aggregation_period);

  /// Submits the open window, if running.
  ~TimedAggregationManager();

  TimedAggregationManager(const TimedAggregationManager&) = delete;
  TimedAggregationManager& operator=(const TimedAggregationManager&) = delete;

  /// Empties the aggregator and opens a window. Does nothing if running.
  void start();

  /// Closes the window if it is over, then adds a report to the open one. While stopped, the report
  /// is dropped with an error log line.
  void add(const Event& event);

  /// Submits the open window and opens the next. False, with an error log line, while stopped, and
  /// beyond the limit of nested submissions, where the window stays open.
  bool flush();

  /// Submits the open window and stops. False, with a debug log line, if already stopped. Beyond
  /// the limit of nested submissions, false, with an error log line, and the manager keeps running.
  bool stop();

 private:
  friend struct internal::DeviceLayout;
  friend struct internal::WindowAccess;

  struct Window {
    std::chrono::steady_clock::time_point started_steady;
    std::chrono::system_clock::time_point started_system;
  };

  std::shared_ptr<KivAggregator<Event>> aggregator_;
  std::chrono::milliseconds aggregation_period_;
  internal::WindowSlot<Window> window_;  // open exactly while running
};

}  // namespace android::kiv
