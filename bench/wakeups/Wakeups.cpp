// Counts how often workers wake, and their processor time: without reports, and while reports come
// one by one. The kernel counts; nothing here is timed.
#include <dirent.h>
#include <fmt/format.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <random>
#include <string>
#include <thread>

#include "bench/harness/Log.h"
#include "bench/peers/Reporter.h"

namespace kiv_bench {

namespace {

constexpr std::chrono::seconds kPeriod{3};

/// Wakeups and processor time of all threads but the calling one so far.
struct Activity {
  long wakeups = 0;  // returns from a wait
  double processor_seconds = 0;
};

void addThread(const std::string& directory, Activity& activity) {
  std::ifstream status(directory + "/status");
  std::string word;
  while (status >> word) {
    if (word != "voluntary_ctxt_switches:") continue;
    long switches = 0;
    status >> switches;
    activity.wakeups += switches;
  }
  // The first number is the time on a processor, in nanoseconds.
  std::ifstream schedule(directory + "/schedstat");
  double nanoseconds = 0;
  schedule >> nanoseconds;
  activity.processor_seconds += nanoseconds / 1e9;
}

Activity othersActivity() {
  Activity activity;
  const std::string own = std::to_string(gettid());
  DIR* const tasks = opendir("/proc/self/task");
  while (const dirent* const task = readdir(tasks)) {
    const std::string name = static_cast<const char*>(task->d_name);
    if (name.front() != '.' && name != own) addThread("/proc/self/task/" + name, activity);
  }
  closedir(tasks);
  return activity;
}

void beIdle(Reporter& /*reporter*/) { std::this_thread::sleep_for(kPeriod); }

/// As an audio callback reports: one each 100 to 300 microseconds.
void reportPaced(Reporter& reporter) {
  const Report report;
  std::minstd_rand random(1);
  std::uniform_int_distribution<int> pause(100, 300);
  auto next = std::chrono::steady_clock::now();
  const auto end = next + kPeriod;
  while (next < end) {
    next += std::chrono::microseconds(pause(random));
    std::this_thread::sleep_until(next);
    reporter.report(report);
  }
}

void show(const ReporterKind& kind, const char* load, void (*run)(Reporter&)) {
  const auto reporter = kind.make();
  reporter->report(Report());
  reporter->drain();
  // A worker that lingers after work has gone to sleep by then.
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  const Activity before = othersActivity();
  run(*reporter);
  const Activity after = othersActivity();
  constexpr double kSeconds = kPeriod.count();
  fmt::print("{:<14} {:<8} {:>12.1f} {:>12.2f}\n", kind.name, load,
             static_cast<double>(after.wakeups - before.wakeups) / kSeconds,
             100 * (after.processor_seconds - before.processor_seconds) / kSeconds);
}

}  // namespace

}  // namespace kiv_bench

int main() {
  kiv_bench::discardLog();
  fmt::print("{:<14} {:<8} {:>12} {:>12}\n", "worker of", "reports", "wake-ups/s", "% of a core");
  for (const auto& kind : kiv_bench::reporterKinds()) {
    kiv_bench::show(kind, "none", kiv_bench::beIdle);
    kiv_bench::show(kind, "paced", kiv_bench::reportPaced);
  }
  return 0;
}
