/// The aggregators that the library makes for itself.
#pragma once

#include <memory>
#include <utility>

#include "AggregateTable.h"
#include "EventSubmission.h"
#include "ReportKinds.h"
#include "kiv/TelemetrySwitch.h"

namespace android::kiv {

/// The reports that an aggregator took since it was last emptied.
class PackedWindow {
 public:
  void add(const TableKey& key, NumericAggregationType method, float sample);

  /// Takes all out; null if there is nothing.
  std::unique_ptr<AggregateTable> close();

  /// Reuses the memory of a table that was taken out, if that is little and there is none by now.
  void reuse(std::unique_ptr<AggregateTable> closed);

  void reset() { table_ = nullptr; }

 private:
  std::unique_ptr<AggregateTable> table_;
};

/// The public aggregator of a kind, with the same results at less cost. Being final, it need not
/// reach what lies beneath `add` and `flush` through virtual operations that a client may have
/// overridden: it makes no copies of keys, and hands fields to the module without staging them.
template <typename Event>
class PackedAggregator final : public ReportKind<Event>::Aggregator {
 public:
  using Kind = ReportKind<Event>;

  /// `method` is what the events name, where it is not each key's own. The rest is the base's.
  template <typename... Args>
  explicit PackedAggregator(NumericAggregationType method, Args... args)
      : Kind::Aggregator(args...), method_(method) {}

  void add(const Event& event) override {
    addKey(typename Kind::Key(event), this->getAggregationType(event),
           static_cast<float>(this->getValue(event)));
  }

  /// The same for a report of which there is no record.
  void addKey(const TableKey& key, NumericAggregationType method, float sample) {
    window_.add(key, method, sample);
  }

  void flush(std::chrono::system_clock::time_point start,
             std::chrono::system_clock::time_point end) override {
    const bool enabled = isTelemetryEnabled();
    // Out of the table first: the module may report in turn, and flush.
    auto closed = window_.close();
    if (closed == nullptr) return;
    if (enabled) {
      if (const auto handler = this->getUnifiedTelemetryHandler(); handler != nullptr) {
        submitTable(*handler, *closed,
                    {this->getEventName(), &Kind::describe, method_, start, end});
      }
    }
    window_.reuse(std::move(closed));
  }

  void reset() override { window_.reset(); }

 private:
  const NumericAggregationType method_;
  PackedWindow window_;
};

}  // namespace android::kiv
