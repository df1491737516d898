/// Reading the clock around what is measured.
#pragma once

#include <chrono>
#include <cstdint>
#include <utility>
#include <vector>

#include "bench/harness/Statistics.h"

namespace kiv_bench {

using Clock = std::chrono::steady_clock;

inline uint64_t nanosecondsSince(Clock::time_point start) {
  return static_cast<uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - start).count());
}

/// Makes the compiler believe that the value is needed.
template <typename T>
void keep(const T& value) {
  asm volatile("" : : "r"(&value) : "memory");
}

/// Nanoseconds for each call of `operation(i)`, i from 0: the median of `batches` batches of `size`
/// calls, so that the few in which the machine did something else do not count.
template <typename Operation>
double timePerCall(uint32_t batches, uint32_t size, const Operation& operation) {
  std::vector<double> times;
  times.reserve(batches);
  for (uint32_t batch = 0; batch < batches; ++batch) {
    const auto start = Clock::now();
    for (uint32_t i = batch * size; i < (batch + 1) * size; ++i) operation(i);
    times.push_back(static_cast<double>(nanosecondsSince(start)) / size);
  }
  return median(std::move(times));
}

}  // namespace kiv_bench
