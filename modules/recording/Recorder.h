/// A telemetry module for tests: records the events that it gets, and fails on demand.
///
/// Link a test with the target `tamsa_recording`. The library under test then finds this module
/// under the name that it loads, and the test sees what arrived:
///
///   auto& recorder = TAMSA::recording::Recorder::getInstance();
///   recorder.reset();
///   ... report something, flush the logger ...
///   ASSERT_EQ(recorder.events().size(), 1u);
///   EXPECT_EQ(recorder.events()[0].strings.at("kiv_error_code"), "kiv.MMAP_FAILED");
///
/// There is one recorder in a process. All operations may be called from any thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace TAMSA::recording {

/// An event as it was reported, with its fields by name.
struct Event {
  std::string name;                            ///< The name with which it was created.
  std::map<std::string, int64_t> ints;         ///< Its integer fields.
  std::map<std::string, float> floats;         ///< Its float fields.
  std::map<std::string, std::string> strings;  ///< Its text fields.
  std::vector<std::string> set;  ///< The names of the fields in the order in which they were set.
  int handler = 0;               ///< The handler that took it; the first one made is 1.
  int32_t flag = 0;              ///< Passed with the report.
  bool accepted = true;          ///< The answer to the report.
  std::thread::id thread;        ///< The thread that reported it.
};

/// Records events and calls, and can be made to fail.
class __attribute__((visibility("default"))) Recorder {
 public:
  /// The recorder of this process. It is never destroyed.
  static Recorder& getInstance();

  /// The events reported since the last reset, in order, including refused ones.
  std::vector<Event> events() const;

  /// The calls made to the module since the last reset, in order: "createTelemetryHandler(9)",
  /// "createEvent(NAME)", "reportEvent(NAME, 1)", "destroyTelemetryEvent(7)",
  /// "destroyTelemetryHandler(9)".
  std::vector<std::string> calls() const;

  /// The number of reports since the last reset.
  int reports() const;

  /// Discards what was recorded and ends all failures. Handlers and events remain valid.
  void reset();

  /// From now on, counts reports and records no events and no calls: for tests with more of them
  /// than fit into memory.
  void keepNothing();

  /// Refuses the n-th report from now on, counted from 1. May be called for several.
  void refuseReport(int n);

  /// Returns no handler for the next `count` requests.
  void withholdHandlers(int count);

  /// Returns no event for the next `count` requests.
  void withholdEvents(int count);

  /// Delays every report by this time.
  void slowDown(std::chrono::milliseconds delay);

  /// Calls `hook` inside every report, on the reporting thread, before the event is recorded. It
  /// may wait, and may report in turn. An empty one removes it.
  void onReport(std::function<void(const Event&)> hook);

  /// Calls `hook` in the same way inside other operations, with their name:
  /// "createTelemetryHandler", "createEvent", "setInt64Field", "setFloatField", "setStringField".
  void onCall(std::function<void(const std::string&)> hook);

 private:
  friend class Handler;
  friend class Module;
  struct State;

  Recorder();

  const std::unique_ptr<State> state_;
};

}  // namespace TAMSA::recording
