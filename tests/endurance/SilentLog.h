/// For tests of so many reports that their lines in the Android log would be what takes the time.
#pragma once

#include <android/log.h>

namespace kiv_test {

/// Nothing is written to the Android log while it lives.
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
