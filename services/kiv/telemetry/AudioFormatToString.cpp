// The exported function, in a source that must not see <system/audio.h>: some of Android's versions
// define an inline function of this name there. An `audio_format_t` is passed as this number is.
#include "AudioFormatNames.h"
#include "kiv/Export.h"

extern "C" KIV_EXPORT const char* audio_format_to_string(uint32_t format) {
  return android::kiv::audioFormatName(format);
}
