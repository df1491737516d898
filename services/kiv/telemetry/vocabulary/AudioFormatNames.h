/// The names of Android's audio formats.
#pragma once

#include <cstdint>

namespace android::kiv::internal {

/// The name of the `audio_format_t` constant with exactly this value; "" if there is none.
const char* audioFormatName(uint32_t format);

}  // namespace android::kiv::internal
