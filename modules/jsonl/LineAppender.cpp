#include "LineAppender.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <system_error>

namespace TAMSA::jsonl {

namespace {

constexpr char kStandardOutput[] = "-";
constexpr mode_t kMode = 0644;

/// Whether the last line ends without a newline. Of the process rather than of an appender, because
/// the handlers of a process share what they write to.
std::atomic<bool> line_is_torn{false};

/// While it lives, a write to a closed pipe or beyond the limit of file sizes raises no signal in
/// this thread: it only fails.
class WriteSignalBlock {
 public:
  WriteSignalBlock() {
    sigset_t pending;
    sigemptyset(&pending);
    sigpending(&pending);
    sigemptyset(&blocked_);
    for (const int signal : {SIGPIPE, SIGXFSZ}) {
      // One that is pending already is somebody else's.
      if (sigismember(&pending, signal) == 0) sigaddset(&blocked_, signal);
    }
    pthread_sigmask(SIG_BLOCK, &blocked_, &previous_);
  }

  ~WriteSignalBlock() {
    const timespec at_once{};
    while (sigtimedwait(&blocked_, nullptr, &at_once) > 0) {
    }
    pthread_sigmask(SIG_SETMASK, &previous_, nullptr);
  }

  WriteSignalBlock(const WriteSignalBlock&) = delete;
  WriteSignalBlock& operator=(const WriteSignalBlock&) = delete;

 private:
  sigset_t blocked_;
  sigset_t previous_;
};

template <typename Call>
auto retryInterrupted(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

/// Empty, which no file can be opened by, if the working directory is gone.
std::string absolutePath(const std::string& path) {
  if (path == kStandardOutput) return path;
  std::error_code error;
  const auto absolute = std::filesystem::absolute(path, error);
  return error ? std::string() : absolute.string();
}

/// Neither waits for a reader of a pipe nor takes a terminal for the process's own.
int openForAppending(const char* path) {
  constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  const int file = retryInterrupted([=] { return open(path, kFlags, kMode); });
  if (file != -1) fcntl(file, F_SETFL, O_APPEND);
  return file;
}

/// False for a stream, and where the file system knows no locks.
bool lockIfRegular(int file) {
  struct stat status {};
  if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) return false;
  return retryInterrupted([=] { return flock(file, LOCK_EX); }) == 0;
}

/// How many bytes were taken; 0 on failure.
size_t writeSome(int file, std::string_view text) {
  const ssize_t taken = retryInterrupted([=] { return write(file, text.data(), text.size()); });
  return taken > 0 ? static_cast<size_t>(taken) : 0;
}

bool endTornLine(int file) {
  if (!line_is_torn.exchange(false)) return true;
  if (writeSome(file, "\n") == 1) return true;
  line_is_torn = true;
  return false;
}

bool appendToFile(int file, std::string_view line) {
  if (!endTornLine(file)) return false;
  const off_t end = lseek(file, 0, SEEK_END);
  const size_t taken = writeSome(file, line);
  if (taken == line.size()) return true;
  if (taken > 0 && retryInterrupted([=] { return ftruncate(file, end); }) != 0) line_is_torn = true;
  return false;
}

bool appendToStream(int stream, std::string_view line) {
  if (!endTornLine(stream)) return false;
  std::string_view rest = line;
  while (!rest.empty()) {
    const size_t taken = writeSome(stream, rest);
    rest.remove_prefix(taken);
    if (taken == 0) {
      if (rest.size() < line.size()) line_is_torn = true;
      return false;
    }
  }
  return true;
}

}  // namespace

LineAppender::LineAppender(const std::string& path) : path_(absolutePath(path)) {}

bool LineAppender::append(std::string_view line) const noexcept {
  const WriteSignalBlock signals;
  if (path_ == kStandardOutput) return appendToStream(STDOUT_FILENO, line);

  const int file = openForAppending(path_.c_str());
  if (file == -1) return false;
  bool appended = false;
  if (lockIfRegular(file)) {
    appended = appendToFile(file, line);
    // Closing would not do if another thread forked meanwhile: the child's copy keeps the lock.
    flock(file, LOCK_UN);
  } else {
    appended = appendToStream(file, line);
  }
  // Some file systems find out only here that they cannot keep what they took.
  return close(file) == 0 && appended;
}

}  // namespace TAMSA::jsonl
