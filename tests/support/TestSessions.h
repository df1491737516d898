/// Session identifiers with chosen texts. The library itself makes only random ones.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "kiv/KivSessionId.h"

namespace android::kiv {

class KivSessionIdTestPeer {
 public:
  static KivSessionId make(std::string id, std::shared_ptr<KivSessionId> parent = nullptr) {
    KivSessionId session(std::move(parent));
    session.id_ = std::move(id);
    return session;
  }
};

}  // namespace android::kiv

namespace kiv_test {

inline android::kiv::KivSessionId session(std::string id) {
  return android::kiv::KivSessionIdTestPeer::make(std::move(id));
}

inline android::kiv::KivSessionId session(std::string id,
                                          const android::kiv::KivSessionId& parent) {
  return android::kiv::KivSessionIdTestPeer::make(
      std::move(id), std::make_shared<android::kiv::KivSessionId>(parent));
}

}  // namespace kiv_test
