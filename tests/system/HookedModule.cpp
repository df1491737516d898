// A telemetry module that says on standard error what is reported to it. Each of its operations
// calls a function that its program may define, with the operation's name.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "tamsa/UnifiedTelemetry.h"

namespace {

using TAMSA::UnifiedTelemetry::v7::ITelemetryEvent;
using TAMSA::UnifiedTelemetry::v9::ITelemetryHandler;

// Looked up when the module is loaded: a report must not need the loader.
void (*const hook)(const char*) = reinterpret_cast<void (*)(const char*)>(dlsym(RTLD_DEFAULT,
                                                                                "onModuleCall"));

void callHook(const char* function) {
  if (hook != nullptr) hook(function);
}

class Event final : public ITelemetryEvent {
 public:
  void setStringField(const char* name, const char* value) override {
    if (std::string(name) == "kiv_event_name") name_ = value;
  }
  void setFloatField(const char* /*name*/, float /*value*/) override {}
  void setInt64Field(const char* name, int64_t value) override {
    if (std::string(name) == "aggregated_count") count_ = value;
    callHook("setInt64Field");
  }

  /// In one system call, which other threads and processes do not divide.
  void print() const {
    const std::string line = "reported " + name_ + " " + std::to_string(count_) + "\n";
    static_cast<void>(!write(STDERR_FILENO, line.data(), line.size()));
  }

 private:
  std::string name_;
  int64_t count_ = 0;
};

class Handler final : public ITelemetryHandler {
 public:
  ITelemetryEvent* createEvent(const char* /*name*/) override {
    callHook("createEvent");
    return new Event;
  }
  bool reportEvent(ITelemetryEvent* event, int32_t /*flag*/) override {
    static_cast<Event*>(event)->print();
    callHook("reportEvent");
    return true;
  }
};

}  // namespace

extern "C" {

__attribute__((visibility("default"))) void* createTelemetryHandler(int64_t /*version*/) {
  callHook("createTelemetryHandler");
  return static_cast<ITelemetryHandler*>(new Handler);
}

__attribute__((visibility("default"))) void destroyTelemetryHandler(int64_t /*version*/,
                                                                    void* handler) noexcept {
  delete static_cast<Handler*>(static_cast<ITelemetryHandler*>(handler));
}

__attribute__((visibility("default"))) void destroyTelemetryEvent(int64_t /*version*/,
                                                                  void* event) noexcept {
  delete static_cast<Event*>(static_cast<ITelemetryEvent*>(event));
}

}  // extern "C"
