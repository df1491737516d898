/// What the library does with the window of a `TimedAggregationManager` beyond its public
/// operations.
#pragma once

#include <android/log.h>

#include "kiv/TimedAggregationManager.h"
#include "services/kiv/telemetry/aggregation/Clock.h"
#include "services/kiv/telemetry/aggregation/EventSubmission.h"
#include "services/kiv/telemetry/aggregation/TableAggregator.h"

namespace android::kiv::internal {

struct WindowAccess {
  template <typename Event>
  static auto open() {
    const auto steady = steadyNow();
    return typename TimedAggregationManager<Event>::Window{steady, systemNow()};
  }

  template <typename Event>
  static bool isRunning(const TimedAggregationManager<Event>& manager) {
    return manager.window_.has_value();
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
    if (!manager.window_.has_value()) {
      __android_log_print(ANDROID_LOG_ERROR, nullptr,
                          "%s: TimedAggregationManager not running! Cannot add.", "add");
      return false;
    }
    const std::chrono::nanoseconds age = steadyNow() - manager.window_->started_steady;
    if (manager.aggregation_period_ < age) rollOver(manager);
    return true;
  }

  /// Opens the next window and submits the one before it. Only while running. Once the limit of
  /// nested submissions is reached, leaves the window open.
  template <typename Event>
  static void rollOver(TimedAggregationManager<Event>& manager) {
    if (NestedSubmission::limitReached()) return;
    const NestedSubmission nested;
    const auto start = manager.window_->started_system;
    // Assigned in place: emplacing would leave the optional empty for an instant, and a logger that
    // is being constructed on another thread would take the manager for a stopped one.
    *manager.window_ = open<Event>();
    manager.aggregator_->flush(start, manager.window_->started_system);
  }
};

}  // namespace android::kiv::internal
