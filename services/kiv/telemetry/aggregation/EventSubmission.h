/// Hands events to the telemetry module. Independent of the kind of event.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <unordered_map>

#include "services/kiv/telemetry/aggregation/AggregateTable.h"
#include "services/kiv/telemetry/aggregation/EventSchema.h"
#include "services/kiv/telemetry/vocabulary/ForkCount.h"
#include "tamsa/ScopedNoCancellation.h"
#include "tamsa/UnifiedTelemetry.h"

namespace android::kiv::internal {

/// Milliseconds since the Unix epoch, truncated from microseconds, on which a device's clock ticks.
long long toEpochMilliseconds(std::chrono::system_clock::time_point time);

/// Counts the submissions that are nested on this thread: a telemetry module that reports while it
/// takes an event may have further windows closed. A module that does so each time it is called
/// would recurse without end, so beyond a limit windows stay open.
///
/// The thread cannot be cancelled meanwhile: the module's operations are not made for that.
class NestedSubmission {
 public:
  NestedSubmission();
  ~NestedSubmission();

  NestedSubmission(const NestedSubmission&) = delete;
  NestedSubmission& operator=(const NestedSubmission&) = delete;

  /// True if this thread is inside a submission.
  static bool isActive();

  /// True if no further submission may begin on this thread.
  static bool limitReached();

 private:
  const TAMSA::internal::ScopedNoCancellation no_cancellation_;
};

/// Tells whether the module has forked on this thread since, so that this is a copy of its process,
/// and the rest of the submission is the parent's.
class ForkWatch {
 public:
  bool hasHappened() const { return forkCount() != count_; }

 private:
  const unsigned count_ = forkCount();
};

/// Clears the maps that are not empty.
void clearFields(std::unordered_map<std::string, int64_t>& int_fields,
                 std::unordered_map<std::string, float>& float_fields,
                 std::unordered_map<std::string, std::string>& string_fields);

/// Holds the staged fields of an aggregator for the duration of a submission, so that a module that
/// has this aggregator stage further fields meanwhile cannot change them.
class StagedFields {
 public:
  StagedFields(std::unordered_map<std::string, int64_t>& int_fields,
               std::unordered_map<std::string, float>& float_fields,
               std::unordered_map<std::string, std::string>& string_fields);
  /// Returns the maps, whose buckets serve the next event.
  ~StagedFields();

  StagedFields(const StagedFields&) = delete;
  StagedFields& operator=(const StagedFields&) = delete;

  void setOn(TAMSA::UnifiedTelemetry::v7::ITelemetryEvent& event) const;

 private:
  void swap();

  std::unordered_map<std::string, int64_t>& int_source_;
  std::unordered_map<std::string, float>& float_source_;
  std::unordered_map<std::string, std::string>& string_source_;
  std::unordered_map<std::string, int64_t> int_fields_;
  std::unordered_map<std::string, float> float_fields_;
  std::unordered_map<std::string, std::string> string_fields_;
};

/// Creates an event, sets the fields, reports it unless the module forks meanwhile, and releases
/// it. A refused event is logged and dropped.
void submitEvent(TAMSA::UnifiedTelemetry::v9::ITelemetryHandler& handler, const char* event_name,
                 const ForkWatch& fork, const StagedFields& fields);

/// Submits one event for every entry of a table, in key order, until there is a fork. The table has
/// to be cleared afterwards.
void submitTable(TAMSA::UnifiedTelemetry::v9::ITelemetryHandler& handler, AggregateTable& table,
                 const EventSchema& schema, const ForkWatch& fork,
                 std::chrono::system_clock::time_point start,
                 std::chrono::system_clock::time_point end);

}  // namespace android::kiv::internal
