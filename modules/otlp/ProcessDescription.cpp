#include "modules/otlp/ProcessDescription.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string_view>
#include <system_error>
#include <utility>

namespace TAMSA::otlp {

namespace {

namespace fs = std::filesystem;

std::string hostName() {
  std::array<char, 256> name{};
  // The last byte stays NUL if gethostname cuts the name.
  return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

/// A random UUID (version 4).
std::string makeUuid() {
  std::random_device random;
  const auto bits = [&random] { return static_cast<uint32_t>(random()); };
  constexpr uint32_t kVersion = 0x4000;
  constexpr uint32_t kVariant = 0x8000;
  const uint32_t words[] = {bits(), bits(), bits(), bits()};
  std::array<char, 37> text{};
  std::snprintf(text.data(), text.size(), "%08x-%04x-%04x-%04x-%04x%08x", words[0], words[1] >> 16U,
                (words[1] & 0x0FFFU) | kVersion, ((words[2] >> 16U) & 0x3FFFU) | kVariant,
                words[2] & 0xFFFFU, words[3]);
  return text.data();
}

}  // namespace

std::string programName(const std::string& link) {
  constexpr std::string_view kMark = " (deleted)";
  std::error_code error;
  const fs::path path = fs::read_symlink(link, error);
  if (error) return program_invocation_short_name;
  std::string name = path.filename().string();
  const std::string_view shown = name;
  const bool has_mark =
      shown.size() > kMark.size() && shown.substr(shown.size() - kMark.size()) == kMark;
  // A program may really have such a name.
  if (has_mark && !fs::exists(path, error)) name.resize(name.size() - kMark.size());
  return name;
}

Attributes describeProcess() {
  const std::string program = programName("/proc/self/exe");
  Attributes process = {
      {"process.executable.name", program},   {"process.pid", int64_t{getpid()}},
      {"service.instance.id", makeUuid()},    {"service.name", "unknown_service:" + program},
      {"telemetry.sdk.language", "cpp"},      {"telemetry.sdk.name", "libkivtelemetry"},
      {"telemetry.sdk.version", KIV_VERSION},
  };
  if (std::string host = hostName(); !host.empty()) process.emplace("host.name", std::move(host));
  return process;
}

}  // namespace TAMSA::otlp
