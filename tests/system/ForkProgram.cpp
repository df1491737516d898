// Forks again and again, and lets each child do what the program's argument names. A child that
// hangs is ended by its alarm, which fails the program.
#include <android/log.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "kiv/TelemetryDelegate.h"
#include "kiv/TelemetryLogger.h"
#include "tests/support/Latch.h"
#include "tests/system/Calls.h"

namespace {

using android::kiv::KivErrorSeverity;
using android::kiv::KivSessionId;
using android::kiv::TelemetryDelegate;
using android::kiv::TelemetryEnv;
using android::kiv::TelemetryLogger;
using android::kiv::TelemetryLoggerManager;
using kiv_test::callEverything;
using kiv_test::kEveryModel;
using kiv_test::report;

constexpr int kChildren = 10;
constexpr unsigned kHangsAfterSeconds = 60;

std::vector<std::shared_ptr<TelemetryLogger>> makeLoggers() {
  std::vector<std::shared_ptr<TelemetryLogger>> loggers;
  for (const auto model : kEveryModel) {
    loggers.push_back(std::make_shared<TelemetryLogger>(KivSessionId(nullptr), "Fork", model));
  }
  return loggers;
}

/// A thread that does something without end while this lives. The constructor waits until it was
/// done once: a child may inherit the lock around what the process does for the first time.
class Busy {
 public:
  explicit Busy(std::function<void()> work)
      : thread_([this, work = std::move(work)] {
          work();
          done_once_.countDown();
          while (!over_) work();
        }) {
    done_once_.wait();
  }
  ~Busy() {
    over_ = true;
    thread_.join();
  }

  Busy(const Busy&) = delete;
  Busy& operator=(const Busy&) = delete;

 private:
  kiv_test::Latch done_once_;
  std::atomic<bool> over_{false};
  std::thread thread_;
};

/// True if each child came to its end by itself.
bool forkChildren(const std::function<void()>& child_work) {
  for (int i = 0; i < kChildren; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(kHangsAfterSeconds);
      child_work();
      std::exit(0);
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child || status != 0) {
      std::fprintf(stderr, "a child ended with status %d\n", status);
      return false;
    }
  }
  return true;
}

/// Forks while other threads use everything that a child could find locked or half changed.
bool forkWhileBusy(const std::function<void()>& child_work) {
  const TelemetryEnv flowing("Flowing");
  const Busy worker([&] {
    report(*flowing.getLogger(), "flowing", 1);
    flowing.getLogger()->logErrorCode("code", "api", KivErrorSeverity::INFO, "class");
    flowing.getLogger()->start();
  });
  const Busy delegate([] { TelemetryDelegate::getInstance().createHandler("Flowing")->flush(); });
  return forkChildren(child_work);
}

/// The children exit with a copy of a window that only the manager holds.
bool exitWithAWindowOpen() {
  report(*TelemetryEnv().getLogger(), "before fork", 50);
  // Waits until the worker has taken them.
  TelemetryEnv().getLogger()->start();
  return forkChildren([] {});
}

/// The children drop a copy of a logger that has windows of its own.
bool dropAnOwnLogger() {
  auto logger = kiv_test::makeOwnLogger();
  report(*logger, "before fork", 50);
  // Waits until the worker has taken them.
  logger->start();
  return forkChildren([&logger] { logger.reset(); });
}

/// The children use what only the parent's worker could do.
bool useTheWorker() {
  const TelemetryEnv telemetry("Main");
  TelemetryLogger& logger = *telemetry.getLogger();
  report(logger, "before fork", 50);
  return forkWhileBusy([&logger] {
    report(logger, "in the child", 5);
    if (logger.flush()) std::abort();
    report(*TelemetryEnv("Child").getLogger(), "in the child", 5);
  });
}

/// The children call all there is, on loggers from before the fork and on new ones.
bool useEverything() {
  const auto inherited = makeLoggers();
  for (const auto& logger : inherited) report(*logger, "before fork", 10);
  return forkWhileBusy([&inherited] {
    for (const auto& logger : inherited) callEverything(*logger);
    for (const auto& logger : makeLoggers()) callEverything(*logger);
    callEverything(*TelemetryLoggerManager::getInstance().getTelemetryLoggerInstance());
    callEverything(*TelemetryEnv().getLogger());
    TelemetryDelegate::getInstance().getHandler()->flush();
    TelemetryDelegate::getInstance().createHandler("Child")->flush();
    if (!android::kiv::isTelemetryEnabled()) std::abort();
    android::kiv::disableTelemetryForTesting();
  });
}

}  // namespace

int main(int argc, char** argv) {
  const std::map<std::string, bool (*)()> ways = {{"exit", exitWithAWindowOpen},
                                                  {"own", dropAnOwnLogger},
                                                  {"worker", useTheWorker},
                                                  {"everything", useEverything}};
  const auto way = argc == 2 ? ways.find(argv[1]) : ways.end();
  if (way == ways.end()) {
    std::fprintf(stderr, "usage: %s WAY\n", argv[0]);
    return 2;
  }
  // The log of a host asks the C library for the local time, under a lock that a fork may leave
  // locked for good in the child: nothing that a library above it could prevent.
  __android_log_set_logger([](const __android_logger_data*, const char*) {});
  return way->second() ? 0 : 1;
}
