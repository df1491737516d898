/// Session identifiers with chosen texts. The library itself makes only random ones.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "kiv/KivSessionId.h"
#include "tests/support/PrivateMembers.h"

namespace kiv_test {

inline android::kiv::KivSessionId session(
    std::string id, std::shared_ptr<android::kiv::KivSessionId> parent = nullptr) {
  android::kiv::KivSessionId session(std::move(parent));
  idOf(session) = std::move(id);
  return session;
}

inline android::kiv::KivSessionId session(std::string id,
                                          const android::kiv::KivSessionId& parent) {
  return session(std::move(id), std::make_shared<android::kiv::KivSessionId>(parent));
}

}  // namespace kiv_test
