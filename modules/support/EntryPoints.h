/// The functions that a module exports; `tamsa/UnifiedTelemetry.h` has their contracts.
#pragma once

#include <cstdint>

namespace TAMSA::support {

extern "C" {

__attribute__((visibility("default"))) void* createTelemetryHandler(int64_t version) noexcept;
__attribute__((visibility("default"))) void destroyTelemetryHandler(int64_t version,
                                                                    void* handler) noexcept;
__attribute__((visibility("default"))) void destroyTelemetryEvent(int64_t version,
                                                                  void* event) noexcept;

}  // extern "C"

}  // namespace TAMSA::support
