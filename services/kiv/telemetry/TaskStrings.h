/// Copies of a few texts in one piece, and back.
#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

#include "services/kiv/telemetry/ThreadLocalScratch.h"

namespace android::kiv::internal {

/// Keeps the texts of a report until the worker takes it. They are bound on the threads of those
/// who report: copied so, usual ones need no memory but the task's own.
class TaskStrings {
 public:
  static constexpr size_t kMaxTexts = 3;

  /// The first of `texts` comes with `prefix` before it.
  TaskStrings(std::initializer_list<std::string_view> texts, std::string_view prefix = {});

  // Of use to nobody, but tasks have to be copyable.
  TaskStrings(const TaskStrings& other);
  TaskStrings(TaskStrings&&) noexcept = default;
  TaskStrings& operator=(const TaskStrings&) = delete;
  TaskStrings& operator=(TaskStrings&&) = delete;
  ~TaskStrings() = default;

  /// Beyond the last of them there are empty ones.
  std::string_view operator[](size_t index) const;

  /// Of all of them together.
  size_t size() const { return ends_.back(); }

 private:
  char* bytes() { return heap_ != nullptr ? heap_.get() : inline_.data(); }
  const char* bytes() const { return heap_ != nullptr ? heap_.get() : inline_.data(); }

  std::array<size_t, kMaxTexts> ends_{};
  std::unique_ptr<char[]> heap_;  // null where the texts fit inline_
  std::array<char, 64> inline_;   // not initialised beyond the texts
};

/// The same texts as strings, while it lives.
class ScratchStrings {
 public:
  explicit ScratchStrings(const TaskStrings& texts);

  const std::string& operator[](size_t index) const { return (*strings_)[index]; }

 private:
  using Strings = std::array<std::string, TaskStrings::kMaxTexts>;

  const ThreadLocalScratch<Strings> strings_;
};

}  // namespace android::kiv::internal
