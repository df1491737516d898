/// The reports of `libraryKeys` as the peers' keys.
#pragma once

#include <string>
#include <vector>

#include "bench/peers/PlainKey.h"
#include "kiv/KivErrorCodeAggregator.h"
#include "prometheus/labels.h"

namespace kiv_bench {

std::vector<PlainKey> plainKeys(const std::vector<android::kiv::KivErrorCodeEvent>& events);

/// A report's fields as texts.
struct LabelValues {
  std::string session;
  std::string api;
  std::string kiv_class;
  std::string error_code;
  std::string severity;
};

std::vector<LabelValues> labelValues(const std::vector<android::kiv::KivErrorCodeEvent>& events);

prometheus::Labels makeLabels(const LabelValues& values);

}  // namespace kiv_bench
