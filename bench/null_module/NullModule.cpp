#include "bench/null_module/NullModule.h"

#include "tamsa/UnifiedTelemetry.h"

namespace kiv_bench {

namespace {

using TAMSA::UnifiedTelemetry::v7::ITelemetryEvent;
using TAMSA::UnifiedTelemetry::v9::ITelemetryHandler;

class NullEvent final : public ITelemetryEvent {
 public:
  void setStringField(const char* /*name*/, const char* /*value*/) override {}
  void setFloatField(const char* /*name*/, float /*value*/) override {}
  void setInt64Field(const char* /*name*/, int64_t /*value*/) override {}
};

class NullHandler final : public ITelemetryHandler {
 public:
  ITelemetryEvent* createEvent(const char* /*name*/) override { return &event_; }

  bool reportEvent(ITelemetryEvent* /*event*/, int32_t /*flag*/) override {
    ++reported;
    return true;
  }

  uint64_t reported = 0;  // measurements submit on one thread at a time

 private:
  NullEvent event_;
};

NullHandler& handler() {
  static NullHandler& instance = *new NullHandler;
  return instance;
}

}  // namespace

uint64_t reportedEvents() { return handler().reported; }

extern "C" {

__attribute__((visibility("default"))) void* createTelemetryHandler(int64_t version) {
  return version == ITelemetryHandler::kVersion ? static_cast<ITelemetryHandler*>(&handler())
                                                : nullptr;
}

__attribute__((visibility("default"))) void destroyTelemetryHandler(int64_t /*version*/,
                                                                    void* /*handler*/) noexcept {}

__attribute__((visibility("default"))) void destroyTelemetryEvent(int64_t /*version*/,
                                                                  void* /*event*/) noexcept {}

}  // extern "C"

}  // namespace kiv_bench
