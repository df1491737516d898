#include "Arena.h"

#include <algorithm>

namespace android::kiv {

namespace {

constexpr size_t kAlignment = alignof(void*);
constexpr size_t kFirstBlock = 1024;
constexpr size_t kLargestBlock = 65536;

}  // namespace

void* Arena::allocate(size_t bytes) {
  bytes = (bytes + kAlignment - 1) / kAlignment * kAlignment;
  if (blocks_.empty() || blocks_.back().size - used_ < bytes) {
    // In proportion, so that what lies idle at the end is little and the blocks are few.
    const size_t size = std::max(bytes, std::clamp(total_ / 8, kFirstBlock, kLargestBlock));
    blocks_.push_back({std::unique_ptr<char[]>(new char[size]), size});
    total_ += size;
    used_ = 0;
  }
  char* const piece = blocks_.back().bytes.get() + used_;
  used_ += bytes;
  return piece;
}

void Arena::clear() {
  const bool keep = !blocks_.empty() && blocks_.front().size == kFirstBlock;
  blocks_.resize(keep ? 1 : 0);
  used_ = 0;
  total_ = keep ? kFirstBlock : 0;
}

}  // namespace android::kiv
