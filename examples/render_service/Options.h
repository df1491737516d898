/// The command line.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace render_service {

inline constexpr int kUsageError = 2;

struct Options {
  std::string output = "binaural.wav";
  bool quiet = false;
  std::vector<std::string> files;  ///< Those named or, if none were, the system's sample sounds.
};

/// Fills in `options`. A status means that the program ends with it at once: help was asked for and
/// given, or the command line was wrong and the user was told.
std::optional<int> parseOptions(int argc, char** argv, Options& options);

}  // namespace render_service
