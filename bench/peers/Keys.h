/// Distinct reports, the same for all who fold them.
#pragma once

#include <cstdint>
#include <vector>

#include "kiv/KivErrorCodeAggregator.h"

namespace kiv_bench {

/// Keys of four sessions under one parent, eight classes and 32 operations, distinguished by the
/// error code's last digits: an ordered table has to look at every field.
std::vector<android::kiv::KivErrorCodeEvent> libraryKeys(uint32_t count);

/// Which of `keys` keys the next reports are of: each as likely, in no order.
std::vector<uint32_t> shuffledPicks(uint32_t keys, uint32_t picks);

}  // namespace kiv_bench
