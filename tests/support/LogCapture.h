/// Captures the Android log.
#pragma once

#include <android/log.h>

#include <ostream>
#include <string>
#include <vector>

namespace kiv_test {

struct LogLine {
  int priority;
  std::string tag;
  std::string text;

  bool operator==(const LogLine& other) const {
    return priority == other.priority && tag == other.tag && text == other.text;
  }
};

std::ostream& operator<<(std::ostream& out, const LogLine& line);

/// Stands for the tag of a line without a tag.
inline constexpr char kNoTag[] = "(no tag)";

/// Captures all log lines of the process while it exists. One at a time; any thread may log.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();

  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  /// The lines so far, in order.
  std::vector<LogLine> lines() const;
};

}  // namespace kiv_test
