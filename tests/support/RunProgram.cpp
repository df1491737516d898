#include "tests/support/RunProgram.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace kiv_test {

namespace {

/// This process's environment with these changes.
std::vector<std::string> mergeEnvironment(std::map<std::string, std::string> variables) {
  for (char** variable = environ; *variable != nullptr; ++variable) {
    const std::string text = *variable;
    const size_t equals = text.find('=');
    if (equals != std::string::npos)
      variables.emplace(text.substr(0, equals), text.substr(equals + 1));
  }
  std::vector<std::string> merged;
  for (const auto& [name, value] : variables) merged.push_back(name + "=" + value);
  return merged;
}

std::vector<char*> toPointers(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (const std::string& text : texts) pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

void redirect(int stream, const char* path) {
  constexpr mode_t kMode = 0600;
  const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kMode);
  if (file == -1 || dup2(file, stream) == -1) _exit(126);
}

}  // namespace

ProgramResult runProgram(const std::vector<std::string>& arguments,
                         const std::map<std::string, std::string>& environment) {
  // Files, because a full pipe would block the program.
  const TemporaryDirectory directory;
  const std::string out = directory.file("out");
  const std::string err = directory.file("err");

  const std::vector<std::string> variables = mergeEnvironment(environment);
  const std::vector<char*> envp = toPointers(variables);
  const std::vector<char*> argv = toPointers(arguments);

  const pid_t child = fork();
  if (child == -1) throw std::runtime_error("fork failed");
  if (child == 0) {
    // Must not take a lock: another thread may have held it during the fork.
    environ = const_cast<char**>(envp.data());
    redirect(STDOUT_FILENO, out.c_str());
    redirect(STDERR_FILENO, err.c_str());
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

size_t occurrences(const std::string& text, const std::string& part) {
  size_t found = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++found;
  return found;
}

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream contents;
  contents << file.rdbuf();
  return contents.str();
}

}  // namespace kiv_test
