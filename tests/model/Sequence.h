/// Runs a sequence of calls on the library and on the model, and compares the effects.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "modules/recording/Recorder.h"
#include "tests/model/ByteInput.h"
#include "tests/model/Reference.h"
#include "tests/model/Reports.h"
#include "tests/model/Subjects.h"
#include "tests/support/FakeClock.h"
#include "tests/support/LogCapture.h"

namespace kiv_test::model {

/// One at a time per process.
class Sequence {
 public:
  /// The bytes determine the calls.
  Sequence(const uint8_t* data, size_t size) : input_(data, size) {}

  /// Makes the calls. Returns the first difference between library and model, with the calls that
  /// led to it; empty if there is none.
  std::optional<std::string> run();

  /// True if the process's worker was so slow that the library's wait timed out, as it should. The
  /// result of such a run means nothing.
  bool wasStarved() const { return starved_; }

  size_t calls() const { return calls_.size(); }
  size_t events() const { return reference_.events.size(); }

 private:
  /// A call that the module makes on a logger while it takes a report.
  struct BackCall {
    std::string label;  // of the logger
    const Worker* worker;
    std::function<void()> call;
    std::function<void()> expect;
  };

  struct Trace {
    std::string name;
    int64_t begun_ns;
    kiv::KivTraceInfo info;       // of a section
    std::shared_ptr<void> token;  // of a trace
  };

  /// A stream and the operation that reports it.
  struct ReportedStream {
    Stream stream;
    std::optional<::kiv::KivPcmInfo> compact;
    kiv::KivPcmInfoExt extended;  // used if `compact` is empty
    bool is_internal;             // by the operation of that name
    std::string operation;        // as text

    std::string text() const;
  };

  void begin();
  void step();
  void end();
  std::optional<std::string> compare() const;

  // Steps, each of which makes one call. In SequenceReports.cpp.
  void logErrorCode(Subject& subject);
  void logKivErrorCode(Subject& subject);
  void logAndroidStatusErrorCode(Subject& subject);
  void logKivEventOfInteger(Subject& subject);
  void logKivEventOfFloat(Subject& subject);
  void logKivEventOfText(Subject& subject);
  void logKivClientCall(Subject& subject);
  void beginTraceSection(Subject& subject);
  void endTraceSection(Subject& subject);
  void startTrace(Subject& subject);
  void stopTrace(Subject& subject);

  // In SequenceStreams.cpp.
  void logStreamEvent(Subject& subject);
  void logAudioLatency(Subject& subject);

  // In SequenceLoggers.cpp.
  void makeLogger();
  void makeLoggerOfManager(kiv::TelemetrySubmissionModel model);
  void makeLoggerOfEnvironment();
  void makeLoggerOfDelegate();
  void makeLoggerOnOwnWorker(kiv::TelemetrySubmissionModel model);
  void dropLogger(size_t index);

  // In Sequence.cpp.
  void start(Subject& subject);
  void stop(Subject& subject);
  void flush(Subject& subject);
  void moveClocks();
  void disturbModule();
  void turnSwitch();

  void stepsOnWorker(Subject& subject);

  // In SequenceBackCalls.cpp.
  void installBackCalls();
  void planBackCall(Subject& subject);

  // Choices.
  Session chooseSession();
  ReportedStream chooseStream();

  /// Records a call as text.
  void note(const std::string& description);

  /// Makes a call on a logger and on the model. `waits` is true if the call returns only after the
  /// logger's worker has done the work.
  void perform(Subject& subject, bool waits, const std::function<void()>& call,
               const std::function<void(Aggregations&)>& expect);

  /// As `perform`, for an operation that reports.
  void performReport(Subject& subject, const Report& report, const std::function<void()>& call);
  void performErrorReport(Subject& subject, const std::string& code, const std::string& api,
                          uint8_t severity, const std::string& kiv_class,
                          const std::function<void()>& call);

  /// Waits until all workers but `busy` and the current one are idle.
  void settle(const Worker* busy = nullptr);

  void addSubject(Subject subject);
  void learnSession(Subject& subject, const Session& parent);

  void expectThat(bool condition, const std::string& what);

  // Before the log is captured, because the constructor logs.
  Process& process_ = Process::getInstance();
  ByteInput input_;
  FakeClock clock_;
  const LogCapture log_;
  TAMSA::recording::Recorder& recorder_ = TAMSA::recording::Recorder::getInstance();
  Reference reference_;
  std::vector<Subject> subjects_;  // The first is the default logger.
  std::vector<Trace> sections_;
  std::vector<Trace> traces_;
  std::vector<std::shared_ptr<Worker>> workers_;
  std::vector<std::pair<std::shared_ptr<Worker>, kiv::internal::AggregationManagers>> own_workers_;
  Worker* current_ = nullptr;  // runs the steps, unless the main thread does
  size_t labels_ = 0;
  std::vector<std::string> calls_;
  std::optional<std::string> failure_;
  bool starved_ = false;

  // By the number of the module's report. Workers read it, so it changes only while they are idle.
  std::map<int, BackCall> back_calls_;
  bool back_calls_enabled_ = true;
  int reports_taken_ = 0;  // by the module
};

}  // namespace kiv_test::model
