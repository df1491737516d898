/// Tracing for code that needs no other operation of a logger.
#pragma once

#include <memory>
#include <string>

#include "kiv/Export.h"

namespace android::kiv {

/// Measures how long something takes. Loggers implement it. Any thread may call its operations.
///
/// The virtual operations are part of the binary interface: never add, remove or reorder any.
class KIV_EXPORT TraceHandler {
 public:
  virtual ~TraceHandler();

  /// Begins a trace of `name`, on behalf of `kiv_class`. Pass the token to `stopTrace`, on any
  /// thread. A token that is dropped reports nothing.
  [[nodiscard]] virtual std::shared_ptr<void> startTrace(const std::string& kiv_class,
                                                         const std::string& name) = 0;

  /// Ends the trace of `token` and reports it. An empty token is ignored; any other must come from
  /// `startTrace`. Loggers report a trace twice if it is ended twice.
  virtual void stopTrace(std::shared_ptr<void> token) = 0;
};

}  // namespace android::kiv
