#include "modules/recording/Recorder.h"

#include <utility>

#include "modules/recording/RecorderState.h"

namespace TAMSA::recording {

Recorder& Recorder::getInstance() {
  // Leaked on purpose: events can arrive until the end of the process.
  static Recorder& instance = *new Recorder;
  return instance;
}

Recorder::Recorder() : state_(std::make_unique<State>()) {}

std::vector<Event> Recorder::events() const {
  std::lock_guard lock(state_->mutex);
  return state_->events;
}

std::vector<std::string> Recorder::calls() const {
  std::lock_guard lock(state_->mutex);
  return state_->calls;
}

int Recorder::reports() const {
  std::lock_guard lock(state_->mutex);
  return state_->faults.reports;
}

void Recorder::keepNothing() {
  std::lock_guard lock(state_->mutex);
  state_->keeps = false;
}

void Recorder::reset() {
  std::lock_guard lock(state_->mutex);
  state_->events.clear();
  state_->calls.clear();
  state_->faults = {};
  state_->keeps = true;
}

void Recorder::refuseReport(int n) {
  std::lock_guard lock(state_->mutex);
  state_->faults.refused_reports.insert(state_->faults.reports + n);
}

void Recorder::withholdHandlers(int count) {
  std::lock_guard lock(state_->mutex);
  state_->faults.handlers_to_withhold = count;
}

void Recorder::withholdEvents(int count) {
  std::lock_guard lock(state_->mutex);
  state_->faults.events_to_withhold = count;
}

void Recorder::slowDown(std::chrono::milliseconds delay) {
  std::lock_guard lock(state_->mutex);
  state_->faults.delay = delay;
}

void Recorder::onReport(std::function<void(const Event&)> hook) {
  std::lock_guard lock(state_->mutex);
  state_->faults.hook = std::move(hook);
}

void Recorder::onCall(std::function<void(const std::string&)> hook) {
  std::lock_guard lock(state_->mutex);
  state_->faults.call_hook = std::move(hook);
}

}  // namespace TAMSA::recording
