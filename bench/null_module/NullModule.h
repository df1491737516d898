/// A telemetry module with the real interface that does nothing but count, so that what is measured
/// is the library and not a module.
#pragma once

#include <cstdint>

namespace kiv_bench {

/// Events that the module was handed so far: shows that a measurement submitted what it claims to.
__attribute__((visibility("default"))) uint64_t reportedEvents();

}  // namespace kiv_bench
