/// Silences the Android log in tests with many reports, where it would take most of the time.
#pragma once

#include <android/log.h>

namespace kiv_test {

/// Discards all lines of the Android log while it exists.
class SilentLog {
 public:
  SilentLog() {
    __android_log_set_logger([](const __android_logger_data*, const char*) {});
  }
  ~SilentLog() { __android_log_set_logger(__android_log_stderr_logger); }

  SilentLog(const SilentLog&) = delete;
  SilentLog& operator=(const SilentLog&) = delete;
};

}  // namespace kiv_test
