/// A telemetry module for tests: records events, and fails on request.
///
/// Link a test with the target `tamsa_recording`. The library under test then loads this module,
/// and the test reads the events that arrived:
///
///   auto& recorder = TAMSA::recording::Recorder::getInstance();
///   recorder.reset();
///   ... report something, flush the logger ...
///   ASSERT_EQ(recorder.events().size(), 1u);
///   EXPECT_EQ(recorder.events()[0].strings.at("kiv_error_code"), "kiv.MMAP_FAILED");
///
/// There is one module per process. All operations may be called from any thread.
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

/// A reported event, with its fields by name.
struct Event {
  std::string name;                            ///< The event's name, such as "wexo_kiv_generic".
  std::map<std::string, int64_t> ints;         ///< Integer fields.
  std::map<std::string, float> floats;         ///< Float fields.
  std::map<std::string, std::string> strings;  ///< Text fields.
  std::vector<std::string> set;  ///< Names of the fields, in the order of the calls that set them.
  int handler = 0;               ///< Number of the handler that took it, from 1 on.
  int32_t flag = 0;              ///< The flag of the report.
  bool accepted = true;          ///< The result of the report.
  std::thread::id thread;        ///< The reporting thread.
};

/// Records events, and makes the module fail on request.
class __attribute__((visibility("default"))) Recorder {
 public:
  /// The recorder of this process, which is never destroyed.
  static Recorder& getInstance();

  /// All events since the last reset, in order, including refused ones.
  std::vector<Event> events() const;

  /// All calls of the module since the last reset, in order: "createTelemetryHandler(9)",
  /// "createEvent(NAME)", "reportEvent(NAME, 1)", "destroyTelemetryEvent(7)",
  /// "destroyTelemetryHandler(9)".
  std::vector<std::string> calls() const;

  /// The number of reports since the last reset.
  int reports() const;

  /// Discards what was recorded, and ends all faults. Handlers and events stay valid.
  void reset();

  /// From now on, only counts reports: for tests whose events would not fit into memory.
  void keepNothing();

  /// Refuses the n-th report from now on, counted from 1. Can be called several times.
  void refuseReport(int n);

  /// Returns no handler for the next `count` requests.
  void withholdHandlers(int count);

  /// Returns no event for the next `count` requests.
  void withholdEvents(int count);

  /// Delays every report by this time.
  void slowDown(std::chrono::milliseconds delay);

  /// Calls `hook` inside every report, on the reporting thread, before the event is recorded. The
  /// hook may wait, and may use the library. An empty hook removes it.
  void onReport(std::function<void(const Event&)> hook);

  /// Calls `hook` in the same way inside every other operation but the destroying ones, with the
  /// operation's name: "createTelemetryHandler", "createEvent", "setInt64Field",
  /// "setFloatField", "setStringField".
  void onCall(std::function<void(const std::string&)> hook);

 private:
  friend class Handler;
  friend class Module;
  struct State;

  Recorder();

  const std::unique_ptr<State> state_;
};

}  // namespace TAMSA::recording
