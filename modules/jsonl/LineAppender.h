/// Appends whole lines to a file that others append to as well.
#pragma once

#include <string>
#include <string_view>

namespace TAMSA::jsonl {

/// Opens the destination for each line, so a file that was removed or renamed is created again, and
/// neither a fork nor the end of the process needs care. May be used from any thread.
class LineAppender {
 public:
  /// `path` is made absolute now; "-" is the standard output. Throws only if memory is short.
  explicit LineAppender(const std::string& path);

  /// Appends `line`, which ends in a newline. Returns 0 if the kernel took all of it, else an error
  /// number. Raises no signal.
  ///
  /// A regular file gets the line by one write, which other writers cannot divide, and nothing of
  /// it if that fails. If the file ends in part of a line, left by a writer that was killed, that
  /// part is ended first. Both need the file's lock (`TailLock`); without it, the line is written
  /// all the same.
  ///
  /// Pipes, terminals and other streams get it by as many writes as they need, and may mix a long
  /// line with those of other writers. A pipe that has no reader is refused. After a line that was
  /// cut short, the next line of this process begins on a line of its own.
  int append(std::string_view line) const noexcept;

  /// The destination as messages name it.
  const std::string& path() const { return path_; }

 private:
  // Constant after construction.
  std::string path_;
  int path_error_ = 0;
};

}  // namespace TAMSA::jsonl
