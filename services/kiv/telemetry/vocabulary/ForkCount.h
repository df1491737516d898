/// Tells a process from its forked copies.
#pragma once

#include "kiv/Export.h"

namespace android::kiv::internal {

/// Written only in a fresh child, which has one thread.
extern KIV_HIDDEN unsigned fork_count;

/// Counts forks from now on. Called when the library is loaded.
void watchForks();

/// The number of forks between this process and the one that loaded the library: differs between a
/// process and its copies.
inline unsigned forkCount() { return fork_count; }

/// Makes this process the one whose threads do the library's work.
void claimProcess();

/// True in forked copies of the process that called `claimProcess`: its threads are not here.
bool isForkedCopy();

}  // namespace android::kiv::internal
