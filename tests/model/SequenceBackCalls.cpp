// Calls that the module makes on loggers during a report.
#include "tests/model/Sequence.h"
#include "tests/model/Vocabulary.h"

namespace kiv_test::model {

void Sequence::installBackCalls() {
  // Only loggers that work on the calling thread: the order of posted work would be undetermined.
  const auto find = [this](int report, std::thread::id thread) -> const BackCall* {
    const auto found = back_calls_.find(report);
    if (!back_calls_enabled_ || found == back_calls_.end()) return nullptr;
    const Worker* const worker = found->second.worker;
    return worker == nullptr || worker->id == thread ? &found->second : nullptr;
  };
  recorder_.onReport([this, find](const TAMSA::recording::Event& /*event*/) {
    const auto* const back = find(++reports_taken_, std::this_thread::get_id());
    if (back != nullptr) back->call();
  });
  reference_.on_report = [this, find](int report) {
    const auto* const back = find(report, reference_.thread);
    if (back != nullptr) back->expect();
  };
}

void Sequence::planBackCall(Subject& subject) {
  settle();
  const int in = static_cast<int>(1 + input_.below(6));
  kiv::TelemetryLogger* const logger = &*subject;
  Aggregations* const aggregations = &subject.expected();
  const bool immediate = subject.isImmediate();
  const std::string name = chooseText(input_);
  BackCall back{subject.label, subject.worker.get(), {}, {}};
  const auto report = [&](const char* what, const Report& made, auto call) {
    back.call = std::move(call);
    back.expect = [=] { reference_.report(*aggregations, made, immediate); };
    return std::string(what) + "(" + quoted(name) + ")";
  };
  std::string what;
  switch (input_.below(10)) {
    case 9:
      what = "nothing, but turns the switch off";
      back.call = [] { Process::setTelemetryEnabled(false); };
      back.expect = [this] { reference_.enabled = false; };
      break;
    case 0:
      what = "flush()";
      back.call = [=] { logger->flush(); };
      back.expect = [=] { reference_.flush(*aggregations); };
      break;
    case 1:
      what = "stop()";
      back.call = [=] { logger->stop(); };
      back.expect = [=] { reference_.stop(*aggregations); };
      break;
    case 2:
      what = "start()";
      back.call = [=] { logger->start(); };
      back.expect = [=] { reference_.start(*aggregations); };
      break;
    case 3:
      what = report("logAndroidStatusErrorCode",
                    errorReport(subject.session, "android.OK", name, 0, subject.name), [=] {
                      logger->logAndroidStatusErrorCode(0, name, kiv::KivErrorSeverity::INFO);
                    });
      back.expect = [=, expect = back.expect] {
        reference_.logError("android.OK", name, "");
        expect();
      };
      break;
    case 4:
      what = report(
          "logStreamEvent of zeros",
          streamReport(subject.session, Stream{0, "AUDIO_FORMAT_DEFAULT", 0, 0, 0, 0, false}, name),
          [=] { logger->logStreamEvent(kiv::KivPcmInfoExt{}, ::kiv::KivStreamType{}, name); });
      break;
    case 5:
      what = report("logKivEvent<float>", floatReport(subject.session, name, 1, 1),
                    [=] { logger->logKivEvent(name, 1.0F, kiv::NumericAggregationType::SUM); });
      break;
    case 6:
      what =
          report("logKivClientCall", textReport(subject.session, "client_api_call." + name, "", 4),
                 [=] { logger->logKivClientCall(name, ""); });
      break;
    default:
      what = report("logKivEvent", integerReport(subject.session, name, 1, 1),
                    [=] { logger->logKivEvent(name, 1, kiv::NumericAggregationType::SUM); });
  }
  note("while it takes report number " + std::to_string(in) + " from here, the module calls " +
       subject.label + "." + what);
  back_calls_[reference_.reports() + in] = std::move(back);
}

}  // namespace kiv_test::model
