/// Checks that end the process when they fail.
#pragma once

#include <memory>
#include <string>

#include "kiv/AssertionReport.h"

namespace android::kiv::internal {

/// The report of one check. Lives for the check's statement; its destructor ends the process if the
/// check has failed.
class KivFatalLogMessage {
 public:
  /// `file` is borrowed and relative to the source tree.
  KivFatalLogMessage(const char* file, int line, bool failed)
      : file_(file), line_(line), condition_(failed) {}
  ~KivFatalLogMessage();

  KivFatalLogMessage(const KivFatalLogMessage&) = delete;
  KivFatalLogMessage& operator=(const KivFatalLogMessage&) = delete;

  KivFatalLogMessage& operator<<(const char* text);

 private:
  const char* file_;
  int line_;
  bool condition_;
  std::unique_ptr<std::string> text_;  // made by the first write: passing costs nothing
};

}  // namespace android::kiv::internal

/// Ends the process with `message` unless `condition` holds. The log attributes the check to `file`
/// and `line`, by which crash reports know it, wherever it stands today.
#define KIV_FATAL_CHECK_AT(file, line, condition, message)                                        \
  do {                                                                                            \
    const bool kiv_check_failed = !(condition);                                                   \
    if (kiv_check_failed) {                                                                       \
      ::android::kiv::logAssertionErrorCode(#condition, nullptr, __func__, line);                 \
    }                                                                                             \
    ::android::kiv::internal::KivFatalLogMessage kiv_check_message(file, line, kiv_check_failed); \
    if (kiv_check_failed) kiv_check_message << "(" << #condition << ") " << (message);            \
  } while (false)
