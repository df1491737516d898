#include "modules/jsonl/LineAppender.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "modules/jsonl/TailLock.h"
#include "modules/jsonl/WriteSignalBlock.h"

namespace TAMSA::jsonl {

namespace {

constexpr char kStandardOutput[] = "-";
constexpr char kNewline = '\n';
// Texts of events may be private to the service and its group.
constexpr mode_t kMode = 0640;

/// True if the last line of a stream was cut short. One flag for the process, because the
/// handlers of a process share what they write to.
std::atomic<bool> stream_is_torn{false};

template <typename Call>
auto retryInterrupted(Call call) {
  auto result = call();
  while (result == -1 && errno == EINTR) result = call();
  return result;
}

bool isRegular(int file) {
  struct stat status {};
  return fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

/// Does not wait for a reader of a pipe, and does not make a terminal the controlling one. -1 on
/// failure.
int openWith(const char* path, int access) {
  constexpr int kFlags = O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  const int file = retryInterrupted([=] { return open(path, access | kFlags, kMode); });
  if (file != -1) fcntl(file, F_SETFL, O_APPEND);
  return file;
}

/// Opens a file also for reading if it is a regular file whose permissions allow that, so that its
/// end can be checked. A pipe is never opened for reading: it would become its own reader.
int openForAppending(const char* path) {
  struct stat status {};
  const bool may_be_regular = stat(path, &status) != 0 || S_ISREG(status.st_mode);
  if (may_be_regular) {
    const int file = openWith(path, O_RDWR);
    if (file != -1 && isRegular(file)) return file;
    if (file == -1 && errno != EACCES) return -1;
    if (file != -1) close(file);
  }
  return openWith(path, O_WRONLY);
}

/// Returns how many bytes were taken; -1 on failure.
ssize_t writeSome(int file, std::string_view text) {
  return retryInterrupted([=] { return write(file, text.data(), text.size()); });
}

bool endsInPartOfLine(int file) {
  const off_t size = lseek(file, 0, SEEK_END);
  char last = kNewline;
  // Fails if the file is open for writing only; its end is taken for whole then.
  return size > 0 && pread(file, &last, 1, size - 1) == 1 && last != kNewline;
}

/// Removes the part of a line that was written at the end of the file, unless another writer has
/// appended since.
void removePart(int file, off_t length) {
  const off_t end = lseek(file, 0, SEEK_CUR);
  struct stat status {};
  if (fstat(file, &status) != 0 || status.st_size != end) return;
  // The next writer that holds the lock ends a part that stays.
  static_cast<void>(retryInterrupted([=] { return ftruncate(file, end - length); }));
}

/// Ends a part of a line by the same write that appends the line.
ssize_t endLineAndWrite(int file, std::string_view line) {
  char newline = kNewline;
  const iovec both[] = {{&newline, 1}, {const_cast<char*>(line.data()), line.size()}};
  const ssize_t taken = retryInterrupted([&] { return writev(file, both, 2); });
  return taken > 0 ? taken - 1 : taken;
}

int appendToFile(int file, std::string_view line) {
  const TailLock lock(file);
  ssize_t taken =
      lock.isHeld() && endsInPartOfLine(file) ? endLineAndWrite(file, line) : writeSome(file, line);
  if (taken == -1) return errno;
  const auto size = static_cast<ssize_t>(line.size());
  if (taken == size) return 0;
  // Without the lock, another line may follow already.
  if (!lock.isHeld()) return ENOSPC;
  // A write is short if the next one would fail: its error is the reason.
  while (taken < size) {
    const ssize_t more = writeSome(file, line.substr(static_cast<size_t>(taken)));
    if (more <= 0) {
      const int error = more == 0 ? ENOSPC : errno;
      removePart(file, taken);
      return error;
    }
    taken += more;
  }
  return 0;
}

int appendToStream(int stream, std::string_view line) {
  if (stream_is_torn.exchange(false) && writeSome(stream, std::string_view(&kNewline, 1)) != 1) {
    stream_is_torn = true;
    return errno;
  }
  std::string_view rest = line;
  while (!rest.empty()) {
    const ssize_t taken = writeSome(stream, rest);
    if (taken <= 0) {
      const int error = taken == 0 ? ENOSPC : errno;
      if (rest.size() < line.size()) stream_is_torn = true;
      return error;
    }
    rest.remove_prefix(static_cast<size_t>(taken));
  }
  return 0;
}

}  // namespace

LineAppender::LineAppender(const std::string& path) : path_(path) {
  if (path == kStandardOutput) return;
  std::error_code error;
  const auto absolute = std::filesystem::absolute(path, error);
  // The working directory was removed. The path must not become relative to a later one.
  if (error) {
    path_error_ = error.value();
  } else {
    path_ = absolute.string();
  }
}

int LineAppender::append(std::string_view line) const noexcept {
  if (path_error_ != 0) return path_error_;
  const WriteSignalBlock signals;
  if (path_ == kStandardOutput) return appendToStream(STDOUT_FILENO, line);
  const int file = openForAppending(path_.c_str());
  if (file == -1) return errno;
  const int error = isRegular(file) ? appendToFile(file, line) : appendToStream(file, line);
  // Some file systems report only here that they could not store what they took.
  const bool is_closed = close(file) == 0;
  return error != 0 || is_closed ? error : errno;
}

}  // namespace TAMSA::jsonl
