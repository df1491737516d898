#include "RunProgram.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace kiv_test {

ProgramResult runProgram(const std::vector<std::string>& arguments,
                         const std::map<std::string, std::string>& environment) {
  // Output goes to files, which unlike pipes never fill up.
  const TemporaryDirectory directory;
  const std::string out = directory.file("out");
  const std::string err = directory.file("err");

  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  const pid_t child = fork();
  if (child == -1) throw std::runtime_error("fork failed");
  if (child == 0) {
    for (const auto& [name, value] : environment) setenv(name.c_str(), value.c_str(), 1);
    if (freopen(out.c_str(), "w", stdout) == nullptr) _exit(126);
    if (freopen(err.c_str(), "w", stderr) == nullptr) _exit(126);
    execv(argv[0], argv.data());
    _exit(127);
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child) throw std::runtime_error("waitpid failed");

  ProgramResult result;
  if (WIFEXITED(status)) result.exit_code = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  result.out = readFile(out);
  result.err = readFile(err);
  return result;
}

std::vector<std::string> underEmulator(std::vector<std::string> command) {
  const std::vector<std::string> emulator{KIV_EMULATOR};
  command.insert(command.begin(), emulator.begin(), emulator.end());
  return command;
}

TemporaryDirectory::TemporaryDirectory() {
  std::string path = (std::filesystem::temp_directory_path() / "kiv-test-XXXXXX").string();
  if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = path;
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream contents;
  contents << file.rdbuf();
  return contents.str();
}

}  // namespace kiv_test
