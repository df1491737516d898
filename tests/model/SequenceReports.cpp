// The logging operations and traces of a sequence.
#include <chrono>
#include <iterator>

#include "tests/model/Sequence.h"
#include "tests/model/Vocabulary.h"

namespace kiv_test::model {

namespace {

using kiv::KivErrorSeverity;
using kiv::NumericAggregationType;

/// The arguments of a call, as text.
template <typename... Args>
std::string arguments(const Args&... args) {
  std::string text;
  ((text += (text.empty() ? "" : ", ") + args), ...);
  return "(" + text + ")";
}

uint8_t chooseMethod(ByteInput& input) {
  const uint8_t choice = input.byte();
  return choice < 0xF0 ? choice % 5 : input.byte();
}

std::string typeText(uint8_t method) { return "method " + std::to_string(method); }

}  // namespace

void Sequence::performReport(Subject& subject, const Report& report,
                             const std::function<void()>& call) {
  perform(
      subject, subject.model != kiv::TelemetrySubmissionModel::NON_BLOCKING, call,
      [&](Aggregations& expected) { reference_.report(expected, report, subject.isImmediate()); });
}

void Sequence::performErrorReport(Subject& subject, const std::string& code, const std::string& api,
                                  uint8_t severity, const std::string& kiv_class,
                                  const std::function<void()>& call) {
  reference_.logError(code, api, kiv_class);
  performReport(subject,
                errorReport(subject.session, code, api, severity,
                            kiv_class.empty() ? subject.name : kiv_class),
                call);
}

void Sequence::logErrorCode(Subject& subject) {
  const std::string code = chooseText(input_);
  const std::string api = chooseText(input_);
  const uint8_t severity = input_.byte();
  const std::string kiv_class = chooseText(input_);
  note(subject.label + ".logErrorCode" +
       arguments(quoted(code), quoted(api), std::to_string(severity), quoted(kiv_class)));
  performErrorReport(subject, code, api, severity, kiv_class, [&] {
    (*subject).logErrorCode(code, api, KivErrorSeverity(severity), kiv_class);
  });
}

void Sequence::logKivErrorCode(Subject& subject) {
  const auto error = chooseError(input_);
  const std::string api = chooseText(input_);
  const uint8_t severity = input_.byte() % 4;
  const std::string kiv_class = chooseText(input_);
  const auto value = kiv::KivError(error.value);
  const std::string name = std::string("kiv.") + error.text;
  if (input_.flag()) {
    note(subject.label + ".logKivErrorCode" +
         arguments(std::to_string(error.value), quoted(api), std::to_string(severity),
                   quoted(kiv_class)));
    performErrorReport(subject, name, api, severity, kiv_class, [&] {
      (*subject).logKivErrorCode(value, api, KivErrorSeverity(severity), kiv_class);
    });
    return;
  }
  const int detail = input_.flag() ? input_.any<int>() : -static_cast<int>(input_.below(3));
  note(subject.label + ".logKivErrorCode" +
       arguments(std::to_string(error.value), std::to_string(detail), quoted(api),
                 std::to_string(severity), quoted(kiv_class)));
  performErrorReport(subject, name + "=" + std::to_string(detail), api, severity, kiv_class, [&] {
    (*subject).logKivErrorCode(value, detail, api, KivErrorSeverity(severity), kiv_class);
  });
}

void Sequence::logAndroidStatusErrorCode(Subject& subject) {
  const auto status = chooseStatus(input_);
  const std::string api = chooseText(input_);
  const uint8_t severity = input_.byte() % 4;
  note(subject.label + ".logAndroidStatusErrorCode" +
       arguments(std::to_string(status.value), quoted(api), std::to_string(severity)));
  performErrorReport(subject, std::string("android.") + status.text, api, severity, "", [&] {
    (*subject).logAndroidStatusErrorCode(status.value, api, KivErrorSeverity(severity));
  });
}

void Sequence::logKivEventOfInteger(Subject& subject) {
  const std::string name = chooseText(input_);
  const long long value = chooseInteger(input_);
  const uint8_t method = chooseMethod(input_);
  const auto type = NumericAggregationType(method);
  const size_t width = input_.below(4);
  const auto perform_as = [&](auto narrowed) {
    note(subject.label + ".logKivEvent of " + std::to_string(sizeof(narrowed)) + " bytes" +
         arguments(quoted(name), std::to_string(narrowed), typeText(method)));
    performReport(subject, integerReport(subject.session, name, narrowed, method),
                  [&] { (*subject).logKivEvent(name, narrowed, type); });
  };
  switch (width) {
    case 0:
      return perform_as(static_cast<int16_t>(value));
    case 1:
      return perform_as(static_cast<int64_t>(value));
    default:
      return perform_as(value);
  }
}

void Sequence::logKivEventOfFloat(Subject& subject) {
  const std::string name = chooseText(input_);
  const float value = chooseFloat(input_);
  const uint8_t method = chooseMethod(input_);
  note(subject.label + ".logKivEvent<float>" +
       arguments(quoted(name), std::to_string(value), typeText(method)));
  performReport(subject, floatReport(subject.session, name, value, method), [&] {
    (*subject).logKivEvent<float>(name, value, NumericAggregationType(method));
  });
}

void Sequence::logKivEventOfText(Subject& subject) {
  const std::string name = chooseText(input_);
  const std::string value = chooseText(input_);
  const uint8_t method = chooseMethod(input_);
  note(subject.label + ".logKivEvent<std::string>" +
       arguments(quoted(name), quoted(value), typeText(method)));
  performReport(subject, textReport(subject.session, name, value, method), [&] {
    (*subject).logKivEvent<std::string>(name, value, NumericAggregationType(method));
  });
}

void Sequence::logKivClientCall(Subject& subject) {
  const std::string api = chooseText(input_);
  const std::string value = chooseText(input_);
  note(subject.label + ".logKivClientCall" + arguments(quoted(api), quoted(value)));
  performReport(subject, textReport(subject.session, "client_api_call." + api, value, 4),
                [&] { (*subject).logKivClientCall(api, value); });
}

void Sequence::beginTraceSection(Subject& subject) {
  const std::string name = chooseText(input_);
  const bool has_class = input_.flag();
  const std::string kiv_class = has_class ? chooseText(input_) : subject.name;
  note(subject.label + ".kiv_beginTraceSection" +
       (has_class ? arguments(quoted(kiv_class), quoted(name)) : arguments(quoted(name))));
  auto info = has_class ? (*subject).kiv_beginTraceSection(kiv_class, name)
                        : (*subject).kiv_beginTraceSection(name);
  expectThat(info.name == name && info.kiv_class == kiv_class, "the section has other texts");
  sections_.push_back({name, reference_.steady_ns, std::move(info), nullptr});
}

void Sequence::endTraceSection(Subject& subject) {
  if (sections_.empty()) return;
  Trace trace = sections_[input_.below(sections_.size())];
  if (input_.below(4) == 0) {
    // Callers can fill in the record themselves, with any values.
    const int32_t shift_ns = input_.any<int32_t>();
    trace.info.start_time += std::chrono::nanoseconds(shift_ns);
    trace.begun_ns += shift_ns;
  }
  const int64_t elapsed_us = (reference_.steady_ns - trace.begun_ns) / 1000;
  note(subject.label + ".kiv_endTraceSection" +
       arguments(quoted(trace.name), "after " + std::to_string(elapsed_us) + " us"));
  performReport(subject,
                integerReport(subject.session, "api_latency_us." + trace.name, elapsed_us, 0),
                [&] { (*subject).kiv_endTraceSection(trace.info); });
}

void Sequence::startTrace(Subject& subject) {
  const std::string kiv_class = chooseText(input_);
  const std::string name = chooseText(input_);
  note(subject.label + ".startTrace" + arguments(quoted(kiv_class), quoted(name)));
  traces_.push_back({name, reference_.steady_ns, {}, (*subject).startTrace(kiv_class, name)});
}

void Sequence::stopTrace(Subject& subject) {
  const size_t choice = input_.below(traces_.size() % 255 + 1);
  if (choice == traces_.size()) {
    note(subject.label + ".stopTrace(nullptr)");
    (*subject).stopTrace(nullptr);
    return;
  }
  const Trace& trace = traces_[choice];
  const int64_t elapsed_us = (reference_.steady_ns - trace.begun_ns) / 1000;
  note(subject.label + ".stopTrace" +
       arguments(quoted(trace.name), "after " + std::to_string(elapsed_us) + " us"));
  // The default logger reports, whichever logger is called.
  Subject& reporting = subjects_.front();
  performReport(reporting,
                integerReport(reporting.session, "api_latency_us." + trace.name, elapsed_us, 0),
                [&] { (*subject).stopTrace(trace.token); });
}

}  // namespace kiv_test::model
