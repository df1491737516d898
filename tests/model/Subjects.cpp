#include "tests/model/Subjects.h"

#include <cstdlib>

#include "modules/recording/Recorder.h"
#include "tests/support/Latch.h"
#include "tests/support/LogCapture.h"
#include "tests/support/PrivateMembers.h"
#include "tests/support/TestSessions.h"

namespace kiv_test::model {

using TAMSA::recording::Event;
using TAMSA::recording::Recorder;

Worker::Worker(std::shared_ptr<kiv::TaskRunnerThread> worker_thread)
    : thread(std::move(worker_thread)), runner(thread) {
  run([this] { id = std::this_thread::get_id(); });
}

void Worker::run(const std::function<void()>& work) {
  Latch done;
  runner.postTask([&] {
    work();
    done.countDown();
  });
  done.wait();
  has_pending = false;
}

kiv::TelemetryLogger& Subject::operator*() const {
  return logger != nullptr ? *logger : dynamic_cast<kiv::TelemetryLogger&>(*handed_out);
}

Process& Process::getInstance() {
  // Leaked on purpose: its logger may be used until the process ends.
  static Process& instance = *new Process;
  return instance;
}

void Process::setTelemetryEnabled(bool enabled) {
  if (enabled) {
    switchOf(kiv::TelemetryLoggerManager::getInstance()) = true;
  } else {
    kiv::disableTelemetryForTesting();
  }
}

Process::Process()
    : default_logger(kiv::TelemetryEnv().getLogger()),
      worker(std::make_shared<Worker>(workerOf(kiv::TelemetryLoggerManager::getInstance()))) {
  const LogCapture quiet;
  Recorder& recorder = Recorder::getInstance();
  recorder.reset();
  worker->run([this] {
    const kiv::KivPcmInfoExt pcm{};
    default_logger->start();
    default_logger->logErrorCode("", "", kiv::KivErrorSeverity::INFO, "");
    default_logger->logStreamEvent(pcm, ::kiv::KivStreamType::KIV_STREAM_TYPE_OBJECT, "");
    default_logger->logAudioLatency(pcm, ::kiv::KivStreamType::KIV_STREAM_TYPE_OBJECT, {});
    default_logger->logKivEvent(std::string(), 0, kiv::NumericAggregationType::SUM);
    default_logger->logKivEvent(std::string(), 0.0F, kiv::NumericAggregationType::SUM);
    default_logger->logKivEvent(std::string(), std::string(), kiv::NumericAggregationType::SUM);
    default_logger->stop();
  });
  const auto events = recorder.events();
  for (size_t kind = 0; kind < KINDS; ++kind) {
    Aggregation& aggregation = worker->expected.kinds[kind];
    // Lower than the numbers that a sequence assigns.
    aggregation.id = -static_cast<int>(kind);
    aggregation.has_handler = true;
    handlers[aggregation.id] = events.at(kind).handler;
  }
  // At exit, aggregations with an owner are flushed, and log an error if they are stopped.
  std::atexit([] { Process::getInstance().default_logger->start(); });
  root.chain = {events.at(0).strings.at("kiv_session_id")};
  recorder.reset();
}

kiv::KivSessionId makeSessionId(const Session& session) {
  kiv::KivSessionId id = kiv_test::session(session.chain.front());
  for (size_t i = 1; i < session.chain.size(); ++i) id = kiv_test::session(session.chain[i], id);
  return id;
}

}  // namespace kiv_test::model
