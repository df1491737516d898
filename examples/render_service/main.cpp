// An audio-rendering service in small, as an example of a program that reports telemetry.
#include <kiv/TelemetryLogger.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>

#include "Options.h"
#include "ProgressBar.h"
#include "RenderService.h"
#include "StreamClient.h"

namespace render_service {

namespace {

struct Summary {
  long long reports = 0;
  size_t files = 0;
  size_t failed = 0;
  double seconds = 0.0;
};

void print(const Summary& summary, const std::string& output, double elapsed) {
  std::printf("Rendered %zu of %zu files, %.1f s of sound, to %s in %.2f s; made %lld reports.\n",
              summary.files - summary.failed, summary.files, summary.seconds, output.c_str(),
              elapsed, summary.reports);
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
  const android::kiv::KivSessionId session(nullptr);
  ProgressBar progress(stderr, !options.quiet && isatty(STDERR_FILENO) != 0);
  RenderService service(session);
  StreamClient client(service, progress, session);

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
  return summary.failed < summary.files ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

}  // namespace render_service

int main(int argc, char** argv) {
  try {
    return render_service::run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "render_service: %s\n", error.what());
    return EXIT_FAILURE;
  }
}
