/// Threads that report side by side.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace kiv_bench {

/// Calls `work(n)` on `count` threads at once, n from 0, and returns when all have returned. A
/// single one is the calling thread itself, which may be pinned.
void runProducers(size_t count, const std::function<void(size_t)>& work);

std::string producersText(size_t count);

}  // namespace kiv_bench
