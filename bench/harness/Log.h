/// The Android log during measurements.
#pragma once

namespace kiv_bench {

/// Drops all lines from now on, so that what is measured is the library and not a terminal.
void discardLog();

}  // namespace kiv_bench
