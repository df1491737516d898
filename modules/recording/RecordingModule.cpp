// The module's entry points, handler and event.
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "modules/recording/Recorder.h"
#include "modules/recording/RecorderState.h"
#include "tamsa/UnifiedTelemetry.h"

namespace TAMSA::recording {

namespace {

using UnifiedTelemetry::v7::ITelemetryEvent;
using UnifiedTelemetry::v9::ITelemetryHandler;

}  // namespace

class Module {
 public:
  static ITelemetryHandler* createHandler(int64_t version);

  static void noteCall(std::string call) {
    Recorder::State& state = *Recorder::getInstance().state_;
    std::lock_guard lock(state.mutex);
    state.noteCall(std::move(call));
  }

  static void callHook(const char* operation) {
    Recorder::State& state = *Recorder::getInstance().state_;
    std::unique_lock lock(state.mutex);
    const auto hook = state.faults.call_hook;
    // Unlocked, because a hook may use the library.
    lock.unlock();
    if (hook) hook(operation);
  }
};

namespace {

class RecordedEvent final : public ITelemetryEvent {
 public:
  explicit RecordedEvent(const char* name) { event.name = name; }

  void setStringField(const char* name, const char* value) override {
    Module::callHook("setStringField");
    event.strings[name] = value;
    event.set.emplace_back(name);
  }
  void setFloatField(const char* name, float value) override {
    Module::callHook("setFloatField");
    event.floats[name] = value;
    event.set.emplace_back(name);
  }
  void setInt64Field(const char* name, int64_t value) override {
    Module::callHook("setInt64Field");
    event.ints[name] = value;
    event.set.emplace_back(name);
  }

  Event event;
};

}  // namespace

class Handler final : public ITelemetryHandler {
 public:
  explicit Handler(int number) : number_(number) {}

  ITelemetryEvent* createEvent(const char* name) override {
    Module::callHook("createEvent");
    Recorder::State& state = *Recorder::getInstance().state_;
    std::lock_guard lock(state.mutex);
    state.noteCall(std::string("createEvent(") + name + ")");
    if (state.faults.events_to_withhold > 0) {
      --state.faults.events_to_withhold;
      return nullptr;
    }
    return new RecordedEvent(name);
  }

  bool reportEvent(ITelemetryEvent* reported, int32_t flag) override {
    Event event = static_cast<RecordedEvent*>(reported)->event;
    event.handler = number_;
    event.flag = flag;
    event.thread = std::this_thread::get_id();

    Recorder::State& state = *Recorder::getInstance().state_;
    std::unique_lock lock(state.mutex);
    state.noteCall("reportEvent(" + event.name + ", " + std::to_string(flag) + ")");
    event.accepted = state.faults.refused_reports.count(++state.faults.reports) == 0;
    const auto hook = state.faults.hook;
    const auto delay = state.faults.delay;
    // Unlocked, because a hook may use the library, and other handlers must not wait.
    lock.unlock();
    if (hook) hook(event);
    if (delay.count() > 0) std::this_thread::sleep_for(delay);
    lock.lock();
    if (state.keeps) state.events.push_back(event);
    return event.accepted;
  }

 private:
  const int number_;
};

ITelemetryHandler* Module::createHandler(int64_t version) {
  callHook("createTelemetryHandler");
  Recorder::State& state = *Recorder::getInstance().state_;
  std::lock_guard lock(state.mutex);
  state.noteCall("createTelemetryHandler(" + std::to_string(version) + ")");
  if (version != ITelemetryHandler::kVersion) return nullptr;
  if (state.faults.handlers_to_withhold > 0) {
    --state.faults.handlers_to_withhold;
    return nullptr;
  }
  return new Handler(++state.handlers);
}

extern "C" {

__attribute__((visibility("default"))) void* createTelemetryHandler(int64_t version) {
  return Module::createHandler(version);
}

__attribute__((visibility("default"))) void destroyTelemetryHandler(int64_t version,
                                                                    void* handler) noexcept {
  Module::noteCall("destroyTelemetryHandler(" + std::to_string(version) + ")");
  delete static_cast<Handler*>(static_cast<ITelemetryHandler*>(handler));
}

__attribute__((visibility("default"))) void destroyTelemetryEvent(int64_t version,
                                                                  void* event) noexcept {
  Module::noteCall("destroyTelemetryEvent(" + std::to_string(version) + ")");
  delete static_cast<RecordedEvent*>(static_cast<ITelemetryEvent*>(event));
}

}  // extern "C"

}  // namespace TAMSA::recording
