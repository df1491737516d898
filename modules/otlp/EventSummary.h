/// A short text about an event, for people who read logs.
#pragma once

#include <string>

#include "modules/support/Event.h"

namespace TAMSA::otlp {

/// For example "3 × kiv.MMAP_FAILED=-12 in Mixer.open". At most some 200 bytes, in valid UTF-8.
/// Throws only if memory is short.
std::string summarize(const std::string& name, const support::Fields& fields);

}  // namespace TAMSA::otlp
