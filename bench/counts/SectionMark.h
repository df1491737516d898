/// How a program tells QEMU's plugin that a section begins or ends.
#pragma once

namespace kiv_bench {

/// A system call that there is not.
inline constexpr long kSectionMark = 0x6b69;

}  // namespace kiv_bench
