/// The reports of `libraryKeys` as the peers' keys.
#pragma once

#include <vector>

#include "PlainKey.h"
#include "kiv/KivErrorCodeAggregator.h"
#include "prometheus/labels.h"

namespace kiv_bench {

std::vector<PlainKey> plainKeys(const std::vector<android::kiv::KivErrorCodeEvent>& events);

std::vector<prometheus::Labels> prometheusKeys(
    const std::vector<android::kiv::KivErrorCodeEvent>& events);

}  // namespace kiv_bench
