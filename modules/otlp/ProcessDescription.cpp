#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "OtlpConfig.h"

namespace TAMSA::otlp {

namespace {

std::string executableName() {
  std::error_code error;
  const auto path = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? program_invocation_short_name : path.filename().string();
}

std::string hostName() {
  std::array<char, 256> name{};
  // The last byte stays NUL whatever gethostname cuts.
  return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

}  // namespace

Attributes describeProcess() {
  const std::string executable = executableName();
  Attributes process = {
      {"process.executable.name", executable},           {"process.pid", int64_t{getpid()}},
      {"service.name", "unknown_service:" + executable}, {"telemetry.sdk.language", "cpp"},
      {"telemetry.sdk.name", "libkivtelemetry"},         {"telemetry.sdk.version", KIV_VERSION},
  };
  if (std::string host = hostName(); !host.empty()) process.emplace("host.name", std::move(host));
  return process;
}

}  // namespace TAMSA::otlp
