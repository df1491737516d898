/// The recorder's state, shared with the module's entry points.
#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "modules/recording/Recorder.h"

namespace TAMSA::recording {

struct Recorder::State {
  /// The requested faults, and the number of reports so far.
  struct Faults {
    int reports = 0;
    std::set<int> refused_reports;
    int handlers_to_withhold = 0;
    int events_to_withhold = 0;
    std::chrono::milliseconds delay{0};
    std::function<void(const Event&)> hook;
    std::function<void(const std::string&)> call_hook;
  };

  /// Requires the mutex.
  void noteCall(std::string call) {
    if (keeps) calls.push_back(std::move(call));
  }

  std::mutex mutex;  // guards all members below
  std::vector<Event> events;
  std::vector<std::string> calls;
  Faults faults;
  int handlers = 0;
  bool keeps = true;
};

}  // namespace TAMSA::recording
