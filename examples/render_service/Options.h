/// The command line.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace render_service {

inline constexpr int kUsageError = 2;

struct Options {
  std::string output = "binaural.wav";
  bool quiet = false;
  bool real_time = false;
  std::chrono::milliseconds flush_period{5000};
  std::vector<std::string> files;  ///< The named files or, without any, the sample sounds.
};

/// Fills in `options`. Returns an exit status if the program has to end at once, because it has
/// printed its help or because the command line was wrong, about which it has printed a message.
std::optional<int> parseOptions(int argc, char** argv, Options& options);

}  // namespace render_service
