/// The fields by which an aggregate is described in its event.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "kiv/NumericAggregationType.h"
#include "services/kiv/telemetry/aggregation/AggregationKey.h"

namespace android::kiv {

/// The fields of one event but for its interval, in the order in which they are staged. No name is
/// there twice. Texts are not owned, and have a NUL behind them.
class EventFields {
 public:
  /// The overload of `populateTelemetryField` that a field is staged through.
  enum class Type : uint8_t { UNSIGNED, INT64, BOOL, FLOAT, STRING };

  struct Field {
    const char* name;
    Type type;
    float number;
    long long integer;  ///< As it is sent: unsigned values from 2^31 on are negative.
    std::string_view text;
  };

  void add(const char* name, unsigned int value);
  void add(const char* name, long long value);
  void add(const char* name, bool value);
  void add(const char* name, float value);
  void add(const char* name, std::string_view value);
  void add(const char* name, const char* value) { add(name, std::string_view(value)); }

  /// `value` for as long as these fields live. For one text.
  std::string_view keep(std::string value) { return kept_ = std::move(value); }

  void clear() { size_ = 0; }
  const Field* begin() const { return fields_.data(); }
  const Field* end() const { return fields_.data() + size_; }

 private:
  Field& append(const char* name, Type type);

  std::array<Field, 10> fields_;
  size_t size_ = 0;
  std::string kept_;
};

/// An aggregate to be described.
struct AggregateView {
  const AggregationKey& key;
  std::string_view session;  ///< The text of the key's.
  NumericAggregationType method;
  float value;
  uint32_t count;
};

/// Adds the fields that all kinds begin with.
void beginFields(const AggregateView& aggregate, NumericAggregationType method,
                 EventFields& fields);

/// Adds the fields of a kind's aggregate.
using Describe = void(const AggregateView& aggregate, EventFields& fields);

/// What the events of one kind have in common.
struct EventSchema {
  const char* name;
  NumericAggregationType method;  ///< What they name, unless that is each key's own.
  Describe* describe;
};

/// The fields of one aggregate and what they refer to.
struct Description {
  Description(Describe* describe, const AggregationKey& key, NumericAggregationType method,
              float value, uint32_t count);
  ~Description();

  const std::string session;
  EventFields fields;
};

}  // namespace android::kiv
