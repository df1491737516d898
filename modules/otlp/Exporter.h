/// Brings batches of events to a collector.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "Backoff.h"
#include "ExportLog.h"
#include "OtlpConfig.h"
#include "Transport.h"

namespace TAMSA::otlp {

/// Used by one thread but for `countDropped`, which any thread may call.
class Exporter {
 public:
  /// A server may ask for a longer wait; it does not get it.
  static constexpr std::chrono::hours kLongestRetryAfter{1};

  /// A random number from 0 to 1.
  using Chance = std::function<double()>;

  /// All but `config`, of which it keeps a part, must outlive it.
  Exporter(const OtlpConfig& config, Transport& transport, Timing& timing, ExportLog& log,
           Chance chance);

  /// Returns when the events are with the collector or have been dropped: because the collector
  /// does not want them, because the time for a batch is over, or because in a rush the next try
  /// would come too late. Between tries it waits as the collector asked to, else by its own
  /// back-off. A back-off ends when a rush begins; what the collector asked for is kept even then.
  void send(const std::vector<LogRecord>& batch);

  /// Counts events that were not even taken in.
  void countDropped(uint64_t events, const std::string& reason);

 private:
  void deliver(const std::string& body, uint64_t events, uint64_t told_dropped);
  void giveUp(uint64_t events);
  bool waitForTurn(const Limit& limit);
  void postpone(const Reply& reply);

  const Attributes resource_;
  const TimeLimit request_timeout_;
  const TimeLimit export_timeout_;
  Transport& transport_;
  Timing& timing_;
  ExportLog& log_;
  const Chance chance_;

  /// Not told to the collector yet.
  std::atomic<uint64_t> dropped_{0};

  // Where the tries stand; outlives a batch, so that a collector in trouble is left alone.
  Backoff backoff_;
  TimePoint backoff_end_ = TimePoint::min();
  TimePoint asked_end_ = TimePoint::min();
  unsigned known_rushes_ = 0;
  std::string last_reason_;
};

}  // namespace TAMSA::otlp
