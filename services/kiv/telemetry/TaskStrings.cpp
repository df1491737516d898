#include "services/kiv/telemetry/TaskStrings.h"

#include <algorithm>

namespace android::kiv::internal {

TaskStrings::TaskStrings(std::initializer_list<std::string_view> texts, std::string_view prefix) {
  size_t size = prefix.size();
  size_t index = 0;
  for (const std::string_view text : texts) ends_[index++] = size += text.size();
  for (; index < kMaxTexts; ++index) ends_[index] = size;

  if (size > inline_.size()) heap_.reset(new char[size]);
  char* next = std::copy(prefix.begin(), prefix.end(), bytes());
  for (const std::string_view text : texts) next = std::copy(text.begin(), text.end(), next);
}

TaskStrings::TaskStrings(const TaskStrings& other) : ends_(other.ends_), inline_(other.inline_) {
  if (other.heap_ == nullptr) return;
  heap_.reset(new char[size()]);
  std::copy_n(other.heap_.get(), size(), heap_.get());
}

std::string_view TaskStrings::operator[](size_t index) const {
  const size_t begin = index == 0 ? 0 : ends_[index - 1];
  return {bytes() + begin, ends_[index] - begin};
}

ScratchStrings::ScratchStrings(const TaskStrings& texts)
    : strings_(texts.size(), [] { return Strings{}; }) {
  for (size_t i = 0; i < TaskStrings::kMaxTexts; ++i) (*strings_)[i] = texts[i];
}

}  // namespace android::kiv::internal
