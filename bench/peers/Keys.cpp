#include "Keys.h"

#include <fmt/format.h>

#include <random>

#include "Report.h"

namespace kiv_bench {

namespace {

using android::kiv::KivErrorCodeEvent;
using android::kiv::KivSessionId;

constexpr uint32_t kSessions = 4;
constexpr uint32_t kClasses = 8;
constexpr uint32_t kApis = 32;

// As long as those of `Report`.
std::string apiOf(uint32_t key) { return fmt::format("configureAudioStrm{:02}", key % kApis); }
std::string classOf(uint32_t key) { return fmt::format("SpatialAudioSi{:02}", key % kClasses); }
std::string errorCodeOf(uint32_t key) { return fmt::format("kiv.SERVICE_STREAM_NOT{:06}", key); }

/// For all tables, so that they work on the same texts.
const std::vector<KivSessionId>& sessions() {
  static const std::vector<KivSessionId> all = [] {
    const auto parent = std::make_shared<KivSessionId>(nullptr);
    std::vector<KivSessionId> made;
    for (uint32_t i = 0; i < kSessions; ++i) made.emplace_back(parent);
    return made;
  }();
  return all;
}

template <typename Key, typename Make>
std::vector<Key> makeKeys(uint32_t count, const Make& make) {
  std::vector<Key> keys;
  keys.reserve(count);
  for (uint32_t i = 0; i < count; ++i) keys.push_back(make(i, sessions()[i % kSessions]));
  return keys;
}

}  // namespace

std::vector<uint32_t> shuffledPicks(uint32_t keys, uint32_t picks) {
  std::mt19937 random(keys);
  std::uniform_int_distribution<uint32_t> pick(0, keys - 1);
  std::vector<uint32_t> all(picks);
  for (uint32_t& one : all) one = pick(random);
  return all;
}

std::vector<KivErrorCodeEvent> libraryKeys(uint32_t count) {
  return makeKeys<KivErrorCodeEvent>(count, [](uint32_t i, const KivSessionId& session) {
    return KivErrorCodeEvent{session, apiOf(i), classOf(i), errorCodeOf(i), Report().severity};
  });
}

std::vector<PlainKey> plainKeys(uint32_t count) {
  const std::string text = sessions()[0].toString();
  const auto parent = std::make_shared<const std::string>(text.substr(0, text.find('.')));
  return makeKeys<PlainKey>(count, [&](uint32_t i, const KivSessionId& session) {
    return PlainKey{session.toString().substr(parent->size() + 1),
                    parent,
                    apiOf(i),
                    classOf(i),
                    errorCodeOf(i),
                    static_cast<int>(Report().severity)};
  });
}

std::vector<prometheus::Labels> prometheusKeys(uint32_t count) {
  return makeKeys<prometheus::Labels>(count, [](uint32_t i, const KivSessionId& session) {
    return prometheus::Labels{{"kiv_session_id", session.toString()},
                              {"kiv_api", apiOf(i)},
                              {"kiv_class", classOf(i)},
                              {"kiv_error_code", errorCodeOf(i)},
                              {"severity", std::to_string(static_cast<int>(Report().severity))}};
  });
}

}  // namespace kiv_bench
