#include "PackedTexts.h"

#include <algorithm>

namespace android::kiv {

PackedTexts::PackedTexts(std::initializer_list<std::string_view> texts) {
  size_t size = 0;
  auto* end = ends_.begin();
  for (const std::string_view text : texts) *end++ = size += text.size();
  if (size > inline_.size()) heap_.reset(new char[size]);
  char* next = bytes();
  for (const std::string_view text : texts) next = std::copy(text.begin(), text.end(), next);
}

PackedTexts::PackedTexts(const PackedTexts& other) : ends_(other.ends_), inline_(other.inline_) {
  if (other.heap_ == nullptr) return;
  const size_t size = *std::max_element(ends_.begin(), ends_.end());
  heap_.reset(new char[size]);
  std::copy_n(other.heap_.get(), size, heap_.get());
}

std::string PackedTexts::operator[](size_t index) const {
  const size_t begin = index == 0 ? 0 : ends_[index - 1];
  return {bytes() + begin, ends_[index] - begin};
}

}  // namespace android::kiv
