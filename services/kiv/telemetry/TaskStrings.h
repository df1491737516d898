/// Carries the strings of a report from its caller to the worker.
#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include "services/kiv/telemetry/ThreadLocalScratch.h"

namespace android::kiv::internal {

/// Copies of up to three strings in one buffer, to be bound into a task. A report's caller pays for
/// the copies: strings of usual length need no memory besides the task itself.
class TaskStrings {
 public:
  static constexpr size_t kMaxTexts = 3;

  /// Puts `prefix` before the first text.
  TaskStrings(std::initializer_list<std::string_view> texts, std::string_view prefix = {});

  // Required by std::function; never called in practice.
  TaskStrings(const TaskStrings& other);
  TaskStrings(TaskStrings&&) noexcept = default;
  TaskStrings& operator=(const TaskStrings&) = delete;
  TaskStrings& operator=(TaskStrings&&) = delete;
  ~TaskStrings() = default;

  /// The text at `index`, below kMaxTexts; empty if there were fewer.
  std::string_view operator[](size_t index) const;

  /// The sum of the texts' sizes.
  size_t size() const { return ends_.back(); }

 private:
  char* bytes() { return heap_ != nullptr ? heap_.get() : inline_.data(); }
  const char* bytes() const { return heap_ != nullptr ? heap_.get() : inline_.data(); }

  std::array<size_t, kMaxTexts> ends_{};
  std::unique_ptr<char[]> heap_;  // null where the texts fit inline_
  std::array<char, 64> inline_;   // not initialized beyond the texts
};

/// Copies the texts into strings of the calling thread's scratch, which keep their capacity.
class ScratchStrings {
 public:
  explicit ScratchStrings(const TaskStrings& texts);

  const std::string& operator[](size_t index) const { return (*strings_)[index]; }

 private:
  using Strings = std::array<std::string, TaskStrings::kMaxTexts>;

  const ThreadLocalScratch<Strings> strings_;
};

}  // namespace android::kiv::internal
