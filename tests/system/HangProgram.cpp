// Does what its argument names, with a module, a worker or a thread that does not go on. It limits
// itself: what hangs is ended by its alarm.
#include <android/log.h>
#include <pthread.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "kiv/TelemetryLogger.h"
#include "tests/support/Latch.h"
#include "tests/system/Calls.h"
#include "tests/system/ModuleHook.h"

namespace {

using android::kiv::KivErrorSeverity;
using android::kiv::KivSessionId;
using android::kiv::TaskRunner;
using android::kiv::TaskRunnerThread;
using android::kiv::TelemetryEnv;
using android::kiv::TelemetryLogger;
using android::kiv::TelemetrySubmissionModel;
using kiv_test::Latch;
using kiv_test::onModuleCallDo;
using kiv_test::report;

/// The limit of every call, and of every exit.
constexpr unsigned kHangsAfterSeconds = 30;

[[noreturn]] void hang() {
  for (;;) pause();
}

// Exit on the worker.

class ExitingLogger : public TelemetryLogger {
 public:
  using TelemetryLogger::TelemetryLogger;

  void logErrorCode(const std::string& error_code, const std::string& api,
                    KivErrorSeverity severity, const std::string& kiv_class) override {
    if (std::this_thread::get_id() != owner_) std::exit(0);
    TelemetryLogger::logErrorCode(error_code, api, severity, kiv_class);
  }

 private:
  const std::thread::id owner_ = std::this_thread::get_id();
};

int exitOnWorker() {
  const auto logger = std::make_shared<ExitingLogger>(KivSessionId(nullptr), "Edge",
                                                      TelemetrySubmissionModel::NON_BLOCKING);
  report(*logger, "before exit", 5);
  logger->logErrorCode("code", "api", KivErrorSeverity::INFO, "class");
  hang();
}

// Modules that hang.

int exitWithHangingModule() {
  onModuleCallDo("reportEvent", hang);
  report(*TelemetryEnv("Edge").getLogger(), "n", 1);
  return 0;
}

int exitBehindHangingModule() {
  Latch hanging;
  onModuleCallDo("reportEvent", [&] {
    hanging.countDown();
    hang();
  });
  const TelemetryEnv telemetry("Edge");
  report(*telemetry.getLogger(), "n", 1);
  std::thread([&] { telemetry.getLogger()->flush(); }).detach();
  hanging.wait();
  report(*telemetry.getLogger(), "behind", 5);
  return 0;
}

int exitWithSlowModule() {
  onModuleCallDo("reportEvent",
                 [] { std::this_thread::sleep_for(std::chrono::milliseconds(150)); });
  const TelemetryEnv telemetry("Edge");
  for (int i = 0; i < 10; ++i) report(*telemetry.getLogger(), "n" + std::to_string(i), 1);
  return 0;
}

// A worker of the program's own that hangs, and telemetry that does not.

int exitBesideHangingWorker() {
  const TelemetryEnv telemetry("Hang");
  static const auto* const own =
      new std::shared_ptr<TaskRunnerThread>(TaskRunnerThread::create(std::chrono::seconds(1)));
  TaskRunner(*own).postTask(hang);
  report(*telemetry.getLogger(), "n", 3);
  return 0;
}

// A thread that is cancelled while it waits.

int cancelWaitingThread() {
  Latch submitting;
  Latch release;
  onModuleCallDo("reportEvent", [&] {
    submitting.countDown();
    release.wait();
  });
  const TelemetryEnv telemetry("Hang");
  report(*telemetry.getLogger(), "n", 1);
  std::thread first([&] { telemetry.getLogger()->flush(); });
  submitting.wait();

  // The worker is busy, so this thread waits.
  auto logger = std::make_unique<TelemetryEnv>("Dropped");
  std::thread waiting([held = logger->getLogger().get()] { held->flush(); });
  // Most often it waits by then; the test holds in either order.
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  pthread_cancel(waiting.native_handle());
  waiting.join();
  logger.reset();
  // Overwrites the logger's memory, if it was released.
  for (int i = 0; i < 100; ++i) {
    std::memset(std::malloc(sizeof(TelemetryLogger)), 0xff, sizeof(TelemetryLogger));
  }
  release.countDown();
  first.join();
  return telemetry.getLogger()->flush() ? 0 : 1;
}

/// A thread that submits is cancelled inside the module.
int cancelSubmittingThread() {
  Latch submitting;
  Latch release;
  onModuleCallDo("reportEvent", [&] {
    submitting.countDown();
    release.wait();
  });
  bool submitted = false;
  std::thread immediate([&submitted] {
    TelemetryLogger logger(KivSessionId(nullptr), "Hang",
                           TelemetrySubmissionModel::LOCKING_IMMEDIATE);
    report(logger, "n", 1);
    submitted = true;
  });
  submitting.wait();
  pthread_cancel(immediate.native_handle());
  release.countDown();
  immediate.join();
  return submitted ? 0 : 1;
}

// A log that reports, while the module is loaded.

int reportFromLog() {
  __android_log_set_minimum_priority(ANDROID_LOG_DEBUG);
  __android_log_set_logger([](const __android_logger_data* /*line*/, const char* /*message*/) {
    TelemetryLogger immediate(KivSessionId(nullptr), "Log",
                              TelemetrySubmissionModel::LOCKING_IMMEDIATE);
    report(immediate, "of the log", 1);
    std::fputs("logged\n", stderr);
  });
  const TelemetryEnv telemetry("Hang");
  report(*telemetry.getLogger(), "n", 3);
  return telemetry.getLogger()->flush() ? 0 : 1;
}

TelemetryLogger* reported_by_log = nullptr;

/// The log reports through the logger whose first report loads the module.
int reportFromLogThroughTheSameLogger() {
  TelemetryLogger immediate(KivSessionId(nullptr), "Hang",
                            TelemetrySubmissionModel::LOCKING_IMMEDIATE);
  reported_by_log = &immediate;
  __android_log_set_minimum_priority(ANDROID_LOG_DEBUG);
  __android_log_set_logger([](const __android_logger_data* /*line*/, const char* /*message*/) {
    if (auto* const logger = std::exchange(reported_by_log, nullptr)) {
      report(*logger, "of the log", 1);
    }
  });
  report(immediate, "n", 1);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::map<std::string, int (*)()> ways = {
      {"exit-on-worker", exitOnWorker},
      {"hanging-window", exitWithHangingModule},
      {"hanging-queue", exitBehindHangingModule},
      {"slow-window", exitWithSlowModule},
      {"hanging-worker", exitBesideHangingWorker},
      {"cancel", cancelWaitingThread},
      {"cancel-submission", cancelSubmittingThread},
      {"log", reportFromLog},
      {"same-logger", reportFromLogThroughTheSameLogger},
  };
  const auto way = argc == 2 ? ways.find(argv[1]) : ways.end();
  if (way == ways.end()) {
    std::fprintf(stderr, "usage: %s WAY\n", argv[0]);
    return 2;
  }
  alarm(kHangsAfterSeconds);
  return way->second();
}
