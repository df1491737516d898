/// Loads a telemetry module as the library does: from its file, by its exported functions.
#pragma once

#include <dlfcn.h>

#include <cstdint>
#include <memory>
#include <stdexcept>

#include "tamsa/UnifiedTelemetry.h"

namespace kiv_test {

using TAMSA::UnifiedTelemetry::v7::ITelemetryEvent;
using TAMSA::UnifiedTelemetry::v9::ITelemetryHandler;

/// Hands an object back to the module that made it.
template <typename T>
struct DestroyInModule {
  void operator()(T* object) const { function(T::kVersion, object); }

  void (*function)(int64_t, void*) noexcept;
};

using HandlerPtr = std::unique_ptr<ITelemetryHandler, DestroyInModule<ITelemetryHandler>>;
using EventPtr = std::unique_ptr<ITelemetryEvent, DestroyInModule<ITelemetryEvent>>;

/// Never closes the module, like the library.
class LoadedModule {
 public:
  explicit LoadedModule(const char* path) : library_(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
    if (library_ == nullptr) throw std::runtime_error(dlerror());
    find("createTelemetryHandler", createTelemetryHandler);
    find("destroyTelemetryHandler", destroyTelemetryHandler);
    find("destroyTelemetryEvent", destroyTelemetryEvent);
  }

  HandlerPtr createHandler() const {
    void* const handler = createTelemetryHandler(ITelemetryHandler::kVersion);
    return {static_cast<ITelemetryHandler*>(handler), {destroyTelemetryHandler}};
  }

  EventPtr createEvent(ITelemetryHandler& handler, const char* name) const {
    return {handler.createEvent(name), {destroyTelemetryEvent}};
  }

  void* (*createTelemetryHandler)(int64_t) = nullptr;
  void (*destroyTelemetryHandler)(int64_t, void*) noexcept = nullptr;
  void (*destroyTelemetryEvent)(int64_t, void*) noexcept = nullptr;

 private:
  template <typename Function>
  void find(const char* name, Function*& function) {
    function = reinterpret_cast<Function*>(dlsym(library_, name));
    if (function == nullptr) throw std::runtime_error(dlerror());
  }

  void* const library_;
};

}  // namespace kiv_test
