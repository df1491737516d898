/// Shows the fields that an aggregator stages.
#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace kiv_test {

/// Records each staged field as "TYPE NAME VALUE", with the type of the called overload, instead of
/// staging it.
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
