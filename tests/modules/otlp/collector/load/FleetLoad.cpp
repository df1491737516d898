// A service under load: reports errors under two sessions at a steady rate for a given time, then
// prints how many reports it made of each error code, as JSON.
#include <android/log.h>
#include <kiv/TelemetryLogger.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using android::kiv::KivError;
using android::kiv::KivErrorSeverity;
using android::kiv::TelemetryEnv;
using android::kiv::TelemetryLogger;

constexpr int kTicksPerSecond = 100;

/// Every report also writes a line to the Android log. Only the module's own lines are of interest.
void logModuleOnly(const __android_logger_data* data, const char* message) {
  if (data->tag != nullptr && std::strcmp(data->tag, "TamsaOtlp") == 0) {
    __android_log_stderr_logger(data, message);
  }
}

void report(TelemetryLogger& logger, int code) {
  logger.logKivErrorCode(KivError::MMAP_FAILED, code, "open", KivErrorSeverity::ERROR, "Load");
}

/// Returns the number of reports made of each code. Both sessions report every code equally often,
/// so their events of one window differ in little but the session.
std::vector<long long> run(int seconds, int reports_per_second, int codes) {
  const TelemetryEnv first("First");
  const TelemetryEnv second("Second");
  const std::shared_ptr<TelemetryLogger> loggers[] = {first.getLogger(), second.getLogger()};
  std::vector<long long> made(codes);
  const auto begin = std::chrono::steady_clock::now();
  long long number = 0;
  for (long long tick = 1; tick <= 1LL * seconds * kTicksPerSecond; ++tick) {
    for (; number < tick * reports_per_second / kTicksPerSecond; ++number) {
      const int code = static_cast<int>(number % codes);
      report(*loggers[number / codes % 2], code);
      ++made[code];
    }
    std::this_thread::sleep_until(begin + std::chrono::milliseconds(tick * 1000 / kTicksPerSecond));
  }
  return made;
}

}  // namespace

int main(int argc, char** argv) {
  const int seconds = argc == 4 ? std::atoi(argv[1]) : 0;
  const int reports_per_second = argc == 4 ? std::atoi(argv[2]) : 0;
  const int codes = argc == 4 ? std::atoi(argv[3]) : 0;
  if (seconds <= 0 || reports_per_second <= 0 || codes <= 0) {
    std::fprintf(stderr, "usage: %s SECONDS REPORTS_PER_SECOND CODES\n", argv[0]);
    return 2;
  }
  __android_log_set_logger(logModuleOnly);
  const std::vector<long long> made = run(seconds, reports_per_second, codes);
  std::printf("{");
  for (int code = 0; code < codes; ++code) {
    std::printf("%s\"kiv.MMAP_FAILED=%d\": %lld", code == 0 ? "" : ", ", code, made[code]);
  }
  std::printf("}\n");
  return 0;
}
