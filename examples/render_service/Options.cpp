#include "Options.h"

#include <getopt.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace render_service {

namespace {

namespace fs = std::filesystem;

constexpr char kSampleSounds[] = "/usr/share/sounds/alsa";

constexpr char kHelp[] =
    R"(usage: render_service [OPTION...] [FILE...]

Renders sound files to one binaural WAV file (48000 Hz, stereo), one after the
other and each from its own direction, and reports telemetry about it.

  -o, --output OUT.wav  output file; binaural.wav by default
  -r, --realtime        render one second of sound a second, as for a device;
                        by default as fast as possible
  -f, --flush SECONDS   submit the aggregated telemetry this often; 5 by default
  -q, --quiet           no progress bar; it is only drawn on a terminal
  -h, --help            print this text

Without FILE, the sample sounds in %s are rendered.

SIGTERM and SIGINT stop the service in order: it completes the output with what
has been rendered, and submits all telemetry.

If the environment variable RENDER_SERVICE_SUMMARY is set, a summary is written
to the file of that name, as JSON: the number of "reports", of "files" and of
"failed" files, and the "seconds" of sound in the output.

Exit status: 0 if at least one file was rendered or the service was stopped by a
signal, 1 if no file was rendered or the output could not be written, 2 if the
command line was wrong.
)";

constexpr double kMinFlushPeriod = 0.001;    // seconds
constexpr double kMaxFlushPeriod = 86400.0;  // seconds

std::vector<std::string> findSampleSounds() {
  std::vector<std::string> files;
  std::error_code error;
  for (fs::directory_iterator entry(kSampleSounds, error), end; !error && entry != end;
       entry.increment(error)) {
    if (entry->path().extension() == ".wav") files.push_back(entry->path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

/// Returns a number of seconds as milliseconds, or nothing if `text` is no number in range.
std::optional<std::chrono::milliseconds> parseFlushPeriod(const char* text) {
  char* end = nullptr;
  const double seconds = std::strtod(text, &end);
  const bool in_range = seconds >= kMinFlushPeriod && seconds <= kMaxFlushPeriod;
  if (end == text || *end != '\0' || !in_range) return std::nullopt;
  return std::chrono::milliseconds(std::lround(seconds * 1000.0));
}

int rejectUsage(const std::string& reason) {
  std::fprintf(stderr, "render_service: %s\nTry 'render_service --help'.\n", reason.c_str());
  return kUsageError;
}

}  // namespace

std::optional<int> parseOptions(int argc, char** argv, Options& options) {
  const option known[] = {
      {"output", required_argument, nullptr, 'o'}, {"realtime", no_argument, nullptr, 'r'},
      {"flush", required_argument, nullptr, 'f'},  {"quiet", no_argument, nullptr, 'q'},
      {"help", no_argument, nullptr, 'h'},         {}};
  for (int choice = 0; (choice = getopt_long(argc, argv, "o:rf:qh", known, nullptr)) != -1;) {
    switch (choice) {
      case 'o':
        options.output = optarg;
        break;
      case 'r':
        options.real_time = true;
        break;
      case 'f':
        if (const auto period = parseFlushPeriod(optarg)) {
          options.flush_period = *period;
          break;
        }
        return rejectUsage(std::string("--flush ") + optarg +
                           ": not a number of seconds from 0.001 to 86400");
      case 'q':
        options.quiet = true;
        break;
      case 'h':
        std::printf(kHelp, kSampleSounds);
        return 0;
      default:
        return rejectUsage("unknown option, or one without its argument");
    }
  }
  options.files.assign(argv + optind, argv + argc);
  if (options.files.empty()) options.files = findSampleSounds();
  if (options.files.empty()) {
    std::fprintf(stderr,
                 "render_service: no FILE given, and no sample sounds in %s.\n"
                 "Debian's package alsa-utils installs some there.\n",
                 kSampleSounds);
    return 1;
  }
  for (const std::string& file : options.files) {
    std::error_code error;
    if (fs::equivalent(file, options.output, error)) {
      return rejectUsage(file + " would be overwritten by the output");
    }
  }
  return std::nullopt;
}

}  // namespace render_service
