/// Runs a program and collects its output.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace kiv_test {

struct ProgramResult {
  int exit_code = -1;  ///< -1 if a signal ended it.
  int signal = 0;      ///< The signal that ended it; 0 if it exited.
  std::string out;
  std::string err;
};

/// Runs `arguments[0]` with `environment` added to this process's, and waits for its end.
ProgramResult runProgram(const std::vector<std::string>& arguments,
                         const std::map<std::string, std::string>& environment = {});

/// The command with the emulator before it, for a shell or another program that starts it.
std::vector<std::string> underEmulator(std::vector<std::string> command);

/// A temporary directory, which the destructor removes with its contents.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();

  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  std::string file(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

/// Counts the occurrences of `part` in `text`.
size_t occurrences(const std::string& text, const std::string& part);

/// The contents of a file; "" if it does not exist.
std::string readFile(const std::string& path);

}  // namespace kiv_test
