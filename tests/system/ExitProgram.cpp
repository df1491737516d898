// Reports, then ends the process in the way that its argument names.
#include <android/log.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "kiv/TelemetryLogger.h"

namespace {

using android::kiv::KivErrorSeverity;
using android::kiv::NumericAggregationType;
using android::kiv::TelemetryEnv;
using android::kiv::TelemetryLogger;
using android::kiv::TelemetryLoggerManager;
using android::kiv::TelemetrySubmissionModel;

void report(TelemetryLogger& logger, const std::string& name, int times) {
  for (int i = 0; i < times; ++i) {
    logger.logKivEvent<long long>(name, 1, NumericAggregationType::SUM);
  }
}

/// A client's object that reports until its very end.
struct LateReporter {
  LateReporter() = default;
  ~LateReporter() {
    if (telemetry.has_value()) report(*telemetry->getLogger(), "from a destructor", 3);
  }

  std::optional<TelemetryEnv> telemetry;
};

// Constructed before anything of telemetry is, so destroyed after what main() constructs.
LateReporter early_object;

/// Uses telemetry before main(), where it is asked to.
struct EarlyReporter : LateReporter {
  EarlyReporter() {
    if (std::getenv("REPORT_BEFORE_MAIN") == nullptr) return;
    telemetry.emplace("Early");
    report(*telemetry->getLogger(), "before main", 4);
  }
};

const EarlyReporter early_reporter;

void returnFromMain() {
  const TelemetryEnv telemetry("Main");
  report(*telemetry.getLogger(), "before return", 100);
}

void reportEveryKind() {
  const TelemetryEnv telemetry("Main");
  TelemetryLogger& logger = *telemetry.getLogger();
  const android::kiv::KivPcmInfoExt pcm{48000.0F, 960, 2, true, AUDIO_FORMAT_PCM_16_BIT};
  logger.logErrorCode("code", "api", KivErrorSeverity::INFO, "class");
  logger.logStreamEvent(pcm, kiv::KivStreamType::KIV_STREAM_TYPE_OBJECT, "start");
  logger.logAudioLatency(pcm, kiv::KivStreamType::KIV_STREAM_TYPE_OBJECT,
                         std::chrono::milliseconds(1));
  logger.logKivEvent<long long>("integer", 1, NumericAggregationType::SUM);
  logger.logKivEvent<float>("float", 1.0F, NumericAggregationType::SUM);
  logger.logKivEvent<std::string>("text", "", NumericAggregationType::COUNT);
}

void joinThreads() {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([] {
      const TelemetryEnv telemetry("Thread");
      report(*telemetry.getLogger(), "before return", 25);
    });
  }
  for (auto& thread : threads) thread.join();
}

void reportFromEarlyObject() { early_object.telemetry.emplace("Early"); }

void reportFromLateObject() {
  static LateReporter late_object;
  late_object.telemetry.emplace("Late");
}

void leakLogger() {
  static const auto* const leaked = new TelemetryEnv("Leaked");
  report(*leaked->getLogger(), "before return", 10);
}

void leakDefaultLogger() {
  static const auto* const leaked = new TelemetryEnv();
  report(*leaked->getLogger(), "before return", 10);
}

[[noreturn]] void exitWhileReportsFlow() {
  const TelemetryEnv telemetry("Main");
  report(*telemetry.getLogger(), "before exit", 100);
  for (int i = 0; i < 2; ++i) {
    std::thread([] {
      const TelemetryEnv flowing("Flowing");
      for (;;) report(*flowing.getLogger(), "flowing", 1);
    }).detach();
  }
  std::thread([] { std::exit(0); }).join();
  std::abort();
}

/// Loggers are made and dropped at the very moment at which the manager ends.
[[noreturn]] void exitWhileLoggersComeAndGo() {
  const TelemetryEnv telemetry("Main");
  report(*telemetry.getLogger(), "before exit", 100);
  for (int i = 0; i < 2; ++i) {
    std::thread([] {
      for (;;) {
        const TelemetryEnv passing("Passing");
        const TelemetryLogger like_the_default;
      }
    }).detach();
  }
  std::thread([] { std::exit(0); }).join();
  std::abort();
}

/// A client's logger that keeps the worker longer than a wait for it lasts.
class SlowLogger : public TelemetryLogger {
 public:
  using TelemetryLogger::TelemetryLogger;

  void logErrorCode(const std::string& error_code, const std::string& api,
                    KivErrorSeverity severity, const std::string& kiv_class) override {
    if (std::this_thread::get_id() != owner_) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    }
    TelemetryLogger::logErrorCode(error_code, api, severity, kiv_class);
  }

 private:
  const std::thread::id owner_ = std::this_thread::get_id();
};

struct SlowReporter {
  ~SlowReporter() {
    if (logger == nullptr) return;
    logger->logErrorCode("slow", "api", KivErrorSeverity::INFO, "class");
    report(*logger, "from a destructor", 3);
  }

  std::shared_ptr<SlowLogger> logger;
};

void reportSlowlyAtTheEnd() {
  static SlowReporter slow;
  slow.logger = std::make_shared<SlowLogger>(android::kiv::KivSessionId(nullptr), "Slow",
                                             TelemetrySubmissionModel::NON_BLOCKING);
}

void exitWithoutTelemetry() {}

