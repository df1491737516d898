// A library whose static constructor or destructor, which run under the loader's lock, waits for
// telemetry's worker in the way that the environment names.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "kiv/TelemetryLogger.h"
#include "tests/system/Calls.h"

/// Starts a thread that makes and uses a LOCKING_IMMEDIATE logger. Defined in the program, whose
/// code is not unloaded.
extern "C" void reportImmediatelyElsewhere();

namespace {

using android::kiv::KivSessionId;
using android::kiv::TelemetryEnv;
using android::kiv::TelemetryLogger;
using android::kiv::TelemetrySubmissionModel;

std::shared_ptr<TelemetryLogger> makeLogger(TelemetrySubmissionModel model) {
  return std::make_shared<TelemetryLogger>(KivSessionId(nullptr), "Plugin", model);
}

void waitForWorker(const std::string& way) {
  if (way == "flush") {
    const TelemetryEnv telemetry("Plugin");
    kiv_test::report(*telemetry.getLogger(), "of the plugin", 3);
    std::fprintf(stderr, "flush %d\n", static_cast<int>(telemetry.getLogger()->flush()));
  } else if (way == "stop") {
    const TelemetryEnv telemetry("Plugin");
    kiv_test::report(*telemetry.getLogger(), "of the plugin", 3);
    std::fprintf(stderr, "stop %d\n", static_cast<int>(telemetry.getLogger()->stop()));
  } else if (way == "blocking") {
    kiv_test::report(*makeLogger(TelemetrySubmissionModel::BLOCKING), "of the plugin", 3);
  } else if (way == "immediate-elsewhere") {
    reportImmediatelyElsewhere();
    TelemetryEnv("Plugin").getLogger()->flush();
  } else if (way == "immediate-here-and-elsewhere") {
    reportImmediatelyElsewhere();
    TelemetryLogger immediate(KivSessionId(nullptr), "Plugin",
                              TelemetrySubmissionModel::LOCKING_IMMEDIATE);
    kiv_test::report(immediate, "of the plugin", 1);
  }
  std::fputs("waited\n", stderr);
}

std::string wayOf(const char* variable) {
  const char* const way = std::getenv(variable);
  return way != nullptr ? way : "";
}

struct Plugin {
  Plugin() {
    if (const auto way = wayOf("WAIT_IN_CONSTRUCTOR"); !way.empty()) waitForWorker(way);
  }
  ~Plugin() {
    if (const auto way = wayOf("WAIT_IN_DESTRUCTOR"); !way.empty()) waitForWorker(way);
  }
};

const Plugin plugin;

}  // namespace
