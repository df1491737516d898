#include "bench/peers/PeerKeys.h"

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

std::vector<LabelValues> labelValues(const std::vector<KivErrorCodeEvent>& events) {
  std::vector<LabelValues> all;
  all.reserve(events.size());
  for (const KivErrorCodeEvent& event : events) {
    all.push_back({event.session_id.toString(), event.api, event.kiv_class, event.error_code,
                   std::to_string(static_cast<int>(event.severity))});
  }
  return all;
}

prometheus::Labels makeLabels(const LabelValues& values) {
  return {{"kiv_session_id", values.session},
          {"kiv_api", values.api},
          {"kiv_class", values.kiv_class},
          {"kiv_error_code", values.error_code},
          {"severity", values.severity}};
}

}  // namespace kiv_bench
