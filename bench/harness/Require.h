/// Ends the program if a measurement did not do what it claims to.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace kiv_bench {

inline void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "kiv_bench: %s\n", what);
  std::exit(1);
}

}  // namespace kiv_bench
