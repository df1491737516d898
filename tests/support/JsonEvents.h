/// Reads the events that the JSON-lines module wrote.
#pragma once

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/RunProgram.h"

namespace kiv_test {

/// Parses every line of the file. Throws if a line is incomplete.
inline std::vector<nlohmann::json> readEvents(const std::string& path) {
  std::vector<nlohmann::json> events;
  std::istringstream lines(readFile(path));
  std::string line;
  while (std::getline(lines, line)) events.push_back(nlohmann::json::parse(line));
  return events;
}

}  // namespace kiv_test
