/// What an aggregator stages for its events.
#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace kiv_test {

/// Notes each field that is staged, as "TYPE NAME VALUE" after the overload that it comes through,
/// and goes no further with it.
template <typename Aggregator>
class StagingAggregator : public Aggregator {
 public:
  using Aggregator::Aggregator;

  void populateTelemetryField(std::string name, int value) override { note("int", name, value); }
  void populateTelemetryField(std::string name, unsigned int value) override {
    note("unsigned int", name, value);
  }
  void populateTelemetryField(std::string name, long long value) override {
    note("long long", name, value);
  }
  void populateTelemetryField(std::string name, float value) override {
    note("float", name, value);
  }
  void populateTelemetryField(std::string name, std::string value) override {
    note("string", name, value);
  }
  void populateTelemetryField(std::string name, bool value) override { note("bool", name, value); }

  std::vector<std::string> staged;

 private:
  template <typename T>
  void note(const char* type, const std::string& name, const T& value) {
    std::ostringstream text;
    text << type << " " << name << " " << value;
    staged.push_back(text.str());
  }
};

}  // namespace kiv_test
