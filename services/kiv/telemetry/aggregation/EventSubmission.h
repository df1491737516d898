/// Handing events to the telemetry module: the part of submission that does not depend on the kind
/// of event.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <unordered_map>

#include "services/kiv/telemetry/aggregation/AggregateTable.h"
#include "services/kiv/telemetry/aggregation/EventSchema.h"
#include "tamsa/UnifiedTelemetry.h"

namespace android::kiv {

/// Milliseconds since the Unix epoch, truncated from microseconds, on which a device's clock ticks.
long long toEpochMilliseconds(std::chrono::system_clock::time_point time);

/// One submission among those that lie within each other on a thread: a telemetry module that
/// reports in turn may have further windows closed. Where it does so whenever it is called it would
/// never come to an end, so from some depth on a window stays open instead.
class NestedSubmission {
 public:
  NestedSubmission();
  ~NestedSubmission();

  NestedSubmission(const NestedSubmission&) = delete;
  NestedSubmission& operator=(const NestedSubmission&) = delete;

  /// Whether the calling thread is inside one.
  static bool isUnderWay();

  /// Whether no further one may begin.
  static bool isDeepest();
};

/// Clears those fields that are not empty already.
void clearFields(std::unordered_map<std::string, int64_t>& int_fields,
                 std::unordered_map<std::string, float>& float_fields,
                 std::unordered_map<std::string, std::string>& string_fields);

/// Staged fields, which while it lives are out of reach of a module that has others staged.
class StagedFields {
 public:
  StagedFields(std::unordered_map<std::string, int64_t>& int_fields,
               std::unordered_map<std::string, float>& float_fields,
               std::unordered_map<std::string, std::string>& string_fields);
  /// Gives them back, for the sake of their memory.
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

/// Creates an event, sets the fields, reports it and releases it. A refused event is logged and
/// dropped.
void submitEvent(TAMSA::UnifiedTelemetry::v9::ITelemetryHandler& handler, const char* event_name,
                 const StagedFields& fields);

/// Does the same for every entry of a table, in key order.
void submitTable(TAMSA::UnifiedTelemetry::v9::ITelemetryHandler& handler,
                 const AggregateTable& table, const EventSchema& kind,
                 std::chrono::system_clock::time_point start,
                 std::chrono::system_clock::time_point end);

}  // namespace android::kiv
