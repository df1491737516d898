/// Starts a program, reads its standard error while it runs, and sends it signals.
#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

/// A program that runs beside the test. Not synchronized.
class RunningProgram {
 public:
  struct Result {
    int exit_code = -1;  ///< -1 if a signal ended the program.
    int signal = 0;      ///< The signal that ended the program, or 0.
    std::string err;     ///< The whole standard error.
  };

  /// Starts `command[0]` with `environment` added to this process's. Its standard output is
  /// discarded.
  RunningProgram(const std::vector<std::string>& command,
                 const std::map<std::string, std::string>& environment);

  /// Kills the program if nothing has waited for its end.
  ~RunningProgram();

  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;

  /// Reads the standard error up to and including `text`. Returns false if the program closes it
  /// before.
  bool waitForError(const std::string& text);

  void send(int signal) const;

  /// Waits for the program's end.
  Result wait();

 private:
  bool readMore();

  pid_t id_ = -1;
  int err_ = -1;  // the reading end of a pipe
  std::string text_;
};
