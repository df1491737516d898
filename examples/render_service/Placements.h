/// Positions of sources.
#pragma once

#include <cstddef>
#include <string>

#include "BinauralRenderer.h"

namespace render_service {

/// Returns the position of source `index` of `count`. A source named after a loudspeaker, as in
/// "Rear_Left", is at its position; others are spread over the circle and move slowly around it.
Placement placeSource(const std::string& name, size_t index, size_t count);

}  // namespace render_service
