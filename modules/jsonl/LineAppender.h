/// Appends whole lines to a file that others append to as well.
#pragma once

#include <string>
#include <string_view>

namespace TAMSA::jsonl {

/// Keeps nothing open between two lines, so a file that is removed or renamed is made anew, and
/// neither a fork nor the end of the process needs care. May be used from any thread.
class LineAppender {
 public:
  /// `path` is made absolute now; "-" is the standard output. Throws only for want of memory.
  explicit LineAppender(const std::string& path);

  /// Appends `line`, which ends in a newline. True if the kernel has taken all of it.
  ///
  /// A regular file gets it by one write, or gets nothing of it. Pipes, terminals and other streams
  /// get it by as many writes as they need, and may mix a longer line with those of other writers;
  /// a pipe that nobody has open for reading is refused instead of waited for. If a failure leaves
  /// part of a line behind, the next line of this process begins below it. Raises no signal.
  bool append(std::string_view line) const noexcept;

 private:
  const std::string path_;
};

}  // namespace TAMSA::jsonl
