/// Sends requests with libcurl.
#pragma once

#include <curl/curl.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "modules/otlp/OtlpConfig.h"
#include "modules/otlp/Reply.h"

namespace TAMSA::otlp {

/// Returns when a request must have ended. Called repeatedly, because that may change.
using Deadline = std::function<std::chrono::steady_clock::time_point()>;

/// Certificates are checked by libcurl's defaults; nothing here can switch that off. Releases
/// nothing, because it may be needed after all static destructors have run.
class HttpTransport final {
 public:
  /// Only copies; libcurl is initialized by the first request. `content_type` is that of all
  /// requests.
  HttpTransport(const OtlpConfig& config, const std::string& content_type);
  ~HttpTransport() = default;

  HttpTransport(const HttpTransport&) = delete;
  HttpTransport& operator=(const HttpTransport&) = delete;

  /// Sends one request and waits for the answer, until the deadline at most. Used by one thread.
  /// Throws only if memory is short.
  Reply send(const std::string& body, const Deadline& deadline);

  /// Makes a `send` that is under way ask for its deadline again. Any thread may call it.
  void wake();

 private:
  bool prepare();
  void setOptions();
  Exchange exchange(const std::string& body, const Deadline& deadline);
  bool perform(const Deadline& deadline, CURLcode& result);
  Exchange describe(CURLcode result);

  const std::string url_;
  const bool needs_tls_;
  const std::string certificate_file_;
  const std::string client_certificate_file_;
  const std::string client_key_file_;
  const bool gzip_;
  const std::vector<std::string> header_lines_;
  const std::vector<std::string> secrets_;

  std::atomic<CURLM*> multi_{nullptr};
  CURL* easy_ = nullptr;
  curl_slist* header_list_ = nullptr;
  std::string received_;
};

}  // namespace TAMSA::otlp
