#include "bench/peers/Keys.h"

#include <iomanip>
#include <random>
#include <sstream>

#include "bench/peers/Report.h"

namespace kiv_bench {

namespace {

using android::kiv::KivErrorCodeEvent;
using android::kiv::KivSessionId;

constexpr uint32_t kSessions = 4;
constexpr uint32_t kClasses = 8;
constexpr uint32_t kApis = 32;

/// `text` with its end replaced by `number`, so that it stays as long as it is.
std::string numbered(const std::string& text, uint32_t number, size_t digits) {
  std::ostringstream stream;
  stream << text.substr(0, text.size() - digits) << std::setfill('0')
         << std::setw(static_cast<int>(digits)) << number;
  return stream.str();
}

}  // namespace

std::vector<KivErrorCodeEvent> libraryKeys(uint32_t count) {
  const auto parent = std::make_shared<KivSessionId>(nullptr);
  std::vector<KivSessionId> sessions;
  for (uint32_t i = 0; i < kSessions; ++i) sessions.emplace_back(parent);
  const Report report;
  std::vector<KivErrorCodeEvent> keys;
  keys.reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    keys.push_back({sessions[i % kSessions], numbered(report.api, i % kApis, 2),
                    numbered(report.kiv_class, i % kClasses, 2), numbered(report.error_code, i, 6),
                    report.severity});
  }
  return keys;
}

std::vector<uint32_t> shuffledPicks(uint32_t keys, uint32_t picks) {
  std::mt19937 random(keys);
  std::uniform_int_distribution<uint32_t> pick(0, keys - 1);
  std::vector<uint32_t> all(picks);
  for (uint32_t& one : all) one = pick(random);
  return all;
}

}  // namespace kiv_bench
