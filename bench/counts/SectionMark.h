/// Marks in a program where a counted section begins and ends, for QEMU's plugin.
#pragma once

namespace kiv_bench {

/// A system call that there is not.
inline constexpr long kSectionMark = 0x6b69;

}  // namespace kiv_bench
