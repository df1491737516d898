#include "services/kiv/telemetry/aggregation/EventSubmission.h"

#include <android/log.h>

#include "tamsa/Ptr.h"

namespace android::kiv::internal {

namespace {

using TAMSA::UnifiedTelemetry::v7::ITelemetryEvent;
using TAMSA::UnifiedTelemetry::v9::ITelemetryHandler;

constexpr int32_t kReportFlag = 1;

// Small, because a module may start several submissions at each level, which multiply.
constexpr int kNestingLimit = 4;

thread_local int nested_submissions = 0;

template <typename SetFields>
void submit(ITelemetryHandler& handler, const char* event_name, const ForkWatch& fork,
            const SetFields& set_fields) {
  const auto event = ITelemetryEvent::rawToPtr(handler.createEvent(event_name));
  bool reported = false;
  if (event) {
    set_fields(*event.get());
    if (fork.hasHappened()) return;
    reported = handler.reportEvent(event.get(), kReportFlag);
  }
  if (!reported) {
    __android_log_print(ANDROID_LOG_ERROR, nullptr,
                        "%s: Failed to report UnifiedTelemetry event: %s", "submitEvents",
                        event_name);
  }
}

/// Integers first, then floats, then texts, in the order in which staged fields are set.
void setFields(ITelemetryEvent& event, const EventFields& fields) {
  using Type = EventFields::Type;
  for (const EventFields::Field& field : fields) {
    if (field.type < Type::FLOAT) event.setInt64Field(field.name, field.integer);
  }
  for (const EventFields::Field& field : fields) {
    if (field.type == Type::FLOAT) event.setFloatField(field.name, field.number);
  }
  for (const EventFields::Field& field : fields) {
    if (field.type == Type::STRING) event.setStringField(field.name, field.text.data());
  }
}

}  // namespace

NestedSubmission::NestedSubmission() { ++nested_submissions; }

NestedSubmission::~NestedSubmission() { --nested_submissions; }

bool NestedSubmission::isActive() { return nested_submissions > 0; }

bool NestedSubmission::limitReached() { return nested_submissions == kNestingLimit; }

long long toEpochMilliseconds(std::chrono::system_clock::time_point time) {
  using std::chrono::duration_cast;
  const auto microseconds = duration_cast<std::chrono::microseconds>(time.time_since_epoch());
  return duration_cast<std::chrono::milliseconds>(microseconds).count();
}

void clearFields(std::unordered_map<std::string, int64_t>& int_fields,
                 std::unordered_map<std::string, float>& float_fields,
                 std::unordered_map<std::string, std::string>& string_fields) {
  if (!int_fields.empty()) int_fields.clear();
  if (!float_fields.empty()) float_fields.clear();
  if (!string_fields.empty()) string_fields.clear();
}

StagedFields::StagedFields(std::unordered_map<std::string, int64_t>& int_fields,
                           std::unordered_map<std::string, float>& float_fields,
                           std::unordered_map<std::string, std::string>& string_fields)
    : int_source_(int_fields), float_source_(float_fields), string_source_(string_fields) {
  swap();
}

StagedFields::~StagedFields() { swap(); }

void StagedFields::setOn(ITelemetryEvent& event) const {
  for (const auto& [name, value] : int_fields_) event.setInt64Field(name.c_str(), value);
  for (const auto& [name, value] : float_fields_) event.setFloatField(name.c_str(), value);
  for (const auto& [name, value] : string_fields_) {
    event.setStringField(name.c_str(), value.c_str());
  }
}

void StagedFields::swap() {
  int_fields_.swap(int_source_);
  float_fields_.swap(float_source_);
  string_fields_.swap(string_source_);
}

void submitEvent(ITelemetryHandler& handler, const char* event_name, const ForkWatch& fork,
                 const StagedFields& fields) {
  submit(handler, event_name, fork, [&](ITelemetryEvent& event) { fields.setOn(event); });
}

void submitTable(ITelemetryHandler& handler, AggregateTable& table, const EventSchema& schema,
                 const ForkWatch& fork, std::chrono::system_clock::time_point start,
                 std::chrono::system_clock::time_point end) {
  const long long start_milliseconds = toEpochMilliseconds(start);
  const long long end_milliseconds = toEpochMilliseconds(end);
  const KivSessionId* session = nullptr;
  std::string session_text;
  EventFields fields;
  table.visitInOrder([&](const AggregationKey& key, const AggregateTable::Aggregate& aggregate) {
    if (fork.hasHappened()) return;
    if (key.session != session) {
      session = key.session;
      session_text = session->toString();
    }
    fields.clear();
    schema.add_fields({key, session_text, schema.method, aggregate.value, aggregate.count}, fields);
    submit(handler, schema.event_name, fork, [&](ITelemetryEvent& event) {
      event.setInt64Field("start_time_since_epoch", start_milliseconds);
      event.setInt64Field("end_time_since_epoch", end_milliseconds);
      setFields(event, fields);
    });
  });
}

}  // namespace android::kiv::internal
