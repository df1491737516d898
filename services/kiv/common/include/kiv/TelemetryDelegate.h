/// Telemetry for code that knows only the common library: an interface for reporting, and the
/// registry of its implementation.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "kiv/CommonExport.h"

namespace android::kiv {

// Declared in full, with their enumerators, by kiv/KivError.h.
enum class KivError : int32_t;
enum class KivErrorSeverity : uint8_t;

/// Reports errors to telemetry. The implementation documents threads and failures.
///
/// The virtual operations are part of the binary interface: never add, remove or reorder any,
/// because loggers continue the table.
class KIV_COMMON_EXPORT TelemetryHandler {
 public:
  virtual ~TelemetryHandler();

  /// Reports an error of the catalogue.
  virtual void logKivErrorCode(KivError error, const std::string& api, KivErrorSeverity severity,
                               const std::string& kiv_class) = 0;

  /// Reports an error of the catalogue with a number that details it.
  virtual void logKivErrorCode(KivError error, int detail, const std::string& api,
                               KivErrorSeverity severity, const std::string& kiv_class) = 0;

  /// Reports an error given as free text.
  virtual void logErrorCode(const std::string& error_code, const std::string& api,
                            KivErrorSeverity severity, const std::string& kiv_class) = 0;

  /// Submits what has been aggregated so far. False unless every kind of report could be submitted.
  virtual bool flush() = 0;
};

/// The process-wide registry of the handler that takes reports. All operations may be called from
/// any thread.
class KIV_COMMON_EXPORT TelemetryDelegate {
 public:
  /// Makes a handler of the given name. Called on the thread that asks for one.
  using HandlerFactory = std::function<std::unique_ptr<TelemetryHandler>(const std::string& name)>;

  /// The one delegate of the process. It is never destroyed.
  static TelemetryDelegate& getInstance();

  /// Makes `handler` the process's handler and `factory` the maker of further ones, in place of
  /// those registered before. The handler is not owned and must outlive its registration.
  void registerHandler(TelemetryHandler* handler, HandlerFactory factory);

  /// The registered handler; null before the first registration.
  TelemetryHandler* getHandler() const;

  /// A new handler of the given name, owned by the caller; null before the first registration.
  std::unique_ptr<TelemetryHandler> createHandler(const std::string& name) const;

 private:
  TelemetryDelegate() = default;

  mutable std::mutex mutex_;
  TelemetryHandler* handler_ = nullptr;  // guarded by mutex_
  HandlerFactory factory_;               // guarded by mutex_
};

}  // namespace android::kiv
