#include "Endpoint.h"

#include <curl/curl.h>

#include <memory>
#include <string_view>

namespace TAMSA::otlp {

namespace {

class Url {
 public:
  explicit Url(const std::string& text) {
    is_valid_ = handle_ && curl_url_set(handle_.get(), CURLUPART_URL, text.c_str(), 0) == CURLUE_OK;
  }

  bool isHttp() const {
    if (!is_valid_) return false;
    const std::string scheme = part(CURLUPART_SCHEME);
    return scheme == "http" || scheme == "https";
  }

  std::string part(CURLUPart which) const {
    char* text = nullptr;
    if (curl_url_get(handle_.get(), which, &text, 0) != CURLUE_OK) return {};
    std::string copy = text;
    curl_free(text);
    return copy;
  }

  void set(CURLUPart which, const char* text) { curl_url_set(handle_.get(), which, text, 0); }

 private:
  struct Cleanup {
    void operator()(CURLU* handle) const { curl_url_cleanup(handle); }
  };

  std::unique_ptr<CURLU, Cleanup> handle_{curl_url()};
  bool is_valid_ = false;
};

}  // namespace

std::optional<std::string> urlForLogs(const std::string& url) {
  const Url parsed(url);
  if (!parsed.isHttp()) return std::nullopt;
  return parsed.part(CURLUPART_URL);
}

std::optional<std::string> urlBelow(const std::string& base) {
  Url parsed(base);
  if (!parsed.isHttp()) return std::nullopt;
  std::string path = parsed.part(CURLUPART_PATH);
  if (path.empty() || path.back() != '/') path += '/';
  path += "v1/logs";
  parsed.set(CURLUPART_PATH, path.c_str());
  return parsed.part(CURLUPART_URL);
}

std::string withoutSecrets(const std::string& url) {
  Url parsed(url);
  for (const CURLUPart part : {CURLUPART_USER, CURLUPART_PASSWORD, CURLUPART_OPTIONS,
                               CURLUPART_QUERY, CURLUPART_FRAGMENT}) {
    parsed.set(part, nullptr);
  }
  return parsed.part(CURLUPART_URL);
}

}  // namespace TAMSA::otlp
