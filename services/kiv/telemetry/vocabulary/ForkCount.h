/// Tells a process from its forked copies.
#pragma once

namespace android::kiv::internal {

/// Counts forks from now on. Called once, before any of them matters.
void watchForks();

/// The number of forks between this process and the one that called `watchForks()`.
unsigned forkCount();

}  // namespace android::kiv::internal
