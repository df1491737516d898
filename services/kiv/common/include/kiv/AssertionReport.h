/// Records failed assertions of the service family before the process ends.
#pragma once

#include "kiv/CommonExport.h"

namespace android::kiv {

/// Records a failed check: the source text of its condition, an optional detail (may be null), the
/// function that has the check, and its line. Returns; the caller ends the process.
KIV_COMMON_EXPORT void logAssertionErrorCode(const char* condition, const char* detail,
                                             const char* function, int line);

}  // namespace android::kiv
