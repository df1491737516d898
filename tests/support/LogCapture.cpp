#include "tests/support/LogCapture.h"

#include <mutex>

namespace kiv_test {

namespace {

// Leaked on purpose: the process may log after static destructors have run.
std::mutex& mutex = *new std::mutex;
std::vector<LogLine>& captured = *new std::vector<LogLine>;

void capture(const __android_logger_data* data, const char* message) {
  std::lock_guard lock(mutex);
  captured.push_back({data->priority, data->tag != nullptr ? data->tag : "(null)", message});
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const LogLine& line) {
  return out << line.priority << ' ' << line.tag << ": " << line.text;
}

LogCapture::LogCapture() {
  {
    std::lock_guard lock(mutex);
    captured.clear();
  }
  // The log fills in a default for a missing tag before it calls the logger.
  __android_log_set_default_tag(kNoTag);
  __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
  __android_log_set_logger(capture);
}

LogCapture::~LogCapture() { __android_log_set_logger(__android_log_stderr_logger); }

std::vector<LogLine> LogCapture::lines() const {
  std::lock_guard lock(mutex);
  return captured;
}

}  // namespace kiv_test
