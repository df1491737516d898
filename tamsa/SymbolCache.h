/// The functions that the telemetry module exports, each looked up once per process.
#pragma once

#include <mutex>

#include "tamsa/Loader.h"

namespace TAMSA::Symbol {

inline constexpr char kCreateTelemetryHandler[] = "createTelemetryHandler";
inline constexpr char kDestroyTelemetryHandler[] = "destroyTelemetryHandler";
inline constexpr char kDestroyTelemetryEvent[] = "destroyTelemetryEvent";

/// The function `Name` of the given signature. One entry per process; may be used from any thread.
template <const char* Name, typename Signature>
class Cache {
 public:
  /// Null if the module or the function is missing; a lookup is never repeated.
  static Signature* getCached() {
    std::call_once(resolved_, [] {
      function_ = reinterpret_cast<Signature*>(internal::Loader::getInstance().findSymbol(Name));
    });
    return function_;
  }

 private:
  static inline Signature* function_ = nullptr;  // constant once resolved_ has run
  static inline std::once_flag resolved_;
};

}  // namespace TAMSA::Symbol
