/// The library's own operations on the window of a `TimedAggregationManager`, beyond the public
/// ones.
#pragma once

#include <android/log.h>

#include <chrono>

#include "kiv/TimedAggregationManager.h"
#include "services/kiv/telemetry/aggregation/Clock.h"
#include "services/kiv/telemetry/aggregation/EventSubmission.h"
#include "services/kiv/telemetry/aggregation/TableAggregator.h"
#include "services/kiv/telemetry/vocabulary/ForkCount.h"

namespace android::kiv::internal {

/// The longest period that can be compared with an age, in nanoseconds: some 292 years.
inline constexpr std::chrono::milliseconds kLongestPeriod =
    std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::nanoseconds::max());

struct WindowAccess {
  /// Starts a manager that was never started, for a logger that is constructed on any thread while
  /// the owner's thread may call every other operation. False if the manager was stopped since, so
  /// that only its owner may start it.
  template <typename Event>
  static bool startIfNew(TimedAggregationManager<Event>& manager) {
    if (!manager.window_.claimFirst()) return manager.window_.isOpen();
    begin(manager);
    return true;
  }

  /// Empties the aggregator and opens a window. Rare, and kept out of the path of a report.
  template <typename Event>
  [[gnu::cold, gnu::noinline]] static void begin(TimedAggregationManager<Event>& manager) {
    manager.aggregator_->reset();
    manager.window_.open(newWindow<Event>(), forkCount());
  }

  /// Submits the open window, if any, and releases the telemetry module's handler. The manager
  /// takes further reports. Only for the library's own aggregators.
  template <typename Event>
  static void finish(TimedAggregationManager<Event>& manager) {
    if (manager.window_.isOpen()) manager.flush();
    // A module that ends the process from inside a submission is still using its handler.
    if (!NestedSubmission::isActive()) manager.aggregator_ = TableAggregator<Event>::make();
  }

  /// Does what `TimedAggregationManager::add` does with the report's event, which is made only for
  /// an aggregator that is a client's.
  template <typename Report>
  static void add(TimedAggregationManager<typename Report::Event>& manager, const Report& report) {
    if (!rollOverIfExpired(manager)) return;
    using Own = TableAggregator<typename Report::Event>;
    if (Own* const own = Own::from(manager.aggregator_)) {
      own->add(report);
    } else {
      manager.aggregator_->add(report.event());
    }
  }

  /// Closes the open window if its period is over. False, with an error log line, while stopped.
  template <typename Event>
  static bool rollOverIfExpired(TimedAggregationManager<Event>& manager) {
    if (!manager.window_.isOpen()) {
      __android_log_print(ANDROID_LOG_ERROR, nullptr,
                          "%s: TimedAggregationManager not running! Cannot add.", "add");
      return false;
    }
    if (isInherited(manager)) begin(manager);
    const std::chrono::nanoseconds age = steadyNow() - manager.window_->started_steady;
    if (manager.aggregation_period_ < age) rollOver(manager);
    return true;
  }

  /// Rolls over; if it cannot, logs an error line with the operation's name and returns false.
  template <typename Event>
  static bool rollOverFor(TimedAggregationManager<Event>& manager, const char* operation) {
    if (rollOver(manager)) return true;
    __android_log_print(ANDROID_LOG_ERROR, nullptr,
                        "%s: Too many nested submissions! The window stays open.", operation);
    return false;
  }

 private:
  /// True if the window is a copy, which a forked process has: its reports are the parent's to
  /// submit.
  template <typename Event>
  static bool isInherited(const TimedAggregationManager<Event>& manager) {
    return manager.window_.generation() != forkCount();
  }

  template <typename Event>
  static auto newWindow() {
    const auto steady = steadyNow();
    return typename TimedAggregationManager<Event>::Window{steady, systemNow()};
  }

  /// Opens the next window and submits the one before it. Only while running. False, and the window
  /// stays open, if the limit of nested submissions is reached.
  template <typename Event>
  static bool rollOver(TimedAggregationManager<Event>& manager) {
    if (isInherited(manager)) {
      begin(manager);
      return true;
    }
    if (NestedSubmission::limitReached()) return false;
    const NestedSubmission nested;
    const auto start = manager.window_->started_system;
    *manager.window_ = newWindow<Event>();
    manager.aggregator_->flush(start, manager.window_->started_system);
    return true;
  }
};

}  // namespace android::kiv::internal
