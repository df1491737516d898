/// Identifiers of telemetry sessions.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "kiv/Export.h"

namespace android::kiv {

namespace internal {
struct DeviceLayout;
}  // namespace internal

/// A random identifier of one session, and the chain of its parent sessions. Copies compare equal
/// and share their parents. Constant after construction.
class KIV_EXPORT KivSessionId {
 public:
  /// A fresh identifier under `parent`, which it shares; an empty parent makes a root.
  explicit KivSessionId(std::shared_ptr<KivSessionId> parent);

  /// Inline, because clients have always compiled it themselves.
  ~KivSessionId() {
    // Iterative, because a chain may be longer than the stack.
    while (parent_ != nullptr && parent_.use_count() == 1) {
      // Copied, not moved: another thread may be about to own the parent again, by a weak pointer.
      std::shared_ptr<KivSessionId> next = parent_->parent_;
      parent_ = std::move(next);
    }
  }

  KivSessionId(const KivSessionId&) = default;
  KivSessionId& operator=(const KivSessionId&) = default;
  KivSessionId(KivSessionId&&) = default;
  KivSessionId& operator=(KivSessionId&&) = default;

  /// The chain of identifiers from the root to this one, joined by ".".
  std::string toString() const;

  /// Orders by the identifiers first. Parents break ties; no parent orders before any parent.
  bool operator<(const KivSessionId& other) const { return compare(other) < 0; }

  /// Three-way form of `operator<`: negative, zero or positive.
  int compare(const KivSessionId& other) const;

  /// The identifier itself, without its chain.
  KIV_HIDDEN const std::string& id() const { return id_; }

 private:
  friend struct internal::DeviceLayout;

  std::string id_;
  std::shared_ptr<KivSessionId> parent_;
};

}  // namespace android::kiv
