#include "Options.h"

#include <getopt.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace render_service {

namespace {

namespace fs = std::filesystem;

constexpr char kSampleSounds[] = "/usr/share/sounds/alsa";

constexpr char kHelp[] =
    R"(usage: render_service [-o OUT.wav] [--quiet] [FILE...]

Renders sound files to one binaural WAV file (48000 Hz, stereo), one after the other
and each from its own direction, and reports telemetry about it.

  -o, --output OUT.wav  where to write; binaural.wav by default
  -q, --quiet           no progress bar, which is only drawn on a terminal anyway
  -h, --help            this text

Without FILE, the sample sounds in %s are rendered.

The file named by the environment variable RENDER_SERVICE_SUMMARY receives, as JSON,
how many "reports" were made, how many "files" there were and "failed", and the
"seconds" of sound that were written.

Exit status: 0 if at least one file was rendered, 1 if none was, 2 if the command
line was wrong.
)";

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

int rejectUsage(const std::string& reason) {
  std::fprintf(stderr, "render_service: %s\nTry 'render_service --help'.\n", reason.c_str());
  return kUsageError;
}

}  // namespace

std::optional<int> parseOptions(int argc, char** argv, Options& options) {
  const option known[] = {{"output", required_argument, nullptr, 'o'},
                          {"quiet", no_argument, nullptr, 'q'},
                          {"help", no_argument, nullptr, 'h'},
                          {}};
  for (int choice = 0; (choice = getopt_long(argc, argv, "o:qh", known, nullptr)) != -1;) {
    switch (choice) {
      case 'o':
        options.output = optarg;
        break;
      case 'q':
        options.quiet = true;
        break;
      case 'h':
        std::printf(kHelp, kSampleSounds);
        return 0;
      default:
        return rejectUsage("wrong option");
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
