#include "modules/otlp/OtlpConfig.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <string_view>

#include "modules/otlp/Endpoint.h"
#include "modules/otlp/PairList.h"
#include "modules/otlp/Utf8.h"

namespace TAMSA::otlp {

namespace {

using std::chrono::milliseconds;

bool equalsIgnoringCase(const std::string& text, const char* other) {
  return strcasecmp(text.c_str(), other) == 0;
}

/// True for a name that HTTP allows for a header.
bool isHeaderName(std::string_view name) {
  constexpr std::string_view kMarks = "!#$%&'*+-.^_`|~";
  const auto is_allowed = [=](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
           kMarks.find(c) != std::string_view::npos;
  };
  return !name.empty() && std::all_of(name.begin(), name.end(), is_allowed);
}

/// True for a value that cannot end its header.
bool isHeaderValue(std::string_view value) {
  constexpr unsigned char kFirstPrintable = ' ';
  constexpr unsigned char kDelete = 0x7f;
  return std::all_of(value.begin(), value.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return c == '\t' || (byte >= kFirstPrintable && byte != kDelete);
  });
}

/// True for headers that describe the body, which the exporter sets.
bool describesBody(const std::string& name) {
  constexpr std::array kNames = {"Content-Type", "Content-Encoding", "Content-Length",
                                 "Transfer-Encoding"};
  return std::any_of(kNames.begin(), kNames.end(),
                     [&](const char* other) { return equalsIgnoringCase(name, other); });
}

/// A value as messages show it.
std::string quote(const std::string& value) {
  constexpr size_t kLongest = 100;
  return '"' + shorten(toUtf8(value), kLongest) + '"';
}

class Reader {
 public:
  Reader(const Environment& environment, ConfigProblems& problems)
      : environment_(environment), problems_(problems) {}

  OtlpConfig read(const Attributes& process) {
    OtlpConfig config;
    const bool is_unwanted = readNoExporter();
    config.is_disabled = readDisabled() || is_unwanted;
    config.url = readUrl();
    config.headers = readHeaders();
    config.request_timeout =
        readForLogs("TIMEOUT", &Reader::readLimit).value_or(config.request_timeout);
    config.gzip = readForLogs("COMPRESSION", &Reader::readCompression).value_or(config.gzip);
    config.certificate_file = readForLogs("CERTIFICATE", &Reader::get).value_or("");
    config.client_certificate_file = readForLogs("CLIENT_CERTIFICATE", &Reader::get).value_or("");
    config.client_key_file = readForLogs("CLIENT_KEY", &Reader::get).value_or("");
    config.protocol = readProtocol();
    readBatching(config);
    config.resource = readResource(process);
    return config;
  }

 private:
  /// An empty value counts as not set.
  std::optional<std::string> get(const std::string& name) {
    const char* const value = environment_(name.c_str());
    return value != nullptr && *value != '\0' ? std::optional<std::string>(value) : std::nullopt;
  }

  void warn(const std::string& name, const std::string& problem) {
    problems_.warnings.push_back(name + " " + problem);
  }

  void warnChoice(const std::string& name, const std::string& value, const char* choices) {
    warn(name, "is " + quote(value) + ", which is neither " + choices + "; ignored");
  }

  /// The variable for log records if its value can be used, else that for all signals.
  template <typename Value>
  std::optional<Value> readForLogs(const std::string& name,
                                   std::optional<Value> (Reader::*reader)(const std::string&)) {
    auto value = (this->*reader)("OTEL_EXPORTER_OTLP_LOGS_" + name);
    return value ? value : (this->*reader)("OTEL_EXPORTER_OTLP_" + name);
  }

  std::optional<int> readNumber(const std::string& name, int least) {
    const auto text = get(name);
    if (!text) return std::nullopt;
    int number = 0;
    const char* const end = text->data() + text->size();
    const auto [stop, error] = std::from_chars(text->data(), end, number);
    if (error == std::errc() && stop == end && number >= least) return number;
    warn(name, "is " + quote(*text) + ", which is not a number from " + std::to_string(least) +
                   " to " + std::to_string(INT_MAX) + "; ignored");
    return std::nullopt;
  }

  /// Zero means that there is no limit.
  std::optional<TimeLimit> readLimit(const std::string& name) {
    const auto number = readNumber(name, 0);
    if (!number) return std::nullopt;
    return *number == 0 ? TimeLimit() : milliseconds(*number);
  }

  bool readDisabled() {
    constexpr char kName[] = "OTEL_SDK_DISABLED";
    const auto value = get(kName);
    if (!value) return false;
    if (equalsIgnoringCase(*value, "true")) return true;
    if (!equalsIgnoringCase(*value, "false")) warnChoice(kName, *value, "true nor false");
    return false;
  }

