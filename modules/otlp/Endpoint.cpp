#include "modules/otlp/Endpoint.h"

#include <curl/curl.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <string_view>

namespace TAMSA::otlp {

namespace {

constexpr char kSchemeEnd[] = "://";

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

std::string trim(const std::string& text) {
  constexpr char kBlanks[] = " \t\r\n";
  const size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

/// User and host of a URL without scheme.
std::string_view authorityOf(std::string_view text) {
  return text.substr(0, text.find_first_of("/?#"));
}

/// True for "host" and "host:port". Other texts with a colon are URLs of other schemes, or
/// mistyped.
bool isHostAndPort(std::string_view text) {
  const size_t user_end = text.rfind('@');
  if (user_end != std::string_view::npos) text.remove_prefix(user_end + 1);
  const size_t address_end = text.rfind(']');
  const size_t colon = text.find(':', address_end != std::string_view::npos ? address_end : 0);
  if (colon == std::string_view::npos) return !text.empty();
  const std::string_view port = text.substr(colon + 1);
  return colon > 0 && !port.empty() && std::all_of(port.begin(), port.end(), [](char c) {
           return std::isdigit(static_cast<unsigned char>(c)) != 0;
         });
}

std::optional<Url> parse(const std::string& endpoint) {
  std::string text = trim(endpoint);
  if (text.find(kSchemeEnd) == std::string::npos) {
    if (!isHostAndPort(authorityOf(text))) return std::nullopt;
    text.insert(0, "http://");
  }
  Url url(text);
  if (!url.isHttp()) return std::nullopt;
  return url;
}

}  // namespace

std::optional<std::string> urlForLogs(const std::string& endpoint) {
  const auto url = parse(endpoint);
  if (!url) return std::nullopt;
  return url->part(CURLUPART_URL);
}

std::optional<std::string> urlBelow(const std::string& endpoint) {
  auto url = parse(endpoint);
  if (!url) return std::nullopt;
  std::string path = url->part(CURLUPART_PATH);
  if (path.empty() || path.back() != '/') path += '/';
  path += "v1/logs";
  url->set(CURLUPART_PATH, path.c_str());
  return url->part(CURLUPART_URL);
}

std::string withoutSecrets(const std::string& url) {
  const size_t scheme_end = url.find(kSchemeEnd);
  const size_t begin =
      scheme_end != std::string::npos ? scheme_end + std::string_view(kSchemeEnd).size() : 0;
  std::string text = url.substr(0, url.find_first_of("?#"));
  const std::string_view shown = text;
  const size_t authority = authorityOf(shown.substr(begin)).size();
  const size_t user_end = text.rfind('@', begin + authority);
  if (user_end != std::string::npos && user_end >= begin) text.erase(begin, user_end + 1 - begin);
  return text;
}

}  // namespace TAMSA::otlp
