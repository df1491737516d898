#include "kiv/KivSessionId.h"

#include <uuid/uuid.h>

#include <cstddef>
#include <utility>

namespace android::kiv {

namespace {

// Of the two libraries that bring this header, Android's has no name for the length.
constexpr size_t kUuidTextSize = 37;

std::string generateId() {
  uuid_t uuid;
  uuid_generate_random(uuid);
  char text[kUuidTextSize];
  uuid_unparse(uuid, text);
  return text;
}

}  // namespace

KivSessionId::KivSessionId(std::shared_ptr<KivSessionId> parent)
    : id_(generateId()), parent_(std::move(parent)) {}

std::string KivSessionId::toString() const {
  return parent_ != nullptr ? parent_->toString() + "." + id_ : id_;
}

int KivSessionId::compare(const KivSessionId& other) const {
  const KivSessionId* left = this;
  const KivSessionId* right = &other;
  // Chains that meet are equal from there on, so identity ends the walk early.
  while (left != right) {
    if (left == nullptr) return -1;
    if (right == nullptr) return 1;
    if (const int order = left->id_.compare(right->id_); order != 0) return order;
    left = left->parent_.get();
    right = right->parent_.get();
  }
  return 0;
}

}  // namespace android::kiv
