#include "HttpTransport.h"

#include <sys/socket.h>

#include <algorithm>
#include <new>
#include <optional>

#include "Gzip.h"

// OpenSSL's own, if libcurl brings OpenSSL along; null otherwise.
extern "C" __attribute__((weak)) int OPENSSL_init_crypto(uint64_t options, const void* settings);

namespace TAMSA::otlp {

namespace {

/// An answer is a few words; what is longer is not read on.
constexpr size_t kLongestAnswer = 65'536;

/// Has OpenSSL stay usable until the very end: unless told so before its first use, it tears itself
/// down in an exit handler, before the last events are sent.
void keepTlsUntilTheEnd() {
  constexpr uint64_t kNoExitHandler = 0x00080000;  // OPENSSL_INIT_NO_ATEXIT
  if (OPENSSL_init_crypto != nullptr) OPENSSL_init_crypto(kNoExitHandler, nullptr);
}

/// Where others used OpenSSL first, it may be gone nevertheless, and must not be touched then.
bool isTlsGone() { return OPENSSL_init_crypto != nullptr && OPENSSL_init_crypto(0, nullptr) == 0; }

std::vector<std::string> makeHeaderLines(const OtlpConfig& config) {
  std::vector<std::string> lines = {"Content-Type: application/json",
                                    // Nothing is gained by asking first.
                                    "Expect:", "User-Agent: libkivtelemetry-otlp/" KIV_VERSION};
  if (config.gzip) lines.emplace_back("Content-Encoding: gzip");
  for (const auto& [name, value] : config.headers) {
    // libcurl takes a colon without a value for a header to be left out.
    std::string line = name;
    line += value.empty() ? ";" : ": ";
    lines.push_back(line += value);
  }
  return lines;
}

std::vector<std::string> secretsOf(const OtlpConfig& config) {
  std::vector<std::string> secrets;
  for (const auto& [name, value] : config.headers) secrets.push_back(value);
  return secrets;
}

size_t keepAnswer(const char* data, size_t size, size_t count, void* kept) {
  auto& text = *static_cast<std::string*>(kept);
  const size_t length = size * count;
  text.append(data, std::min(length, kLongestAnswer - text.size()));
  return length;
}

/// As libcurl's own, but closed in programs that the process starts.
curl_socket_t openSocket(void* /*context*/, curlsocktype /*purpose*/, curl_sockaddr* address) {
  return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

/// Whether the same request may succeed another time.
bool mayPass(CURLcode problem) {
  switch (problem) {
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_URL_MALFORMAT:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ENGINE_NOTFOUND:
    case CURLE_SSL_CIPHER:
      return false;
    default:
      return true;
  }
}

}  // namespace

HttpTransport::HttpTransport(const OtlpConfig& config)
    : url_(config.url),
      needs_tls_(config.url.rfind("https:", 0) == 0),
      certificate_file_(config.certificate_file),
      client_certificate_file_(config.client_certificate_file),
      client_key_file_(config.client_key_file),
      gzip_(config.gzip),
      header_lines_(makeHeaderLines(config)),
      secrets_(secretsOf(config)) {}

Reply HttpTransport::send(const std::string& body, const Limit& limit) {
  if (!gzip_) return judge(exchange(body, limit), secrets_);
  const auto packed = gzip(body);
  if (!packed) throw std::bad_alloc();
  return judge(exchange(*packed, limit), secrets_);
}

void HttpTransport::wake() {
  if (CURLM* const multi = multi_) curl_multi_wakeup(multi);
}

bool HttpTransport::prepare() {
  if (multi_ != nullptr) return true;
  if (easy_ == nullptr) {
    keepTlsUntilTheEnd();
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) return false;
    easy_ = curl_easy_init();
    if (easy_ == nullptr) return false;
    setOptions();
  }
  multi_ = curl_multi_init();
  return multi_ != nullptr;
}

void HttpTransport::setOptions() {
  for (const std::string& line : header_lines_) {
    if (curl_slist* const list = curl_slist_append(header_list_, line.c_str())) header_list_ = list;
  }
  const auto set = [this](CURLoption option, auto value) {
    curl_easy_setopt(easy_, option, value);
  };
  set(CURLOPT_URL, url_.c_str());
  set(CURLOPT_PROTOCOLS_STR, "http,https");
  set(CURLOPT_POST, 1L);
  set(CURLOPT_HTTPHEADER, header_list_);
  set(CURLOPT_NOSIGNAL, 1L);
  // A name that nobody resolves must not hold up whoever gave up on it.
  set(CURLOPT_QUICK_EXIT, 1L);
  set(CURLOPT_OPENSOCKETFUNCTION, &openSocket);
  set(CURLOPT_WRITEFUNCTION, &keepAnswer);
  set(CURLOPT_WRITEDATA, &received_);
  if (!certificate_file_.empty()) set(CURLOPT_CAINFO, certificate_file_.c_str());
  if (!client_certificate_file_.empty()) set(CURLOPT_SSLCERT, client_certificate_file_.c_str());
  if (!client_key_file_.empty()) set(CURLOPT_SSLKEY, client_key_file_.c_str());
}

Exchange HttpTransport::exchange(const std::string& body, const Limit& limit) {
  if (!prepare()) throw std::bad_alloc();
  if (needs_tls_ && isTlsGone()) {
    Exchange impossible;
    impossible.end = Exchange::End::IMPOSSIBLE;
    impossible.problem = "TLS has been shut down by the process";
    return impossible;
  }
  received_.clear();
  curl_easy_setopt(easy_, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  curl_easy_setopt(easy_, CURLOPT_POSTFIELDS, body.c_str());
  curl_multi_add_handle(multi_, easy_);
  CURLcode result = CURLE_OK;
  if (!perform(limit, result)) result = CURLE_OPERATION_TIMEDOUT;
  // Before the handle is removed, which ends what is still under way.
  Exchange exchange = describe(result);
  curl_multi_remove_handle(multi_, easy_);
  return exchange;
}

/// False if the limit came first.
bool HttpTransport::perform(const Limit& limit, CURLcode& result) {
  constexpr std::chrono::milliseconds kLongestPoll{1'000};
  for (;;) {
    int running = 0;
    curl_multi_perform(multi_, &running);
    int left = 0;
    if (const CURLMsg* const message = curl_multi_info_read(multi_, &left)) {
      result = message->data.result;
      return true;
    }
    const auto rest =
        std::chrono::ceil<std::chrono::milliseconds>(std::min<std::chrono::steady_clock::duration>(
            limit() - std::chrono::steady_clock::now(), kLongestPoll));
    if (rest <= std::chrono::milliseconds::zero()) return false;
    curl_multi_poll(multi_, nullptr, 0, static_cast<int>(rest.count()), nullptr);
  }
}

Exchange HttpTransport::describe(CURLcode result) {
  Exchange exchange;
  exchange.body = received_;
  curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &exchange.status);
  curl_off_t retry_after = 0;
  curl_easy_getinfo(easy_, CURLINFO_RETRY_AFTER, &retry_after);
  if (retry_after > 0) exchange.retry_after = std::chrono::seconds(retry_after);
  if (result == CURLE_OK) {
    exchange.end = Exchange::End::COMPLETE;
  } else {
    exchange.end = mayPass(result) ? Exchange::End::BROKEN : Exchange::End::IMPOSSIBLE;
    exchange.problem = curl_easy_strerror(result);
  }
  return exchange;
}

}  // namespace TAMSA::otlp
