/// Where failed assertions of the service family are recorded before the process ends.
#pragma once

#include "kiv/CommonExport.h"

namespace android::kiv {

/// Records a failed check: the source text of its condition, an optional detail (may be null), the
/// function that holds the check and its line. Returns; ending the process is the caller's part.
KIV_COMMON_EXPORT void logAssertionErrorCode(const char* condition, const char* detail,
                                             const char* function, int line);

}  // namespace android::kiv
