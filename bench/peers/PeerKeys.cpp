#include "PeerKeys.h"

namespace kiv_bench {

using android::kiv::KivErrorCodeEvent;

std::vector<PlainKey> plainKeys(const std::vector<KivErrorCodeEvent>& events) {
  const std::string first = events.front().session_id.toString();
  const size_t separator = first.find('.');
  const auto parent = std::make_shared<const std::string>(first.substr(0, separator));
  std::vector<PlainKey> keys;
  keys.reserve(events.size());
  for (const KivErrorCodeEvent& event : events) {
    keys.push_back({event.session_id.toString().substr(separator + 1), parent, event.api,
                    event.kiv_class, event.error_code, static_cast<int>(event.severity)});
  }
  return keys;
}

std::vector<prometheus::Labels> prometheusKeys(const std::vector<KivErrorCodeEvent>& events) {
  std::vector<prometheus::Labels> keys;
  keys.reserve(events.size());
  for (const KivErrorCodeEvent& event : events) {
    keys.push_back({{"kiv_session_id", event.session_id.toString()},
                    {"kiv_api", event.api},
                    {"kiv_class", event.kiv_class},
                    {"kiv_error_code", event.error_code},
                    {"severity", std::to_string(static_cast<int>(event.severity))}});
  }
  return keys;
}

}  // namespace kiv_bench
