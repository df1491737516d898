#include "tests/model/Vocabulary.h"

#include <cmath>
#include <cstdio>
#include <limits>

namespace kiv_test::model {

using namespace std::string_literals;

Named<int32_t> chooseError(ByteInput& input) {
  static constexpr Named<int32_t> kErrors[] = {
      {0, "OK"},
      {100, "UNKNOWN_CLIENT_ERROR"},
      {106, "CLIENT_2D_WINDOW_INVALID_HANDLE"},
      {107, "107"},
      {299, "299"},
      {300, "UNKNOWN_SERVICE_ERROR"},
      {326, "SERVICE_LIBKIV_ENGINE_CREATE_FAILED"},
      {343, "USER_2D_WINDOW_NOT_REGISTERED"},
      {344, "344"},
      {507, "MMAP_FAILED"},
      {512, "TASK_RUNNER_TIMED_OUT"},
      {513, "513"},
      {32766, "32766"},
      {32767, "UNKNOWN_ERROR"},
      {-5, "-5"},
      {std::numeric_limits<int32_t>::min(), "-2147483648"},
  };
  return input.oneOf(kErrors);
}

Named<int32_t> chooseStatus(ByteInput& input) {
  static constexpr Named<int32_t> kStatuses[] = {
      {0, "OK"},           {-1, "PERMISSION_DENIED"},
      {-12, "NO_MEMORY"},  {-13, "-13 (Permission denied)"},
      {-22, "BAD_VALUE"},  {-32, "DEAD_OBJECT"},
      {-110, "TIMED_OUT"}, {std::numeric_limits<int32_t>::min(), "UNKNOWN_ERROR"},
  };
  return input.oneOf(kStatuses);
}

Named<uint32_t> chooseFormat(ByteInput& input) {
  static constexpr Named<uint32_t> kFormats[] = {
      {0x0, "AUDIO_FORMAT_DEFAULT"},
      {0x1, "AUDIO_FORMAT_PCM_16_BIT"},
      {0x5, "AUDIO_FORMAT_PCM_FLOAT"},
      {0x7, ""},
      {0x01000000, "AUDIO_FORMAT_MP3"},
      {0x04000002, "AUDIO_FORMAT_AAC_LC"},
      {0x04000003, ""},
      {0x0A000001, "AUDIO_FORMAT_E_AC3_JOC"},
      {0x1E000300, "AUDIO_FORMAT_AAC_ADTS_XHE"},
      {0x2D000000, "AUDIO_FORMAT_IEC60958"},
      {0x7FFFFFFF, ""},
      {0xFFFFFFFF, ""},
  };
  return input.oneOf(kFormats);
}

SampleFormat chooseSampleFormat(ByteInput& input) {
  static constexpr SampleFormat kFormats[] = {
      {0, {5, "AUDIO_FORMAT_PCM_FLOAT"}},         {1, {1, "AUDIO_FORMAT_PCM_16_BIT"}},
      {2, {6, "AUDIO_FORMAT_PCM_24_BIT_PACKED"}}, {3, {3, "AUDIO_FORMAT_PCM_32_BIT"}},
      {4, {2, "AUDIO_FORMAT_PCM_8_BIT"}},         {5, {4, "AUDIO_FORMAT_PCM_8_24_BIT"}},
  };
  return input.oneOf(kFormats);
}

std::string chooseText(ByteInput& input) {
  static const std::string kTexts[] = {
      "a"s,   "b"s,    "ab"s,   ""s,        "A"s,    "a\0b"s,
      "a\0"s, "\x7f"s, "\x80"s, "%n%s%d%"s, "open"s, "client_api_call.open"s,
  };
  const uint8_t choice = input.byte();
  if (choice < 0x80) return kTexts[choice % 3];
  if (choice < 0xC0) return kTexts[choice % std::size(kTexts)];
  if (choice < 0xF0) return input.bytes(choice % 16);
  // Longer than the log's limit for a line.
  return std::string(size_t{128} * (choice % 16), static_cast<char>(input.byte()));
}

long long chooseInteger(ByteInput& input) {
  using Limits = std::numeric_limits<long long>;
  static constexpr long long kIntegers[] = {1,
                                            2,
                                            -1,
                                            0,
                                            6,
                                            9,
                                            16777217,
                                            9007199254740993,
                                            5000000000,
                                            Limits::max(),
                                            Limits::min(),
                                            1LL << 62,
                                            -3};
  const uint8_t choice = input.byte();
  if (choice < 0xC0) return kIntegers[choice % std::size(kIntegers)];
  return choice < 0xE0 ? input.any<int16_t>() : input.any<long long>();
}

uint32_t chooseUnsigned(ByteInput& input) {
  static constexpr uint32_t kNumbers[] = {2, 960, 0, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
  const uint8_t choice = input.byte();
  return choice < 0xF0 ? kNumbers[choice % std::size(kNumbers)] : input.any<uint32_t>();
}

float chooseFloat(ByteInput& input) {
  using Limits = std::numeric_limits<float>;
  static constexpr float kFloats[] = {0.0F,
                                      -0.0F,
                                      1.0F,
                                      -1.0F,
                                      0.5F,
                                      0.25F,
                                      16777216.0F,
                                      Limits::max(),
                                      Limits::lowest(),
                                      Limits::denorm_min(),
                                      Limits::infinity(),
                                      -Limits::infinity(),
                                      Limits::quiet_NaN()};
  const uint8_t choice = input.byte();
  if (choice < 0x60) return kFloats[choice % 3];
  if (choice < 0xC0) return kFloats[choice % std::size(kFloats)];
  return choice < 0xE0 ? static_cast<float>(input.any<int16_t>()) / 8 : input.any<float>();
}

float chooseSampleRate(ByteInput& input) {
  static constexpr float kRates[] = {48000.0F,      44100.9F,      0.99F,        -0.5F,
                                     2147483648.0F, 4294967040.0F, 4294967296.0F};
  const uint8_t choice = input.byte();
  return choice < 0x80 ? kRates[choice % std::size(kRates)] : chooseFloat(input);
}

std::string streamTypeText(int8_t type) {
  switch (type) {
    case 0:
      return "KIV_STREAM_TYPE_UNKNOWN";
    case 1:
      return "KIV_STREAM_TYPE_AMBISONIC";
    case 2:
      return "KIV_STREAM_TYPE_OBJECT";
    case 3:
      return "KIV_STREAM_TYPE_PASSTHROUGH";
    case 4:
      return "KIV_STREAM_TYPE_2D_WINDOW";
    case 5:
      return "KIV_STREAM_TYPE_BUNDLE";
    default:
      return std::to_string(int{type});
  }
}

std::string methodText(uint8_t method) {
  static constexpr const char* kMethods[] = {"AVG", "SUM", "MAX", "MIN", "COUNT"};
  return method < std::size(kMethods) ? kMethods[method] : "UNKNOWN";
}

std::string quoted(const std::string& text) {
  constexpr size_t kLongest = 40;
  std::string result = "\"";
  for (const char character : text.substr(0, kLongest)) {
    if (character >= ' ' && character <= '~' && character != '"' && character != '\\') {
      result.push_back(character);
    } else {
      char escape[8];
      std::snprintf(escape, sizeof(escape), "\\x%02x", static_cast<uint8_t>(character));
      result += escape;
    }
  }
  result += '"';
  if (text.size() > kLongest) result += "... (" + std::to_string(text.size()) + " bytes)";
  return result;
}

}  // namespace kiv_test::model
