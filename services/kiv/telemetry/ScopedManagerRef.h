/// How loggers take what the process-wide manager shares out.
#pragma once

#include "kiv/TelemetryLogger.h"

namespace android::kiv::internal {

/// Keeps the manager from ending while it lives. For a moment only, and never two on one thread:
/// process exit waits for it.
class ScopedManagerRef {
 public:
  /// Creates the manager on first need. After its end there is another, which takes reports and
  /// submits none.
  ScopedManagerRef();
  ~ScopedManagerRef();

  ScopedManagerRef(const ScopedManagerRef&) = delete;
  ScopedManagerRef& operator=(const ScopedManagerRef&) = delete;

  TelemetryLoggerManager& operator*() const { return *manager_; }
  TelemetryLoggerManager* operator->() const { return manager_; }

 private:
  TelemetryLoggerManager* manager_;
};

}  // namespace android::kiv::internal
