// A small audio-rendering service, as an example of a program that reports telemetry.
#include <android/log.h>
#include <kiv/TelemetryLogger.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>

#include "Options.h"
#include "PeriodicTask.h"
#include "ProgressBar.h"
#include "RenderService.h"
#include "StreamClient.h"
#include "TerminationSignals.h"

namespace render_service {

namespace {

struct Summary {
  long long reports = 0;
  size_t files = 0;
  size_t failed = 0;
  double seconds = 0.0;
  bool stopped = false;  // by a signal, and the output is complete up to there
};

/// Writes a message of the Android log to the standard error, shorter than liblog would on a host,
/// and in place of the progress bar, which is drawn again later. Called on any thread.
void logToStandardError(const __android_logger_data* data, const char* message) {
  constexpr char kPriorities[] = "??VDIWEFS";
  constexpr int kKnown = sizeof(kPriorities) - 1;
  const char priority =
      data->priority >= 0 && data->priority < kKnown ? kPriorities[data->priority] : '?';
  static const bool on_terminal = isatty(STDERR_FILENO) != 0;
  std::fprintf(stderr, "%s%c %s: %s\n", on_terminal ? "\r\x1B[K" : "", priority,
               data->tag == nullptr ? "" : data->tag, message);
}

/// Submits what has been aggregated, for all loggers of the process. Windows close only when a
/// later report of the same kind arrives, so without this the last error before a quiet hour would
/// be submitted after that hour, or be lost with a process that is killed.
void flushTelemetry() { android::kiv::TelemetryEnv().getLogger()->flush(); }

void print(const Summary& summary, const std::string& output, double elapsed) {
  std::printf("%sendered %zu of %zu files (%.1f s of sound) in %.2f s, with %lld reports.\n%s\n",
              summary.stopped ? "Stopped by a signal; r" : "R", summary.files - summary.failed,
              summary.files, summary.seconds, elapsed, summary.reports, output.c_str());
}

void write(const Summary& summary, const char* path) {
  FILE* const file = std::fopen(path, "w");
  if (file == nullptr) {
    std::fprintf(stderr, "render_service: %s: the summary cannot be written\n", path);
    return;
  }
  std::fprintf(file, "{\"reports\": %lld, \"files\": %zu, \"failed\": %zu, \"seconds\": %.3f}\n",
               summary.reports, summary.files, summary.failed, summary.seconds);
  std::fclose(file);
}

Summary render(const Options& options) {
  ProgressBar progress(stderr, !options.quiet && isatty(STDERR_FILENO) != 0);
  RenderService service(options.real_time ? AudioThread::Pace::REAL_TIME : AudioThread::Pace::FAST);
  StreamClient client(service, progress);

  // Declared after what they use, so that both threads end first.
  const TerminationSignals signals([&client] { client.stop(); });
  const PeriodicTask flusher(options.flush_period, flushTelemetry);

  const size_t files = options.files.size();
  const std::string refusal = service.open(options.output);
  const size_t failed = refusal.empty() ? client.play(options.files) : files;
  const bool written = service.shutDown();
  if (!written) {
    progress.print("render_service: " + options.output + ": " +
                   (refusal.empty() ? "could not be completed" : refusal));
  }

  Summary summary;
  summary.reports = client.finishReports() + service.finishReports();
  summary.files = files;
  summary.failed = written ? failed : files;
  summary.seconds = service.seconds();
  summary.stopped = written && signals.received() != 0;
  return summary;
}

int run(int argc, char** argv) {
  Options options;
  if (const std::optional<int> status = parseOptions(argc, argv, options)) return *status;

  const auto begin = std::chrono::steady_clock::now();
  const Summary summary = render(options);
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
  print(summary, options.output, elapsed.count());
  if (const char* const path = std::getenv("RENDER_SERVICE_SUMMARY")) write(summary, path);
  return summary.stopped || summary.failed < summary.files ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

}  // namespace render_service

int main(int argc, char** argv) {
  render_service::blockTerminationSignals();
  __android_log_set_logger(render_service::logToStandardError);
  try {
    // An ordinary return: telemetry that is still aggregated is submitted at exit.
    return render_service::run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "render_service: %s\n", error.what());
    return EXIT_FAILURE;
  }
}
