// The model's sequences, driven by libFuzzer.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "tests/model/Sequence.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  kiv_test::model::Sequence sequence(data, size);
  if (const auto difference = sequence.run()) {
    std::fputs(difference->c_str(), stderr);
    std::abort();
  }
  return 0;
}
