/// Status values: the outcome of work that can fail, with or without a value. Header-only.
#pragma once

#include <android/log.h>
#include <utils/Errors.h>

#include <optional>
#include <string>
#include <utility>

namespace android::kiv {

/// An Android status code. Zero (`android::OK`) is success, every other value a failure.
class KivStatus {
 public:
  /// Implicit, because a `status_t` is what most callees return.
  KivStatus(status_t code = OK) : code_(code) {}  // NOLINT(google-explicit-constructor)

  /// The platform's number of the status.
  status_t code() const { return code_; }

  /// True for success.
  bool ok() const { return code_ == OK; }

  /// The platform's text for the code, as `android::statusToString` gives it.
  std::string toString() const { return statusToString(code_); }

 private:
  status_t code_;
};

/// A status that carries a value when it is success.
///
/// Invariant of all producers: there is a value if and only if the status is success.
/// Callers test `ok()` before they ask for the value.
template <typename T>
class KivStatusOr {
 public:
  /// A failure.
  explicit KivStatusOr(KivStatus status) : status_(status) {}

  /// A success and its value.
  KivStatusOr(KivStatus status, T value) : status_(status), value_(std::move(value)) {}

  /// The outcome, which says why there is no value.
  const KivStatus& status() const { return status_; }

  /// True if there is a value.
  bool ok() const { return status_.ok(); }

  /// The value. Without one the process ends with a fatal log line that names the status.
  const T& value() const {
    if (!value_.has_value()) {
      __android_log_assert("!value_.has_value()", nullptr, "Value is not set. status=%s",
                           status_.toString().c_str());
    }
    return *value_;
  }

 private:
  friend struct KivStatusLayout;

  KivStatus status_;
  std::optional<T> value_;
};

}  // namespace android::kiv
