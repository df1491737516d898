/// Runs a program and collects what it prints.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace kiv_test {

struct ProgramResult {
  int exit_code = -1;  ///< -1 if it did not exit by itself.
  int signal = 0;      ///< What ended it otherwise.
  std::string out;
  std::string err;
};

/// Runs `arguments[0]` with `environment` added to ours, and waits for its end.
ProgramResult runProgram(const std::vector<std::string>& arguments,
                         const std::map<std::string, std::string>& environment = {});

/// A command as something that is not a program of ours, a shell for instance, has to start it.
std::vector<std::string> underEmulator(std::vector<std::string> command);

/// A directory that is removed with all that is in it.
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

/// The whole contents of a file; "" if there is none.
std::string readFile(const std::string& path);

}  // namespace kiv_test
