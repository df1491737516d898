/// What the library must do with reports, said once more in the plainest way: every sample is kept,
/// every table is searched from end to end, and a window's contents are sorted when it closes.
///
/// None of this shares code with the library. Where the two differ, one of them is wrong.
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

/// A session and those that it was opened under.
struct Session {
  std::vector<std::string> chain;  ///< Root first, the session itself last; never empty.

  std::string text() const;
};

/// The session's own text counts most, then its parent's, and so on; having no parent comes before
/// having any.
bool operator<(const Session& a, const Session& b);

/// In the order in which a logger visits them.
enum Kind { ERRORS, STREAMS, LATENCIES, INTEGERS, FLOATS, TEXTS, KINDS };

struct Fields {
  std::map<std::string, int64_t> ints;
  std::map<std::string, float> floats;
  std::map<std::string, std::string> strings;
};

/// One report: what makes two of them the same, what its event says, and the sample to fold.
struct Report {
  Kind kind;
  Session session;
  std::vector<std::variant<long long, std::string>> key;  ///< Most significant first.
  Fields fields;
  uint8_t method;
  float sample;
};

/// One kind's table under its window.
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

/// What a logger reports into.
struct Aggregations {
  std::array<Aggregation, KINDS> kinds;
};

struct ExpectedEvent {
  std::string name;
  Fields fields;
  int aggregation;  ///< Each has a handler of its own.
  std::thread::id thread;
  bool accepted;
  size_t call;  ///< The call that closed the window.
};

/// The combination of `samples` by `method`, one after the other.
float fold(uint8_t method, const std::vector<float>& samples);

class Reference {
 public:
  // The circumstances, set by whoever makes the calls.
  int64_t steady_ns = 0;
  int64_t system_us = 0;
  bool enabled = true;
  std::thread::id thread;
  size_t call = 0;

  // What the calls so far must have led to.
  std::vector<ExpectedEvent> events;
  std::vector<LogLine> log;
  std::vector<std::string> module_calls;

  Aggregations makeAggregations();

  // A logger's operations on what it reports into.
  void start(Aggregations& aggregations);
  bool stop(Aggregations& aggregations);
  bool flush(Aggregations& aggregations);
  void report(Aggregations& aggregations, const Report& report, bool immediate);
  void destroy(Aggregations& aggregations);

  /// The line that goes with every error.
  void logError(const std::string& code, const std::string& api, const std::string& kiv_class);

  /// The module refuses the n-th report from now on.
  void refuseReport(int n) { refused_.insert(reports_ + n); }
  /// The module makes no handler, or no event, the next so many times that it is asked for one.
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

  int submissions_ = 0;  ///< That lie within each other.
  int next_id_ = 1;
  int reports_ = 0;
  int handlers_to_withhold_ = 0;
  int events_to_withhold_ = 0;
  std::set<int> refused_;
};

}  // namespace kiv_test::model
