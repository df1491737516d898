/// Values for reports, each with its expected text. The texts are repeated here on purpose: the
/// model must not depend on the library.
#pragma once

#include <cstdint>
#include <string>

#include "tests/model/ByteInput.h"

namespace kiv_test::model {

template <typename T>
struct Named {
  T value;
  const char* text;
};

Named<int32_t> chooseError(ByteInput& input);
Named<int32_t> chooseStatus(ByteInput& input);
Named<uint32_t> chooseFormat(ByteInput& input);

/// A compact sample format and the equivalent Android format.
struct SampleFormat {
  int8_t value;
  Named<uint32_t> format;
};
SampleFormat chooseSampleFormat(ByteInput& input);

/// Short texts, which are likely to repeat, and difficult ones.
std::string chooseText(ByteInput& input);
long long chooseInteger(ByteInput& input);
uint32_t chooseUnsigned(ByteInput& input);
float chooseFloat(ByteInput& input);
float chooseSampleRate(ByteInput& input);

std::string streamTypeText(int8_t type);
std::string methodText(uint8_t method);

/// A text as it is written in the text of a call.
std::string quoted(const std::string& text);

}  // namespace kiv_test::model
