/// Values that reports are made of, each with the text that it must be reported as, and the choice
/// among them. The texts stand here a second time on purpose: the model asks the library nothing.
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

/// A compact sample format and the Android format that it stands for.
struct SampleFormat {
  int8_t value;
  Named<uint32_t> format;
};
SampleFormat chooseSampleFormat(ByteInput& input);

/// Short texts that are likely to meet again and texts that are hard to handle.
std::string chooseText(ByteInput& input);
long long chooseInteger(ByteInput& input);
uint32_t chooseUnsigned(ByteInput& input);
float chooseFloat(ByteInput& input);
float chooseSampleRate(ByteInput& input);

std::string streamTypeText(int8_t type);
std::string methodText(uint8_t method);

/// A text as it stands in a description of a call.
std::string quoted(const std::string& text);

}  // namespace kiv_test::model
