/// Where the sources of a programme stand.
#pragma once

#include <cstddef>
#include <string>

#include "BinauralRenderer.h"

namespace render_service {

/// The place of source `index` of `count`. Those named after a loudspeaker, as in "Rear_Left",
/// stand where it would; the others are spread over the circle and walk slowly around it.
Placement placeSource(const std::string& name, size_t index, size_t count);

}  // namespace render_service
