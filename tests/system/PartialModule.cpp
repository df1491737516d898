// A telemetry module that lacks one of its three functions: the one that LACKS_... names. It says
// on standard error what is reported to it.
#include <cstdint>
#include <cstdio>

#include "tamsa/UnifiedTelemetry.h"

namespace {

using TAMSA::UnifiedTelemetry::v7::ITelemetryEvent;
using TAMSA::UnifiedTelemetry::v9::ITelemetryHandler;

class Event final : public ITelemetryEvent {
 public:
  void setStringField(const char* /*name*/, const char* /*value*/) override {}
  void setFloatField(const char* /*name*/, float /*value*/) override {}
  void setInt64Field(const char* /*name*/, int64_t /*value*/) override {}
};

// One of each is enough, and nothing needs to be destroyed.
Event event;

class Handler final : public ITelemetryHandler {
 public:
  ITelemetryEvent* createEvent(const char* name) override {
    std::fprintf(stderr, "reported '%s'\n", name);
    return &event;
  }
  bool reportEvent(ITelemetryEvent* /*event*/, int32_t /*flag*/) override { return true; }
};

[[maybe_unused]] Handler handler;

}  // namespace

extern "C" {

#ifndef LACKS_CREATE_HANDLER
__attribute__((visibility("default"))) void* createTelemetryHandler(int64_t /*version*/) {
  return static_cast<ITelemetryHandler*>(&handler);
}
#endif

#ifndef LACKS_DESTROY_HANDLER
__attribute__((visibility("default"))) void destroyTelemetryHandler(int64_t /*version*/,
                                                                    void* /*handler*/) noexcept {
  std::fputs("destroyed a handler\n", stderr);
}
#endif

#ifndef LACKS_DESTROY_EVENT
__attribute__((visibility("default"))) void destroyTelemetryEvent(int64_t /*version*/,
                                                                  void* /*event*/) noexcept {
  std::fputs("destroyed an event\n", stderr);
}
#endif

}  // extern "C"
