/// What the tests that go on for long have in common. Each has a short form, which belongs to the
/// suite, and a long one, asked for by a variable of the environment.
#pragma once

#include <android/log.h>

#include <cstdlib>

namespace kiv_test {

inline size_t fromEnvironment(const char* name, size_t otherwise) {
  const char* const text = std::getenv(name);
  return text != nullptr ? std::strtoul(text, nullptr, 10) : otherwise;
}

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
