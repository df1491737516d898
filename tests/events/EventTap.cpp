// Preloaded into a program, writes every event that its library submits to the file that
// TAMSA_EVENT_TAP names, as the module jsonl would, and passes it on to the program's telemetry
// module.
#include <dlfcn.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "modules/jsonl/JsonLine.h"
#include "modules/jsonl/LineAppender.h"
#include "modules/support/Event.h"
#include "tamsa/UnifiedTelemetry.h"

namespace TAMSA::tap {

namespace {

using UnifiedTelemetry::v7::ITelemetryEvent;
using UnifiedTelemetry::v9::ITelemetryHandler;

/// The module that the library asked for. Its functions are called by the ones below.
void* module = nullptr;

template <typename Function>
Function* inModule(const char* name) {
  return reinterpret_cast<Function*>(dlsym(module, name));
}

class Event final : public ITelemetryEvent {
 public:
  Event(ITelemetryEvent& event, const char* name) : inner(event), written(name) {}

  void setStringField(const char* name, const char* value) override {
    inner.setStringField(name, value);
    written.setStringField(name, value);
  }
  void setFloatField(const char* name, float value) override {
    inner.setFloatField(name, value);
    written.setFloatField(name, value);
  }
  void setInt64Field(const char* name, int64_t value) override {
    inner.setInt64Field(name, value);
    written.setInt64Field(name, value);
  }

  ITelemetryEvent& inner;
  support::Event written;
};

class Handler final : public ITelemetryHandler {
 public:
  explicit Handler(ITelemetryHandler& handler) : inner(handler) {}

  ITelemetryEvent* createEvent(const char* name) override {
    ITelemetryEvent* const event = inner.createEvent(name);
    return event != nullptr ? new Event(*event, name) : nullptr;
  }

  bool reportEvent(ITelemetryEvent* event, int32_t flag) override {
    const auto& reported = *static_cast<const Event*>(event);
    // A line that is lost would pass for an event that was not checked.
    if (appender_.append(jsonl::toJsonLine(reported.written)) != 0) std::abort();
    return inner.reportEvent(&reported.inner, flag);
  }

  ITelemetryHandler& inner;

 private:
  const jsonl::LineAppender appender_{std::getenv("TAMSA_EVENT_TAP")};
};

}  // namespace

extern "C" {

__attribute__((visibility("default"))) void* createTelemetryHandler(int64_t version) {
  void* const handler = inModule<void*(int64_t)>("createTelemetryHandler")(version);
  return handler != nullptr ? static_cast<ITelemetryHandler*>(
                                  new Handler(*static_cast<ITelemetryHandler*>(handler)))
                            : nullptr;
}

__attribute__((visibility("default"))) void destroyTelemetryHandler(int64_t version,
                                                                    void* handler) {
  const auto* const tapped = static_cast<const Handler*>(static_cast<ITelemetryHandler*>(handler));
  inModule<void(int64_t, void*)>("destroyTelemetryHandler")(version, &tapped->inner);
  delete tapped;
}

__attribute__((visibility("default"))) void destroyTelemetryEvent(int64_t version, void* event) {
  const auto* const tapped = static_cast<const Event*>(static_cast<ITelemetryEvent*>(event));
  inModule<void(int64_t, void*)>("destroyTelemetryEvent")(version, &tapped->inner);
  delete tapped;
}

/// Opens this library in the place of the module that the library loads, and of no other.
__attribute__((visibility("default"))) void* dlopen(const char* name, int mode) {
  static const auto open =
      reinterpret_cast<void* (*)(const char*, int)>(dlsym(RTLD_NEXT, "dlopen"));
  void* const opened = open(name, mode);
  if (opened == nullptr || name == nullptr || std::strcmp(name, "libtamsa.nebrik.so") != 0) {
    return opened;
  }
  module = opened;
  Dl_info self{};
  dladdr(&module, &self);
  return open(self.dli_fname, mode);
}

}  // extern "C"

}  // namespace TAMSA::tap
