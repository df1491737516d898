/// A reported event on its way to a collector.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <variant>

namespace TAMSA::otlp {

using Attributes = std::map<std::string, std::variant<int64_t, float, std::string>>;

struct LogRecord {
  std::string name;
  Attributes fields;
  std::chrono::system_clock::time_point observed;
};

}  // namespace TAMSA::otlp
