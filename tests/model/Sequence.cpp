#include "tests/model/Sequence.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "tests/model/Comparison.h"
#include "tests/model/Vocabulary.h"
#include "tests/support/Latch.h"

namespace kiv_test::model {

namespace {

constexpr size_t kMostCalls = 600;
constexpr size_t kMostLoggers = 10;

int64_t microseconds(FakeClock::SystemTime time) {
  return std::chrono::duration_cast<std::chrono::microseconds>(time.time_since_epoch()).count();
}

}  // namespace

std::optional<std::string> Sequence::run() {
  begin();
  while (!input_.empty() && calls_.size() < kMostCalls && !failure_.has_value()) step();
  end();
  if (starved_) return std::nullopt;
  if (!failure_.has_value()) failure_ = compare();
  if (!failure_.has_value()) return std::nullopt;
  std::ostringstream text;
  text << *failure_ << "Calls:\n";
  for (size_t i = 0; i < calls_.size(); ++i) text << "  " << i << ". " << calls_[i] << '\n';
  return text.str();
}

void Sequence::begin() {
  recorder_.reset();
  reference_.system_us = microseconds(clock_.system());
  workers_.push_back(process_.worker);
  // Workers are identified by their threads. The first logger starts the aggregations that the last
  // sequence stopped.
  addSubject({"default", process_.default_logger, nullptr, process_.root, "",
              kiv::TelemetrySubmissionModel::NON_BLOCKING, process_.worker});
  note("default.start()");
  process_.worker->run([&] { process_.default_logger->start(); });
  reference_.start(process_.worker->expected);
  installBackCalls();
}

void Sequence::end() {
  settle();
  while (subjects_.size() > 1) dropLogger(1);
  note("default.stop()");
  reference_.thread = process_.worker->id;
  reference_.stop(process_.worker->expected);
  process_.worker->run([&] { process_.default_logger->stop(); });
  recorder_.onReport({});
  Process::setTelemetryEnabled(true);
}

std::optional<std::string> Sequence::compare() const {
  auto difference = firstDifference(reference_.events, recorder_.events(), process_.handlers);
  if (!difference) difference = firstDifference("log line", reference_.log, log_.lines());
  if (!difference) {
    difference = firstDifference("module call", reference_.module_calls, recorder_.calls());
  }
  return difference;
}

void Sequence::step() {
  const size_t choice = input_.byte();
  if (choice >= 240) {
    if (subjects_.size() < kMostLoggers) makeLogger();
    return;
  }
  Subject& subject = subjects_[input_.below(subjects_.size())];
  switch (choice % 24) {
    case 0:
    case 1:
      return logErrorCode(subject);
    case 2:
      return logKivErrorCode(subject);
    case 3:
      return logAndroidStatusErrorCode(subject);
    case 4:
    case 5:
      return logStreamEvent(subject);
    case 6:
    case 7:
      return logAudioLatency(subject);
    case 8:
    case 9:
      return logKivEventOfInteger(subject);
    case 10:
    case 11:
      return logKivEventOfFloat(subject);
    case 12:
      return logKivEventOfText(subject);
    case 13:
      return logKivClientCall(subject);
    case 14:
      return input_.flag() ? beginTraceSection(subject) : startTrace(subject);
    case 15:
      return endTraceSection(subject);
    case 16:
      return stopTrace(subject);
    case 17:
      return start(subject);
    case 18:
      return input_.below(4) == 0 ? stop(subject) : flush(subject);
    case 19:
      return flush(subject);
    case 20:
    case 21:
      return moveClocks();
    case 22:
      return stepsOnWorker(subject);
    default:
      break;
  }
  switch (input_.below(8)) {
    case 0:
      return disturbModule();
    case 1:
      return turnSwitch();
    case 2:
    case 3:
    case 4:
      return planBackCall(subject);
    default:
      // Not the default logger, and not the worker that runs the current steps.
      if (&subject != &subjects_.front() && current_ == nullptr) {
        dropLogger(static_cast<size_t>(&subject - subjects_.data()));
      }
  }
}

void Sequence::note(const std::string& description) {
  static const bool echo = std::getenv("KIV_MODEL_ECHO") != nullptr;
  const std::string where = current_ != nullptr ? "(on a worker) " : "";
  if (echo) std::fprintf(stderr, "%zu. %s%s\n", calls_.size(), where.c_str(), description.c_str());
  reference_.call = calls_.size();
  calls_.push_back(where + description);
}

void Sequence::expectThat(bool condition, const std::string& what) {
  if (!condition && !failure_.has_value())
    failure_ = "call " + std::to_string(reference_.call) + ": " + what + '\n';
}

void Sequence::settle(const Worker* busy) {
  for (const auto& worker : workers_) {
    if (worker->has_pending && worker.get() != busy && worker.get() != current_) worker->run([] {});
  }
}

void Sequence::perform(Subject& subject, bool waits, const std::function<void()>& call,
                       const std::function<void(Aggregations&)>& expect) {
  const bool here = subject.isImmediate() || subject.worker.get() == current_;
  // Only one thread at a time does observable work, so that its order is determined.
  settle(subject.worker.get());
  reference_.thread = here ? std::this_thread::get_id() : subject.worker->id;
  expect(subject.expected());

  const bool is_limited = !here && waits && subject.worker == process_.worker;
  if (is_limited && subject.worker->has_pending) settle();
  const auto before = std::chrono::steady_clock::now();
  call();
  const auto lasted = std::chrono::steady_clock::now() - before;
  if (is_limited && lasted > std::chrono::milliseconds(900)) starved_ = true;
  if (!here && !waits) subject.worker->has_pending = true;
}

void Sequence::start(Subject& subject) {
  note(subject.label + ".start()");
  perform(
      subject, true, [&] { expectThat((*subject).start(), "start() returned false"); },
      [&](Aggregations& expected) { reference_.start(expected); });
}

void Sequence::stop(Subject& subject) {
  note(subject.label + ".stop()");
  bool stopped = false;
  perform(
      subject, true,
      [&] { expectThat((*subject).stop() == stopped, "stop() did not return what it must"); },
      [&](Aggregations& expected) { stopped = reference_.stop(expected); });
}

void Sequence::flush(Subject& subject) {
  note(subject.label + ".flush()");
  bool flushed = false;
  perform(
      subject, true,
      [&] { expectThat((*subject).flush() == flushed, "flush() did not return what it must"); },
      [&](Aggregations& expected) { flushed = reference_.flush(expected); });
}

void Sequence::moveClocks() {
  static constexpr int64_t kSteps[] = {0,          1,          999,        1000000,    999999999,
                                       4999999999, 5000000000, 5000000001, 5001000000, 2500000000};
  settle();
  const uint8_t choice = input_.byte();
  const int64_t time_ns = input_.oneOf(kSteps);
  if (choice < 0xA0) {
    note("both clocks advance " + std::to_string(time_ns) + " ns");
    clock_.advance(std::chrono::nanoseconds(time_ns));
    reference_.steady_ns += time_ns;
  } else if (choice < 0xD0) {
    note("the monotonic clock advances " + std::to_string(time_ns) + " ns");
    clock_.advanceSteady(std::chrono::nanoseconds(time_ns));
    reference_.steady_ns += time_ns;
  } else {
    // Within the range of a nanosecond clock.
    const int64_t time_us = input_.any<int64_t>() % 9000000000000000;
    note("the wall clock is set to " + std::to_string(time_us) + " us");
    using Duration = FakeClock::SystemTime::duration;
    clock_.setSystem(FakeClock::SystemTime(
        std::chrono::duration_cast<Duration>(std::chrono::microseconds(time_us))));
  }
  reference_.system_us = microseconds(clock_.system());
}

void Sequence::disturbModule() {
  settle();
  const int n = static_cast<int>(1 + input_.below(8));
  switch (input_.below(4)) {
    case 0:
      note("the module makes no handler the next " + std::to_string(n) + " times");
      recorder_.withholdHandlers(n);
      return reference_.withholdHandlers(n);
    case 1:
      note("the module makes no event the next " + std::to_string(n) + " times");
      recorder_.withholdEvents(n);
      return reference_.withholdEvents(n);
    default:
      note("the module refuses the report number " + std::to_string(n) + " from here");
      recorder_.refuseReport(n);
      return reference_.refuseReport(n);
  }
}

void Sequence::turnSwitch() {
  settle();
  // Mostly on: little can be observed while it is off.
  reference_.enabled = !reference_.enabled || input_.below(4) > 0;
  note(reference_.enabled ? "the switch is turned on" : "disableTelemetryForTesting()");
  Process::setTelemetryEnabled(reference_.enabled);
  expectThat(kiv::isTelemetryEnabled() == reference_.enabled, "the switch did not turn");
}

void Sequence::stepsOnWorker(Subject& subject) {
  if (subject.isImmediate() || current_ != nullptr) return;
  note("a task on the worker of " + subject.label + " begins");
  settle();
  const auto worker = subject.worker;
  current_ = worker.get();
  worker->run([this] {
    for (size_t steps = 1 + input_.below(6); steps > 0 && !input_.empty(); --steps) step();
  });
  settle();
  current_ = nullptr;
  note("the task ends");
}

}  // namespace kiv_test::model
