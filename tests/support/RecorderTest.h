/// A fixture for tests of the events that reach the telemetry module.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "modules/recording/Recorder.h"
#include "tamsa/Loader.h"

namespace kiv_test {

using TAMSA::recording::Event;

class RecorderTest : public testing::Test {
 protected:
  RecorderTest() {
    // Loads the module now, so that a test does not find the loader's log lines among its own.
    TAMSA::internal::Loader::getInstance().loadModule();
    recorder.reset();
  }
  ~RecorderTest() override { recorder.reset(); }

  std::vector<Event> events() const { return recorder.events(); }

  /// The values of a string field in all events, in order; "" where it is missing.
  std::vector<std::string> strings(const std::string& field) const {
    std::vector<std::string> values;
    for (const Event& event : events()) {
      const auto found = event.strings.find(field);
      values.push_back(found != event.strings.end() ? found->second : std::string());
    }
    return values;
  }

  /// The values of an integer field in all events, in order; -999 where it is missing.
  std::vector<int64_t> ints(const std::string& field) const {
    std::vector<int64_t> values;
    for (const Event& event : events()) {
      const auto found = event.ints.find(field);
      values.push_back(found != event.ints.end() ? found->second : -999);
    }
    return values;
  }

  TAMSA::recording::Recorder& recorder = TAMSA::recording::Recorder::getInstance();
};

/// The time point `microseconds` after the Unix epoch.
inline std::chrono::system_clock::time_point timeAt(long long microseconds) {
  return std::chrono::system_clock::time_point(
      std::chrono::duration_cast<std::chrono::system_clock::duration>(
          std::chrono::microseconds(microseconds)));
}

}  // namespace kiv_test
