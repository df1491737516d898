#include "kiv/KivSessionId.h"

#include <pthread.h>
#include <uuid/uuid.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <utility>

#include "services/kiv/telemetry/vocabulary/SessionForks.h"
#include "tamsa/ScopedNoCancellation.h"

namespace android::kiv {

namespace {

// Two libraries bring this header; Android's has no name for the length.
constexpr size_t kUuidTextSize = 37;

using TAMSA::internal::ScopedNoCancellation;

// Loggers are made until the very end of a process. Android's std::mutex has a destructor, which
// would run before.
pthread_mutex_t generating = PTHREAD_MUTEX_INITIALIZER;

/// Keeps the host's `random()` and `rand()` as they are: libuuid seeds them anew with each
/// identifier. One at a time, or two would give each other's state back.
class ScopedRandomState {
 public:
  ScopedRandomState() {
    pthread_mutex_lock(&generating);
    constexpr unsigned kAnySeed = 1;
    before_ = initstate(kAnySeed, ours, sizeof(ours));
  }
  ~ScopedRandomState() {
    setstate(before_);
    pthread_mutex_unlock(&generating);
  }

  ScopedRandomState(const ScopedRandomState&) = delete;
  ScopedRandomState& operator=(const ScopedRandomState&) = delete;

 private:
  static inline char ours[32];

  const ScopedNoCancellation no_cancellation_;
  char* before_;
};

void generate(uuid_t& uuid) {
  const ScopedRandomState state;
  uuid_generate_random(uuid);
}

std::string generateId() {
  uuid_t uuid;
  generate(uuid);
  char text[kUuidTextSize];
  uuid_unparse(uuid, text);
  return text;
}

}  // namespace

void internal::generateSessionsAcrossForks() {
  pthread_atfork([] { pthread_mutex_lock(&generating); }, [] { pthread_mutex_unlock(&generating); },
                 [] { pthread_mutex_unlock(&generating); });
}

KivSessionId::KivSessionId(std::shared_ptr<KivSessionId> parent)
    : id_(generateId()), parent_(std::move(parent)) {}

std::string KivSessionId::toString() const {
  // Not recursive: a chain may be longer than the stack.
  size_t size = id_.size();
  for (const KivSessionId* one = parent_.get(); one != nullptr; one = one->parent_.get()) {
    size += one->id_.size() + 1;
  }
  std::string text(size, '.');
  auto begin = text.end();
  for (const KivSessionId* one = this;; one = one->parent_.get()) {
    begin = std::copy_backward(one->id_.begin(), one->id_.end(), begin);
    if (one->parent_ == nullptr) return text;
    --begin;
  }
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
