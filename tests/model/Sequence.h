/// A sequence of calls, made both on the library and on the model.
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

/// One at a time in a process.
class Sequence {
 public:
  /// The bytes say which calls to make.
  Sequence(const uint8_t* data, size_t size) : input_(data, size) {}

  /// Makes the calls. The first difference between what the library did and what it must do, with
  /// the calls that led there; empty if there is none.
  std::optional<std::string> run();

  /// Whether the process's worker was so late that the library rightly gave up waiting for it. Such
  /// a run says nothing.
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

  /// A stream and the road on which it is reported.
  struct DescribedStream {
    Stream stream;
    std::optional<::kiv::KivPcmInfo> compact;
    kiv::KivPcmInfoExt extended;  // in place of the compact form
    bool is_internal;             // by the operation of that name
    std::string road;             // in words

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
  DescribedStream chooseStream();

  /// Notes a call in words.
  void note(const std::string& description);

  /// Makes a call on a logger and on the model. `waits` says whether it returns only when the
  /// logger's worker has done its work.
  void perform(Subject& subject, bool waits, const std::function<void()>& call,
               const std::function<void(Aggregations&)>& expect);

  /// `perform` for the report of an operation.
  void performReport(Subject& subject, const Report& report, const std::function<void()>& call);
  void performErrorReport(Subject& subject, const std::string& code, const std::string& api,
                          uint8_t severity, const std::string& kiv_class,
                          const std::function<void()>& call);

  /// Waits until the workers have done what was posted, but for `busy` and the current one.
  void settle(const Worker* busy = nullptr);

  void addSubject(Subject subject);
  void learnSession(Subject& subject, const Session& parent);

  void expectThat(bool condition, const std::string& what);

  // Before the log is captured: its making logs.
  Process& process_ = Process::getInstance();
  ByteInput input_;
  FakeClock clock_;
  const LogCapture log_;
  TAMSA::recording::Recorder& recorder_ = TAMSA::recording::Recorder::getInstance();
  Reference reference_;
  std::vector<Subject> subjects_;  // The first is the default logger, which stays.
  std::vector<Trace> sections_;
  std::vector<Trace> traces_;
  std::vector<std::shared_ptr<Worker>> workers_;
  std::vector<std::pair<std::shared_ptr<Worker>, kiv::internal::AggregationManagers>> own_workers_;
  Worker* current_ = nullptr;  // on which the steps are made, if not on the main thread
  size_t labels_ = 0;
  std::vector<std::string> calls_;
  std::optional<std::string> failure_;
  bool starved_ = false;

  // By the number of the report that the module is taking. Read by workers: changed only while all
  // are at rest.
  std::map<int, BackCall> back_calls_;
  bool back_calls_enabled_ = true;
  int reports_taken_ = 0;  // by the module, one at a time
};

}  // namespace kiv_test::model
