/// Lets an environment variable lengthen a test that is short in the suite.
#pragma once

#include <cstddef>
#include <cstdlib>

namespace kiv_test {

inline size_t fromEnvironment(const char* name, size_t otherwise) {
  const char* const text = std::getenv(name);
  return text != nullptr ? std::strtoul(text, nullptr, 10) : otherwise;
}

}  // namespace kiv_test