void exitSwitchedOff() {
  const TelemetryEnv telemetry("Main");
  report(*telemetry.getLogger(), "before return", 10);
  android::kiv::disableTelemetryForTesting();
}

void exitWithImmediateLogger() {
  static const auto logger =
      std::make_shared<TelemetryLogger>(android::kiv::KivSessionId(nullptr), "Immediate",
                                        TelemetrySubmissionModel::LOCKING_IMMEDIATE);
  report(*logger, "immediate", 2);
}

bool report_after_everything = false;
TelemetryLoggerManager* manager_of_main = nullptr;

/// Reports when the manager has been destroyed already.
void reportAfterEverything(int /*status*/, void* /*unused*/) {
  if (!report_after_everything) return;
  const TelemetryEnv telemetry("Afterlife");
  report(*telemetry.getLogger(), "after everything", 3);
  const bool flushed = telemetry.getLogger()->flush();
  const auto trace = telemetry.getLogger()->startTrace("class", "after everything");
  telemetry.getLogger()->stopTrace(trace);
  const bool follows = manager_of_main->getTelemetryLoggerInstance() ==
                       TelemetryLoggerManager::getInstance().getTelemetryLoggerInstance();
  std::fprintf(stderr, "%s, telemetry %s, the manager of main gives %s logger\n",
               flushed ? "flushed" : "not flushed",
               android::kiv::isTelemetryEnabled() ? "on" : "off", follows ? "today's" : "its old");
}

// Called before any library is initialised, so what it registers is called when all are finalised.
using Initialiser = void (*)(int, char**, char**);
[[gnu::section(".preinit_array"), gnu::used]] const Initialiser register_first =
    [](int, char**, char**) { on_exit(reportAfterEverything, nullptr); };

void outliveTheManager() {
  returnFromMain();
  manager_of_main = &TelemetryLoggerManager::getInstance();
  // Kept, so that no other logger comes to lie where it was.
  static const auto* const kept =
      new std::shared_ptr<TelemetryLogger>(manager_of_main->getTelemetryLoggerInstance());
  static_cast<void>(kept);
  report_after_everything = true;
}

void flushAndGoOn() {
  const TelemetryEnv telemetry("Main");
  report(*telemetry.getLogger(), "before flush", 5);
  telemetry.getLogger()->flush();
  report(*telemetry.getLogger(), "before return", 7);
}

/// Forks while another thread keeps the worker busy. The child uses telemetry and exits.
void forkAndGoOn() {
  const TelemetryEnv telemetry("Main");
  TelemetryLogger& logger = *telemetry.getLogger();
  report(logger, "before fork", 50);
  std::atomic<bool> over{false};
  std::thread busy([&] {
    const TelemetryEnv flowing("Flowing");
    while (!over) {
      report(*flowing.getLogger(), "flowing", 1);
      flowing.getLogger()->start();
    }
  });
  for (int i = 0; i < 10; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      report(logger, "in the child", 5);
      if (logger.flush()) std::abort();
      report(*TelemetryEnv("Child").getLogger(), "in the child", 5);
      std::exit(0);
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child || status != 0) std::abort();
  }
  over = true;
  busy.join();
}

/// Forks and exits where the manager is the only one to hold what was reported.
void forkWithoutLoggers() {
  {
    const auto logger = TelemetryLoggerManager::getInstance().getTelemetryLoggerInstance();
    report(*logger, "before fork", 50);
    // Waits until they have been taken.
    logger->start();
  }
  const pid_t child = fork();
  if (child == 0) std::exit(0);
  int status = 0;
  if (waitpid(child, &status, 0) != child || status != 0) std::abort();
}

void stopAndExit() {
  const TelemetryEnv telemetry("Main");
  report(*telemetry.getLogger(), "before stop", 5);
  telemetry.getLogger()->stop();
}

/// As that of a client that keeps its logger for good, and has no use for it any more.
void stopAndLeak() {
  static const auto* const leaked = new TelemetryEnv("Leaked");
  report(*leaked->getLogger(), "before stop", 5);
  leaked->getLogger()->stop();
}

}  // namespace

int main(int argc, char** argv) {
  const std::map<std::string, void (*)()> ways = {
      {"return", returnFromMain},
      {"every-kind", reportEveryKind},
      {"join", joinThreads},
      {"early-object", reportFromEarlyObject},
      {"late-object", reportFromLateObject},
      {"leak", leakLogger},
      {"leak-default", leakDefaultLogger},
      {"exit-while-flowing", exitWhileReportsFlow},
      {"exit-while-made", exitWhileLoggersComeAndGo},
      {"slow-at-the-end", reportSlowlyAtTheEnd},
      {"nothing", exitWithoutTelemetry},
      {"switched-off", exitSwitchedOff},
      {"immediate", exitWithImmediateLogger},
      {"flush", flushAndGoOn},
      {"fork", forkAndGoOn},
      {"fork-without-loggers", forkWithoutLoggers},
      {"stop", stopAndExit},
      {"stop-and-leak", stopAndLeak},
      {"afterlife", outliveTheManager},
  };
  const auto way = argc == 2 ? ways.find(argv[1]) : ways.end();
  if (way == ways.end()) {
    std::fprintf(stderr, "usage: %s WAY\n", argv[0]);
    return 2;
  }
  __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
  way->second();
  return 0;
}
