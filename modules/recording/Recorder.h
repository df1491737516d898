/// A telemetry module for tests: keeps what it is handed, and misbehaves when told to.
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
/// The module is one per process. All operations may be called from any thread.
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

/// One event as it was reported, its fields by name.
struct Event {
  std::string name;                            ///< As it was created under.
  std::map<std::string, int64_t> ints;         ///< Its integer fields.
  std::map<std::string, float> floats;         ///< Its float fields.
  std::map<std::string, std::string> strings;  ///< Its text fields.
  std::vector<std::string> set;  ///< The names of the fields in the order in which they were set.
  int handler = 0;               ///< The handler that took it; the first one made is 1.
  int32_t flag = 0;              ///< As passed with the report.
  bool accepted = true;          ///< What the reporter was answered.
  std::thread::id thread;        ///< Where it was reported.
};

/// Keeps what is reported, and can be told to fail.
class __attribute__((visibility("default"))) Recorder {
 public:
  /// The recorder of this process. It is never destroyed.
  static Recorder& getInstance();

  /// The events reported since the last reset, in order; those refused are among them.
  std::vector<Event> events() const;

  /// The calls made to the module since the last reset, in order: "createTelemetryHandler(9)",
  /// "createEvent(NAME)", "reportEvent(NAME, 1)", "destroyTelemetryEvent(7)",
  /// "destroyTelemetryHandler(9)".
  std::vector<std::string> calls() const;

  /// How many reports there were since the last reset.
  int reports() const;

  /// Forgets what was recorded and ends all misbehaviour. Handlers and events live on.
  void reset();

  /// From now on, counts reports and keeps neither events nor calls: for tests of so many that they
  /// would not fit into memory.
  void keepNothing();

  /// Refuses the n-th report from now on, counted from 1. May be called for several.
  void refuseReport(int n);

  /// Returns no handler for the next `count` requests.
  void withholdHandlers(int count);

  /// Returns no event for the next `count` requests.
  void withholdEvents(int count);

  /// Takes this long over every report.
  void slowDown(std::chrono::milliseconds delay);

  /// Calls `hook` inside every report, on the reporting thread, before the event is recorded. It
  /// may wait, and may report in turn. An empty one removes it.
  void onReport(std::function<void(const Event&)> hook);

  /// Calls `hook` likewise inside every other operation that the library waits for an answer of or
  /// fills an event by, with its name: "createTelemetryHandler", "createEvent", "setInt64Field",
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
