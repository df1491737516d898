/// The fixture and helpers for tests of the JSON Lines module.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/modules/LoadedModule.h"
#include "tests/support/LogCapture.h"

namespace kiv_test {

/// A test with a temporary directory. The module writes to the file `path_` in it unless the test
/// sets another destination.
class JsonlTest : public testing::Test {
 protected:
  JsonlTest() : directory_(makeDirectory()), path_(directory_ / "events.jsonl") {
    setDestination(path_);
  }
  ~JsonlTest() override {
    unsetenv("TAMSA_JSONL_PATH");
    std::filesystem::remove_all(directory_);
  }

  /// Sets the destination of handlers that are created from now on.
  static void setDestination(const std::string& value) {
    setenv("TAMSA_JSONL_PATH", value.c_str(), 1);
  }

  HandlerPtr createHandler() const { return module_.createHandler(); }

  EventPtr createEvent(ITelemetryHandler& handler, const char* name) const {
    return module_.createEvent(handler, name);
  }

  /// Reports an event without fields.
  bool report(ITelemetryHandler& handler, const char* name) const {
    return handler.reportEvent(createEvent(handler, name).get(), 1);
  }
  bool report(const char* name) const { return report(*createHandler(), name); }

  /// The line of an event without fields.
  static std::string line(const std::string& name) { return "{\"event\":\"" + name + "\"}\n"; }

  static std::string contents(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  std::string contents() const { return contents(path_); }

  static std::filesystem::path makeDirectory() {
    std::string name = std::filesystem::temp_directory_path() / "jsonl-test-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary directory");
    return name;
  }

  const LoadedModule module_{JSONL_MODULE};
  const std::filesystem::path directory_;
  const std::filesystem::path path_;
};

/// A child process that runs a function.
class Child {
 public:
  template <typename Body>
  explicit Child(Body body) : id_(fork()) {
    if (id_ == 0) _exit(body() ? 0 : 1);
  }

  /// Waits for its end. True if it exited and the function returned true.
  bool succeeded() const {
    int status = -1;
    return waitpid(id_, &status, 0) == id_ && WIFEXITED(status) && WEXITSTATUS(status) == 0;
  }

 private:
  const pid_t id_;
};

/// Runs a function in a child process and returns the texts of the lines that it logs.
template <typename Body>
std::vector<std::string> logOfChild(Body body) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  const Child child([&] {
    const LogCapture log;
    body();
    std::string text;
    for (const LogLine& line : log.lines()) text += line.tag + ": " + line.text + "\n";
    return ::write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size());
  });
  ::close(ends[1]);
  std::vector<std::string> lines;
  std::string line;
  for (char c = 0; ::read(ends[0], &c, 1) == 1;) {
    if (c != '\n') {
      line.push_back(c);
    } else {
      lines.push_back(std::exchange(line, {}));
    }
  }
  ::close(ends[0]);
  EXPECT_TRUE(child.succeeded());
  return lines;
}

/// Runs a shell command and returns its standard output.
inline std::string outputOf(const std::string& command) {
  std::FILE* const stream = popen(command.c_str(), "r");
  std::string output;
  for (int c = std::fgetc(stream); c != EOF; c = std::fgetc(stream)) {
    output.push_back(static_cast<char>(c));
  }
  pclose(stream);
  return output;
}

/// Counts the lines of files with an independent parser: each must be a JSON object in UTF-8,
/// without extensions of the JSON standard. -1 if one is not.
inline int linesThatPythonReads(const std::vector<std::filesystem::path>& paths) {
  std::string command = PYTHON R"( -c '
import json, sys
def refuse(constant): raise ValueError(constant)
lines = 0
for path in sys.argv[1:]:
  text = open(path, encoding="utf-8", newline="\n").read()
  if text and text[-1] != "\n": raise ValueError("the last line has no newline")
  for line in text.split("\n")[:-1]:
    lines += isinstance(json.loads(line, parse_constant=refuse), dict)
print(lines)')";
  for (const auto& path : paths) command += " '" + path.string() + "'";
  const std::string output = outputOf(command);
  return output.empty() ? -1 : std::stoi(output);
}

/// Scope guard that replaces the standard output with a pipe.
class StandardOutputPipe {
 public:
  /// Takes the flags of pipe2.
  explicit StandardOutputPipe(int flags) {
    std::fflush(stdout);
    saved_ = dup(STDOUT_FILENO);
    int ends[2];
    if (pipe2(ends, flags) != 0) throw std::runtime_error("no pipe");
    dup2(ends[1], STDOUT_FILENO);
    ::close(ends[1]);
    read_end_ = ends[0];
  }
  ~StandardOutputPipe() {
    dup2(saved_, STDOUT_FILENO);
    ::close(saved_);
    closeReadEnd();
  }

  StandardOutputPipe(const StandardOutputPipe&) = delete;
  StandardOutputPipe& operator=(const StandardOutputPipe&) = delete;

  void closeReadEnd() {
    if (read_end_ != -1) ::close(std::exchange(read_end_, -1));
  }

  size_t capacity() const { return static_cast<size_t>(fcntl(read_end_, F_GETPIPE_SZ)); }

  /// Reads once, as much as there is.
  std::string read() const {
    std::string text(capacity(), '\0');
    const ssize_t length = ::read(read_end_, text.data(), text.size());
    text.resize(length > 0 ? static_cast<size_t>(length) : 0);
    return text;
  }

 private:
  int saved_;
  int read_end_;
};

}  // namespace kiv_test
