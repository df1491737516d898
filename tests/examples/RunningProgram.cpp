#include "tests/examples/RunningProgram.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>

namespace {

std::vector<char*> toPointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::vector<std::string> mergeEnvironment(std::map<std::string, std::string> variables) {
  for (char** variable = environ; *variable != nullptr; ++variable) {
    const std::string text = *variable;
    const size_t equals = text.find('=');
    if (equals == std::string::npos) continue;
    variables.emplace(text.substr(0, equals), text.substr(equals + 1));
  }
  std::vector<std::string> merged;
  for (const auto& [name, value] : variables) merged.push_back(name + "=" + value);
  return merged;
}

}  // namespace

RunningProgram::RunningProgram(const std::vector<std::string>& command,
                               const std::map<std::string, std::string>& environment) {
  std::vector<std::string> words = command;
  std::vector<std::string> variables = mergeEnvironment(environment);
  const std::vector<char*> argv = toPointers(words);
  const std::vector<char*> envp = toPointers(variables);
  std::array<int, 2> pipe{};
  if (pipe2(pipe.data(), O_CLOEXEC) != 0) throw std::runtime_error("pipe2 failed");
  id_ = fork();
  if (id_ == -1) throw std::runtime_error("fork failed");
  if (id_ == 0) {
    // Only async-signal-safe calls: another thread may have held a lock during the fork.
    environ = const_cast<char**>(envp.data());
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (dup2(nowhere, STDOUT_FILENO) == -1 || dup2(pipe[1], STDERR_FILENO) == -1) _exit(126);
    execv(argv[0], argv.data());
    _exit(127);
  }
  close(pipe[1]);
  err_ = pipe[0];
}

RunningProgram::~RunningProgram() {
  if (id_ != -1) {
    kill(id_, SIGKILL);
    waitpid(id_, nullptr, 0);
  }
  close(err_);
}

bool RunningProgram::waitForError(const std::string& text) {
  while (text_.find(text) == std::string::npos) {
    if (!readMore()) return false;
  }
  return true;
}

void RunningProgram::send(int signal) const { kill(id_, signal); }

RunningProgram::Result RunningProgram::wait() {
  while (readMore()) {
  }
  int status = 0;
  if (waitpid(id_, &status, 0) != id_) throw std::runtime_error("waitpid failed");
  id_ = -1;
  Result result;
  if (WIFEXITED(status)) result.exit_code = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  result.err = text_;
  return result;
}

bool RunningProgram::readMore() {
  std::array<char, 512> buffer{};
  const ssize_t count = read(err_, buffer.data(), buffer.size());
  if (count <= 0) return false;
  text_.append(buffer.data(), static_cast<size_t>(count));
  return true;
}
