// Reports, and forks on the worker inside the module's operation that the argument names. The child
// returns into what its parent was doing.
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "kiv/TelemetryLogger.h"
#include "tests/system/Calls.h"
#include "tests/system/ModuleHook.h"

namespace {

using android::kiv::KivSessionId;
using android::kiv::NumericAggregationType;
using android::kiv::TelemetryEnv;
using android::kiv::TelemetryLogger;
using android::kiv::TelemetrySubmissionModel;
using kiv_test::makeOwnLogger;
using kiv_test::report;

constexpr unsigned kHangsAfterSeconds = 30;

TelemetryLogger* shared_logger = nullptr;

void reportSomeKinds(TelemetryLogger& logger) {
  for (const char* name : {"a", "b", "c"}) report(logger, name, 2);
  logger.logKivEvent("float", 0.5F, NumericAggregationType::SUM);
  logger.logKivEvent("text", std::string("value"), NumericAggregationType::COUNT);
}

/// Forks the first time that it is called.
void forkOnce() {
  static bool forked = false;
  if (std::exchange(forked, true)) return;
  const pid_t child = fork();
  if (child == 0) {
    alarm(kHangsAfterSeconds);
    report(*shared_logger, "of the child", 1);
    std::fprintf(stderr, "flush in the child %d\n", static_cast<int>(shared_logger->flush()));
    TelemetryLogger immediate(KivSessionId(nullptr), "Child",
                              TelemetrySubmissionModel::LOCKING_IMMEDIATE);
    report(immediate, "immediate", 1);
    return;
  }
  int status = 0;
  waitpid(child, &status, 0);
  std::fprintf(stderr, "the child ended with %d\n", status);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: %s FUNCTION shared|own flush|stop|exit\n", argv[0]);
    return 2;
  }
  alarm(kHangsAfterSeconds);
  // Never destroyed: exit still uses the logger.
  static const auto& telemetry = *new TelemetryEnv("Shared");
  shared_logger = telemetry.getLogger().get();
  const auto logger = std::string(argv[2]) == "own" ? makeOwnLogger() : telemetry.getLogger();
  kiv_test::onModuleCallDo(argv[1], forkOnce);
  reportSomeKinds(*logger);
  const std::string end = argv[3];
  if (end == "flush") return logger->flush() ? 0 : 1;
  if (end == "stop") return logger->stop() ? 0 : 1;
  return 0;
}
