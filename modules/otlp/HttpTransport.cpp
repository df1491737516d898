#include "modules/otlp/HttpTransport.h"

#include <strings.h>
#include <sys/socket.h>

#include <algorithm>
#include <new>
#include <optional>

#include "modules/otlp/Gzip.h"

// A function of OpenSSL if libcurl is linked with it; null otherwise.
extern "C" __attribute__((weak)) int OPENSSL_init_crypto(uint64_t options, const void* settings);

namespace TAMSA::otlp {

namespace {

/// The rest of a longer answer is discarded.
constexpr size_t kLongestAnswer = 65'536;

/// Without this, which must come before its first use, OpenSSL shuts itself down in an exit
/// handler, before the last events are sent.
void keepTlsUntilProcessEnds() {
  constexpr uint64_t kNoExitHandler = 0x00080000;  // OPENSSL_INIT_NO_ATEXIT
  if (OPENSSL_init_crypto != nullptr) OPENSSL_init_crypto(kNoExitHandler, nullptr);
}

/// If the program used OpenSSL first, it may be shut down nevertheless, and must not be used then.
bool isTlsShutDown() {
  return OPENSSL_init_crypto != nullptr && OPENSSL_init_crypto(0, nullptr) == 0;
}

std::vector<std::string> makeHeaderLines(const OtlpConfig& config,
                                         const std::string& content_type) {
  std::vector<std::string> lines = {"Content-Type: " + content_type,
                                    // Disables "Expect: 100-continue", which costs a round trip.
                                    "Expect:"};
  if (config.gzip) lines.emplace_back("Content-Encoding: gzip");
  bool has_user_agent = false;
  for (const auto& [name, value] : config.headers) {
    has_user_agent = has_user_agent || strcasecmp(name.c_str(), "User-Agent") == 0;
    // libcurl leaves out a header that has a colon and no value.
    std::string line = name;
    line += value.empty() ? ";" : ": ";
    lines.push_back(line += value);
  }
  if (!has_user_agent) lines.emplace_back("User-Agent: libkivtelemetry-otlp/" KIV_VERSION);
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

/// Like libcurl's own, but the socket is closed in programs that the process starts.
curl_socket_t openSocket(void* /*context*/, curlsocktype /*purpose*/, curl_sockaddr* address) {
  return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

/// True if the same request may succeed later. An answer that is not HTTP/1 may: something else may
/// listen at the port while the collector restarts.
bool isRetryable(CURLcode problem) {
  switch (problem) {
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

HttpTransport::HttpTransport(const OtlpConfig& config, const std::string& content_type)
    : url_(config.url),
      needs_tls_(config.url.rfind("https:", 0) == 0),
      certificate_file_(config.certificate_file),
      client_certificate_file_(config.client_certificate_file),
      client_key_file_(config.client_key_file),
      gzip_(config.gzip),
      header_lines_(makeHeaderLines(config, content_type)),
      secrets_(secretsOf(config)) {}

Reply HttpTransport::send(const std::string& body, const Deadline& deadline) {
  if (!gzip_) return judge(exchange(body, deadline), secrets_);
  const auto packed = gzip(body);
  if (!packed) throw std::bad_alloc();
  return judge(exchange(*packed, deadline), secrets_);
}

void HttpTransport::wake() {
  if (CURLM* const multi = multi_) curl_multi_wakeup(multi);
}

bool HttpTransport::prepare() {
  if (multi_ != nullptr) return true;
  if (easy_ == nullptr) {
    keepTlsUntilProcessEnds();
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
  // A request that is given up must not wait for the resolution of a name.
  set(CURLOPT_QUICK_EXIT, 1L);
  set(CURLOPT_OPENSOCKETFUNCTION, &openSocket);
  set(CURLOPT_WRITEFUNCTION, &keepAnswer);
  set(CURLOPT_WRITEDATA, &received_);
  if (!certificate_file_.empty()) set(CURLOPT_CAINFO, certificate_file_.c_str());
  if (!client_certificate_file_.empty()) set(CURLOPT_SSLCERT, client_certificate_file_.c_str());
  if (!client_key_file_.empty()) set(CURLOPT_SSLKEY, client_key_file_.c_str());
}

Exchange HttpTransport::exchange(const std::string& body, const Deadline& deadline) {
  if (!prepare()) throw std::bad_alloc();
  if (needs_tls_ && isTlsShutDown()) {
    Exchange failed;
    failed.end = Exchange::End::PERMANENT;
    failed.problem = "TLS has been shut down by the process";
    return failed;
  }
  received_.clear();
  curl_easy_setopt(easy_, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
  curl_easy_setopt(easy_, CURLOPT_POSTFIELDS, body.c_str());
  curl_multi_add_handle(multi_, easy_);
  CURLcode result = CURLE_OK;
  if (!perform(deadline, result)) result = CURLE_OPERATION_TIMEDOUT;
  // Before the handle is removed, which ends an exchange that is still under way.
  Exchange exchange = describe(result);
  curl_multi_remove_handle(multi_, easy_);
  return exchange;
}

/// False if the deadline came first.
bool HttpTransport::perform(const Deadline& deadline, CURLcode& result) {
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
            deadline() - std::chrono::steady_clock::now(), kLongestPoll));
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
  const char* content_type = nullptr;
  curl_easy_getinfo(easy_, CURLINFO_CONTENT_TYPE, &content_type);
  if (content_type != nullptr) exchange.content_type = content_type;
  if (retry_after > 0) exchange.retry_after = std::chrono::seconds(retry_after);
  if (result == CURLE_OK) {
    exchange.end = Exchange::End::COMPLETE;
  } else {
    exchange.end = isRetryable(result) ? Exchange::End::RETRYABLE : Exchange::End::PERMANENT;
    // libcurl's text for this is about the URL, whose scheme has been checked.
    exchange.problem = result == CURLE_UNSUPPORTED_PROTOCOL ? "the answer is not HTTP/1"
                                                            : curl_easy_strerror(result);
  }
  return exchange;
}

}  // namespace TAMSA::otlp
