/// Copies of a few texts in one piece.
#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

namespace android::kiv {

/// Keeps the texts of a report until the worker takes it. They are bound on the threads of those
/// who report: copied so, usual ones need no memory but the task's own.
class PackedTexts {
 public:
  static constexpr size_t kMaxTexts = 3;

  PackedTexts(std::initializer_list<std::string_view> texts);

  // Of use to nobody, but tasks have to be copyable.
  PackedTexts(const PackedTexts& other);
  PackedTexts(PackedTexts&&) noexcept = default;
  PackedTexts& operator=(const PackedTexts&) = delete;
  PackedTexts& operator=(PackedTexts&&) = delete;
  ~PackedTexts() = default;

  std::string operator[](size_t index) const;

 private:
  char* bytes() { return heap_ != nullptr ? heap_.get() : inline_.data(); }
  const char* bytes() const { return heap_ != nullptr ? heap_.get() : inline_.data(); }

  std::array<size_t, kMaxTexts> ends_{};
  std::unique_ptr<char[]> heap_;  // null where the texts fit inline_
  std::array<char, 64> inline_;   // not initialised beyond the texts
};

}  // namespace android::kiv
