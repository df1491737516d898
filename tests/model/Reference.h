/// A second, simple implementation of the library's behaviour: stores every sample, searches tables
/// linearly, and sorts a window's contents when it closes.
///
/// It shares no code with the library. Where the two differ, one of them is wrong.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <variant>
#include <vector>

#include "tests/support/LogCapture.h"

namespace kiv_test::model {

/// A session and its parents.
struct Session {
  std::vector<std::string> chain;  ///< Root first, the session itself last; never empty.

  std::string text() const;
};

/// Compares the session's own text first, then its parent's, and so on. A session without a parent
/// comes before one with a parent.
bool operator<(const Session& a, const Session& b);

/// The kinds, in the order in which a logger visits them.
enum Kind { ERRORS, STREAMS, LATENCIES, INTEGERS, FLOATS, TEXTS, KINDS };

struct Fields {
  std::map<std::string, int64_t> ints;
  std::map<std::string, float> floats;
  std::map<std::string, std::string> strings;
};

/// A report: its key, its event's fields, and its sample.
struct Report {
  Kind kind;
  Session session;
  std::vector<std::variant<long long, std::string>> key;  ///< Most significant first.
  Fields fields;
  uint8_t method;
  float sample;
};

/// The table and the window of one kind.
struct Aggregation {
  struct Entry {
    Report first;
    std::vector<float> samples;
  };

  int id = 0;
  bool running = false;
  bool has_handler = false;
  int64_t started_steady_ns = 0;
  int64_t started_system_us = 0;
  std::vector<Entry> entries;
};

/// The six tables that a logger reports into.
struct Aggregations {
  std::array<Aggregation, KINDS> kinds;
};

struct ExpectedEvent {
  std::string name;
  Fields fields;
  int aggregation;  ///< Each aggregation has its own handler.
  std::thread::id thread;
  bool accepted;
  size_t call;  ///< Number of the call that closed the window.
};

/// Combines `samples` by `method`, one after the other.
float fold(uint8_t method, const std::vector<float>& samples);

class Reference {
 public:
  // Conditions, set by the caller.
  int64_t steady_ns = 0;
  int64_t system_us = 0;
  bool enabled = true;
  std::thread::id thread;
  size_t call = 0;

  // Expected results of the calls so far.
  std::vector<ExpectedEvent> events;
  std::vector<LogLine> log;
  std::vector<std::string> module_calls;

  Aggregations makeAggregations();

  // A logger's operations on its tables.
  void start(Aggregations& aggregations);
  bool stop(Aggregations& aggregations);
  bool flush(Aggregations& aggregations);
  void report(Aggregations& aggregations, const Report& report, bool immediate);
  void destroy(Aggregations& aggregations);

  /// The log line of an error.
  void logError(const std::string& code, const std::string& api, const std::string& kiv_class);

  /// The module refuses the n-th report from now on.
  void refuseReport(int n) { refused_.insert(reports_ + n); }
  /// The module creates no handler, or no event, for this number of requests.
  void withholdHandlers(int count) { handlers_to_withhold_ = count; }
  void withholdEvents(int count) { events_to_withhold_ = count; }

  /// Called while the module takes a report, with the number of reports so far.
  std::function<void(int)> on_report;
  int reports() const { return reports_; }

 private:
  void open(Aggregation& aggregation) const;
  void closeWindow(Aggregation& aggregation);
  void submit(Aggregation& aggregation, int64_t start_us, int64_t end_us);
  bool getHandler(Aggregation& aggregation);
  bool send(const Aggregation& aggregation, const std::string& name, Fields fields);
  bool flush(Aggregation& aggregation);
  bool stop(Aggregation& aggregation);
  void add(Aggregation& aggregation, const Report& report);
  void logLine(int priority, const std::string& text);

  int submissions_ = 0;  ///< Number of nested submissions.
  int next_id_ = 1;
  int reports_ = 0;
  int handlers_to_withhold_ = 0;
  int events_to_withhold_ = 0;
  std::set<int> refused_;
};

}  // namespace kiv_test::model
