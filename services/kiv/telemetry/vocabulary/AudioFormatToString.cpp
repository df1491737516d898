// The exported function, in a source that must not see <system/audio.h>: some of Android's versions
// define an inline function of this name there.
#include "kiv/Export.h"
#include "services/kiv/telemetry/vocabulary/AudioFormatNames.h"

enum audio_format_t : uint32_t;

extern "C" KIV_EXPORT const char* audio_format_to_string(audio_format_t format) {
  return android::kiv::internal::audioFormatName(static_cast<uint32_t>(format));
}
