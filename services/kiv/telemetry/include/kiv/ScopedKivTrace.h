/// Tracing a scope.
///
///     #include <kiv/ScopedKivTrace.h>
///     using namespace android::kiv;
///
///     static const TelemetryEnv telemetry("Mixer");
///     const ScopedKivTrace trace(telemetry.getLogger(), "render");  // ends with the scope
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "kiv/TelemetryLogger.h"

namespace android::kiv {

/// Begins a trace section when it is constructed, and ends it once: by `end()`, or when it is
/// destroyed. Ending reports the duration as `TelemetryLogger::kiv_endTraceSection` does, also when
/// an exception leaves the scope.
///
/// Shares ownership of the logger until the section has ended. Without a logger it does nothing.
///
/// Movable, so that a section can end in another scope or on another thread. An object that was
/// moved from has no section. Calls on one object must be serialized by the caller.
class [[nodiscard]] ScopedKivTrace {
 public:
  /// Begins section `name`, whose class is the logger's name.
  [[nodiscard]] ScopedKivTrace(std::shared_ptr<TelemetryLogger> logger, const std::string& name)
      : logger_(std::move(logger)) {
    if (logger_ != nullptr) info_ = logger_->kiv_beginTraceSection(name);
  }

  /// Begins section `name` of `kiv_class`.
  [[nodiscard]] ScopedKivTrace(std::shared_ptr<TelemetryLogger> logger,
                               const std::string& kiv_class, const std::string& name)
      : logger_(std::move(logger)) {
    if (logger_ != nullptr) info_ = logger_->kiv_beginTraceSection(kiv_class, name);
  }

  /// Ends the section, unless it has ended.
  ~ScopedKivTrace() { end(); }

  ScopedKivTrace(const ScopedKivTrace&) = delete;
  ScopedKivTrace& operator=(const ScopedKivTrace&) = delete;

  /// Takes over the section of `other`.
  ScopedKivTrace(ScopedKivTrace&& other) noexcept = default;

  /// Ends this object's section, and takes over that of `other`.
  ScopedKivTrace& operator=(ScopedKivTrace&& other) noexcept {
    if (this != &other) {
      end();
      logger_ = std::move(other.logger_);
      info_ = std::move(other.info_);
    }
    return *this;
  }

  /// Ends the section now, and releases the logger. Later calls do nothing.
  void end() {
    if (const auto logger = std::exchange(logger_, nullptr); logger != nullptr) {
      logger->kiv_endTraceSection(info_);
    }
  }

 private:
  std::shared_ptr<TelemetryLogger> logger_;  // null once the section has ended
  KivTraceInfo info_;
};

}  // namespace android::kiv
