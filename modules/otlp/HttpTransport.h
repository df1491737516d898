/// Sends requests by libcurl.
#pragma once

#include <curl/curl.h>

#include <atomic>
#include <string>
#include <vector>

#include "OtlpConfig.h"
#include "Transport.h"

namespace TAMSA::otlp {

/// Certificates are checked by libcurl's defaults; nothing here can switch that off. Never torn
/// down, because it may be needed after all static destructors have run.
class HttpTransport final : public Transport {
 public:
  /// Does no more than copy, so it may be called where nothing may take long.
  explicit HttpTransport(const OtlpConfig& config);
  ~HttpTransport() = default;

  HttpTransport(const HttpTransport&) = delete;
  HttpTransport& operator=(const HttpTransport&) = delete;

  /// By one thread only.
  Reply send(const std::string& body, const Limit& limit) override;

  /// Has a `send` that is under way ask for its limit again. Any thread may call it.
  void wake();

 private:
  bool prepare();
  void setOptions();
  Exchange exchange(const std::string& body, const Limit& limit);
  bool perform(const Limit& limit, CURLcode& result);
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
