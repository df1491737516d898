// Reports, then ends the process in the way that its argument names.
#include <android/log.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "kiv/TelemetryLogger.h"
#include "tests/support/Latch.h"
#include "tests/system/Calls.h"

namespace {

using android::kiv::KivErrorSeverity;
using android::kiv::KivSessionId;
using android::kiv::TelemetryEnv;
using android::kiv::TelemetryLogger;
using android::kiv::TelemetryLoggerManager;
using android::kiv::TelemetrySubmissionModel;
using kiv_test::callEverything;
using kiv_test::kEveryModel;
using kiv_test::Latch;
using kiv_test::report;

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
  kiv_test::reportEveryKind(*telemetry.getLogger());
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
  const TelemetryEnv telemetry("Main");
  // Constructed after the manager, so destroyed before what was there when that was made.
  static LateReporter late_object;
  late_object.telemetry.emplace("Late");
}

void leakLogger() {
  static const auto* const leaked = new TelemetryEnv("Leaked");
  report(*leaked->getLogger(), "before return", 10);
}

std::shared_ptr<TelemetryLogger> makeLogger(TelemetrySubmissionModel model) {
  return std::make_shared<TelemetryLogger>(KivSessionId(nullptr), "Logger", model);
}

void leakDefaultLogger() {
  static const auto* const leaked = new TelemetryEnv();
  report(*leaked->getLogger(), "before return", 10);
}

/// Exits on one thread while others report in every model, make loggers and flush.
[[noreturn]] void exitWhileReportsFlow() {
  const TelemetryEnv telemetry("Main");
  report(*telemetry.getLogger(), "before exit", 100);
  std::vector<std::function<void()>> flows;
  for (const auto model : kEveryModel) {
    flows.emplace_back([logger = makeLogger(model)] { report(*logger, "flowing", 1); });
  }
  flows.emplace_back([] { report(*TelemetryEnv("Flowing").getLogger(), "flowing", 1); });
  flows.emplace_back([&] {
    report(*telemetry.getLogger(), "flowing", 100);
    telemetry.getLogger()->flush();
  });
  Latch flowing(static_cast<int>(flows.size()));
  for (const auto& flow : flows) {
    std::thread([&] {
      flow();
      flowing.countDown();
      for (;;) {
        // Without a pause they would keep the processor from the thread that exits.
        std::this_thread::sleep_for(std::chrono::microseconds(50));
        flow();
      }
    }).detach();
  }
  flowing.wait();
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
  slow.logger = std::make_shared<SlowLogger>(KivSessionId(nullptr), "Slow",
                                             TelemetrySubmissionModel::NON_BLOCKING);
}

void exitWithoutTelemetry() {}

void exitSwitchedOff() {
  const TelemetryEnv telemetry("Main");
  report(*telemetry.getLogger(), "before return", 10);
  android::kiv::disableTelemetryForTesting();
}

void exitWithImmediateLogger() {
  static const auto logger = makeLogger(TelemetrySubmissionModel::LOCKING_IMMEDIATE);
  report(*logger, "immediate", 2);
}

bool report_after_everything = false;
TelemetryLoggerManager* manager_of_main = nullptr;

/// Held beyond the manager's end.
std::vector<std::shared_ptr<TelemetryLogger>>* kept_loggers = nullptr;

/// Reports when the manager has been destroyed already.
void reportAfterEverything(int /*status*/, void* /*unused*/) {
  if (!report_after_everything) return;
  if (manager_of_main == nullptr) manager_of_main = &TelemetryLoggerManager::getInstance();
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

/// Uses kept loggers when the manager has been destroyed already, and drops them.
void useKeptLoggers(int /*status*/, void* /*unused*/) {
  if (kept_loggers == nullptr) return;
  for (const auto& logger : *kept_loggers) callEverything(*logger);
  delete kept_loggers;
  std::fputs("the kept loggers are gone\n", stderr);
}

// Called before any library is initialized, so what it registers is called when all are finalized.
using Initializer = void (*)(int, char**, char**);
[[gnu::section(".preinit_array"), gnu::used]] const Initializer register_first = [](int, char**,
                                                                                    char**) {
  on_exit(reportAfterEverything, nullptr);
  on_exit(useKeptLoggers, nullptr);
};

void outliveTheManager() {
  returnFromMain();
  manager_of_main = &TelemetryLoggerManager::getInstance();
  // Kept, so that no other logger comes to lie where it was.
  static const auto* const kept =
      new std::shared_ptr<TelemetryLogger>(manager_of_main->getTelemetryLoggerInstance());
  static_cast<void>(kept);
  report_after_everything = true;
}

void reportOnlyAfterEverything() { report_after_everything = true; }

void keepLoggers() {
  kept_loggers = new std::vector<std::shared_ptr<TelemetryLogger>>;
  for (const auto model : kEveryModel) {
    kept_loggers->push_back(makeLogger(model));
    report(*kept_loggers->back(), "before return", 10);
  }
}

void flushAndGoOn() {
  const TelemetryEnv telemetry("Main");
  report(*telemetry.getLogger(), "before flush", 5);
  telemetry.getLogger()->flush();
  report(*telemetry.getLogger(), "before return", 7);
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
      {"stop", stopAndExit},
      {"stop-and-leak", stopAndLeak},
      {"afterlife", outliveTheManager},
      {"only-afterlife", reportOnlyAfterEverything},
      {"keep", keepLoggers},
  };
  const auto way = argc == 2 ? ways.find(argv[1]) : ways.end();
  if (way == ways.end()) {
    std::fprintf(stderr, "usage: %s WAY\n", argv[0]);
    return 2;
  }
  // A process that hangs is ended, by a signal that its test sees.
  constexpr unsigned kHangsAfterSeconds = 60;
  alarm(kHangsAfterSeconds);
  __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
  way->second();
  return 0;
}