  /// True if exporters are chosen, and none for log records.
  bool readNoExporter() {
    constexpr char kName[] = "OTEL_LOGS_EXPORTER";
    const auto value = get(kName);
    if (!value || equalsIgnoringCase(*value, "otlp")) return false;
    if (equalsIgnoringCase(*value, "none")) return true;
    warnChoice(kName, *value, "otlp nor none");
    return false;
  }

  std::string readUrl() {
    for (const auto& [name, toUrl] : {std::pair("OTEL_EXPORTER_OTLP_LOGS_ENDPOINT", &urlForLogs),
                                      std::pair("OTEL_EXPORTER_OTLP_ENDPOINT", &urlBelow)}) {
      const auto value = get(name);
      if (!value) continue;
      if (auto url = toUrl(*value)) return *url;
      problems_.errors.push_back(std::string(name) + " is " + quote(withoutSecrets(*value)) +
                                 ", which is not an HTTP URL; no events are sent");
      return {};
    }
    return "http://localhost:4318/v1/logs";
  }

  std::vector<std::pair<std::string, std::string>> readHeaders() {
    std::string name = "OTEL_EXPORTER_OTLP_LOGS_HEADERS";
    if (!get(name)) name = "OTEL_EXPORTER_OTLP_HEADERS";
    const std::string list = get(name).value_or("");
    std::vector<std::pair<std::string, std::string>> headers;
    for (const RawPair& pair : splitPairs(list)) {
      const auto value = decodePercent(pair.value);
      // The entry may be a secret in the wrong place, so the warning does not show it.
      if (!isHeaderName(pair.key) || !value || !isHeaderValue(*value)) {
        warn(name, "has an entry that is not a header, number " + std::to_string(pair.position) +
                       "; ignored");
      } else if (describesBody(std::string(pair.key))) {
        warn(name, "must not set " + std::string(pair.key) + "; ignored");
      } else {
        headers.emplace_back(pair.key, *value);
      }
    }
    return headers;
  }

  std::optional<bool> readCompression(const std::string& name) {
    const auto value = get(name);
    if (!value) return std::nullopt;
    if (equalsIgnoringCase(*value, "gzip")) return true;
    if (equalsIgnoringCase(*value, "none")) return false;
    warnChoice(name, *value, "gzip nor none");
    return std::nullopt;
  }

  /// The first variable that is set decides, so that there is one warning at most.
  Protocol readProtocol() {
    for (const char* name : {"OTEL_EXPORTER_OTLP_LOGS_PROTOCOL", "OTEL_EXPORTER_OTLP_PROTOCOL"}) {
      const auto value = get(name);
      if (!value) continue;
      if (*value == "http/json") return Protocol::HTTP_JSON;
      if (*value != "http/protobuf") {
        warn(name, "is " + quote(*value) +
                       ", which is neither http/protobuf nor http/json; using http/protobuf");
      }
      break;
    }
    return Protocol::HTTP_PROTOBUF;
  }

  void readBatching(OtlpConfig& config) {
    if (const auto delay = readNumber("OTEL_BLRP_SCHEDULE_DELAY", 0)) {
      config.schedule_delay = milliseconds(*delay);
    }
    config.export_timeout = readLimit("OTEL_BLRP_EXPORT_TIMEOUT").value_or(config.export_timeout);
    if (const auto size = readNumber("OTEL_BLRP_MAX_QUEUE_SIZE", 1)) {
      config.max_queue_size = static_cast<size_t>(*size);
    }
    constexpr char kBatchSize[] = "OTEL_BLRP_MAX_EXPORT_BATCH_SIZE";
    if (const auto size = readNumber(kBatchSize, 1)) {
      config.max_batch_size = static_cast<size_t>(*size);
      if (config.max_batch_size > config.max_queue_size) {
        warn(kBatchSize, "exceeds OTEL_BLRP_MAX_QUEUE_SIZE; using the queue size");
      }
    }
    config.max_batch_size = std::min(config.max_batch_size, config.max_queue_size);
  }

  Attributes readResource(const Attributes& process) {
    constexpr char kName[] = "OTEL_RESOURCE_ATTRIBUTES";
    Attributes resource = process;
    const std::string list = get(kName).value_or("");
    for (const RawPair& pair : splitPairs(list)) {
      const auto key = decodePercent(pair.key);
      auto value = decodePercent(pair.value);
      if (!key || key->empty() || !value) {
        // Other entries may be wrong, too: a comma that was not encoded makes two entries of one.
        warn(kName, "has an entry that is not an attribute, number " +
                        std::to_string(pair.position) + "; all entries are ignored");
        resource = process;
        break;
      }
      resource.insert_or_assign(*key, *std::move(value));
    }
    if (auto name = get("OTEL_SERVICE_NAME")) {
      resource.insert_or_assign("service.name", *std::move(name));
    }
    return resource;
  }

  const Environment& environment_;
  ConfigProblems& problems_;
};

}  // namespace

OtlpConfig readConfig(const Environment& environment, const Attributes& process,
                      ConfigProblems& problems) {
  return Reader(environment, problems).read(process);
}

}  // namespace TAMSA::otlp
