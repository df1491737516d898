#include "services/kiv/telemetry/aggregation/Arena.h"

#include <algorithm>
#include <new>
#include <utility>

namespace android::kiv::internal {

namespace {

constexpr size_t kFirstBlock = 1024;
constexpr size_t kLargestBlock = 65536;

constexpr size_t roundUp(size_t bytes) {
  return (bytes + alignof(void*) - 1) / alignof(void*) * alignof(void*);
}

}  // namespace

void* Arena::allocate(size_t bytes) {
  bytes = roundUp(bytes);
  if (left_ < bytes) {
    // Blocks grow with the arena: few allocations, and little unused memory in the last one.
    left_ = std::max(bytes, std::clamp(roundUp(total_ / 8), kFirstBlock, kLargestBlock));
    last_ = new (::operator new(sizeof(Block) + left_)) Block{last_};
    total_ += left_;
  }
  left_ -= bytes;
  return reinterpret_cast<char*>(last_ + 1) + left_;
}

void Arena::clear() {
  if (total_ != kFirstBlock) release();
  left_ = total_;
}

void Arena::release() {
  while (last_ != nullptr) ::operator delete(std::exchange(last_, last_->previous));
  total_ = 0;
}

}  // namespace android::kiv::internal
