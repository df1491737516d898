#include "services/kiv/telemetry/vocabulary/AudioFormatNames.h"

#include <system/audio.h>

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace android::kiv::internal {

namespace {

// In the order of the platform's header, so that the formats of PCM come first.
#define FORMATS(X)                  \
  X(AUDIO_FORMAT_DEFAULT)           \
  X(AUDIO_FORMAT_PCM_16_BIT)        \
  X(AUDIO_FORMAT_PCM_8_BIT)         \
  X(AUDIO_FORMAT_PCM_32_BIT)        \
  X(AUDIO_FORMAT_PCM_8_24_BIT)      \
  X(AUDIO_FORMAT_PCM_FLOAT)         \
  X(AUDIO_FORMAT_PCM_24_BIT_PACKED) \
  X(AUDIO_FORMAT_MP3)               \
  X(AUDIO_FORMAT_AMR_NB)            \
  X(AUDIO_FORMAT_AMR_WB)            \
  X(AUDIO_FORMAT_AAC)               \
  X(AUDIO_FORMAT_AAC_MAIN)          \
  X(AUDIO_FORMAT_AAC_LC)            \
  X(AUDIO_FORMAT_AAC_SSR)           \
  X(AUDIO_FORMAT_AAC_LTP)           \
  X(AUDIO_FORMAT_AAC_HE_V1)         \
  X(AUDIO_FORMAT_AAC_SCALABLE)      \
  X(AUDIO_FORMAT_AAC_ERLC)          \
  X(AUDIO_FORMAT_AAC_LD)            \
  X(AUDIO_FORMAT_AAC_HE_V2)         \
  X(AUDIO_FORMAT_AAC_ELD)           \
  X(AUDIO_FORMAT_AAC_XHE)           \
  X(AUDIO_FORMAT_HE_AAC_V1)         \
  X(AUDIO_FORMAT_HE_AAC_V2)         \
  X(AUDIO_FORMAT_VORBIS)            \
  X(AUDIO_FORMAT_OPUS)              \
  X(AUDIO_FORMAT_AC3)               \
  X(AUDIO_FORMAT_E_AC3)             \
  X(AUDIO_FORMAT_E_AC3_JOC)         \
  X(AUDIO_FORMAT_DTS)               \
  X(AUDIO_FORMAT_DTS_HD)            \
  X(AUDIO_FORMAT_IEC61937)          \
  X(AUDIO_FORMAT_DOLBY_TRUEHD)      \
  X(AUDIO_FORMAT_EVRC)              \
  X(AUDIO_FORMAT_EVRCB)             \
  X(AUDIO_FORMAT_EVRCWB)            \
  X(AUDIO_FORMAT_EVRCNW)            \
  X(AUDIO_FORMAT_AAC_ADIF)          \
  X(AUDIO_FORMAT_WMA)               \
  X(AUDIO_FORMAT_WMA_PRO)           \
  X(AUDIO_FORMAT_AMR_WB_PLUS)       \
  X(AUDIO_FORMAT_MP2)               \
  X(AUDIO_FORMAT_QCELP)             \
  X(AUDIO_FORMAT_DSD)               \
  X(AUDIO_FORMAT_FLAC)              \
  X(AUDIO_FORMAT_ALAC)              \
  X(AUDIO_FORMAT_APE)               \
  X(AUDIO_FORMAT_AAC_ADTS)          \
  X(AUDIO_FORMAT_AAC_ADTS_MAIN)     \
  X(AUDIO_FORMAT_AAC_ADTS_LC)       \
  X(AUDIO_FORMAT_AAC_ADTS_SSR)      \
  X(AUDIO_FORMAT_AAC_ADTS_LTP)      \
  X(AUDIO_FORMAT_AAC_ADTS_HE_V1)    \
  X(AUDIO_FORMAT_AAC_ADTS_SCALABLE) \
  X(AUDIO_FORMAT_AAC_ADTS_ERLC)     \
  X(AUDIO_FORMAT_AAC_ADTS_LD)       \
  X(AUDIO_FORMAT_AAC_ADTS_HE_V2)    \
  X(AUDIO_FORMAT_AAC_ADTS_ELD)      \
  X(AUDIO_FORMAT_AAC_ADTS_XHE)      \
  X(AUDIO_FORMAT_SBC)               \
  X(AUDIO_FORMAT_APTX)              \
  X(AUDIO_FORMAT_APTX_HD)           \
  X(AUDIO_FORMAT_AC4)               \
  X(AUDIO_FORMAT_LDAC)              \
  X(AUDIO_FORMAT_MAT)               \
  X(AUDIO_FORMAT_MAT_1_0)           \
  X(AUDIO_FORMAT_MAT_2_0)           \
  X(AUDIO_FORMAT_MAT_2_1)           \
  X(AUDIO_FORMAT_AAC_LATM)          \
  X(AUDIO_FORMAT_AAC_LATM_LC)       \
  X(AUDIO_FORMAT_AAC_LATM_HE_V1)    \
  X(AUDIO_FORMAT_AAC_LATM_HE_V2)    \
  X(AUDIO_FORMAT_CELT)              \
  X(AUDIO_FORMAT_APTX_ADAPTIVE)     \
  X(AUDIO_FORMAT_LHDC)              \
  X(AUDIO_FORMAT_LHDC_LL)           \
  X(AUDIO_FORMAT_APTX_TWSP)         \
  X(AUDIO_FORMAT_LC3)               \
  X(AUDIO_FORMAT_MPEGH)             \
  X(AUDIO_FORMAT_MPEGH_BL_L3)       \
  X(AUDIO_FORMAT_MPEGH_BL_L4)       \
  X(AUDIO_FORMAT_MPEGH_LC_L3)       \
  X(AUDIO_FORMAT_MPEGH_LC_L4)       \
  X(AUDIO_FORMAT_IEC60958)          \
  X(AUDIO_FORMAT_DTS_UHD)           \
  X(AUDIO_FORMAT_DRA)

// Tables without pointers: a switch, or pointers with their relocations, would take twice the
// bytes.

#define VALUE(constant) static_cast<uint32_t>(constant),
constexpr uint32_t kValues[] = {FORMATS(VALUE)};

struct Names {
#define MEMBER(constant) char of_##constant[sizeof(#constant)];
  FORMATS(MEMBER)
};
#define NAME(constant) #constant,
constexpr Names kNames{FORMATS(NAME)};

#define OFFSET(constant) offsetof(Names, of_##constant),
constexpr uint16_t kOffsets[] = {FORMATS(OFFSET)};
static_assert(sizeof(Names) <= UINT16_MAX);

}  // namespace

const char* audioFormatName(uint32_t format) {
  const auto* const found = std::find(std::begin(kValues), std::end(kValues), format);
  if (found == std::end(kValues)) return "";
  return reinterpret_cast<const char*>(&kNames) + kOffsets[found - std::begin(kValues)];
}

}  // namespace android::kiv::internal
