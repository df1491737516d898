#include "modules/otlp/Reply.h"

#include <algorithm>
#include <string_view>

#include "modules/otlp/ReplyBody.h"
#include "modules/otlp/Utf8.h"

namespace TAMSA::otlp {

namespace {

using Verdict = Reply::Verdict;

constexpr long kTooLarge = 413;
constexpr long kTooManyRequests = 429;
constexpr long kBadGateway = 502;
constexpr long kUnavailable = 503;
constexpr long kGatewayTimeout = 504;

/// Statuses below 200 only announce an answer.
bool isFinal(long status) {
  constexpr long kFirst = 200;
  return status >= kFirst;
}

bool isSuccess(long status) {
  constexpr long kHundred = 100;
  return status / kHundred == 2;
}

Verdict verdictOf(long status) {
  switch (status) {
    case kTooLarge:
      return Verdict::TOO_LARGE;
    case kTooManyRequests:
    case kBadGateway:
    case kUnavailable:
    case kGatewayTimeout:
      return Verdict::RETRYABLE;
    default:
      return Verdict::REFUSED;
  }
}

void mask(std::string& text, std::string_view secret) {
  // Shorter words are not secret, and would be found everywhere.
  constexpr size_t kShortest = 4;
  if (secret.size() < kShortest) return;
  for (size_t at = text.find(secret); at != std::string::npos; at = text.find(secret, at)) {
    text.replace(at, secret.size(), "***");
  }
}

/// Makes a text from the collector fit for a line of the log.
std::string quote(std::string text, const std::vector<std::string>& secrets) {
  constexpr size_t kLongest = 200;
  constexpr unsigned char kFirstPrintable = ' ';
  constexpr unsigned char kDelete = 0x7f;
  for (const std::string_view secret : secrets) {
    for (size_t begin = 0; begin < secret.size();) {
      const size_t end = std::min(secret.find(' ', begin), secret.size());
      mask(text, secret.substr(begin, end - begin));
      begin = end + 1;
    }
  }
  std::replace_if(
      text.begin(), text.end(),
      [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < kFirstPrintable || byte == kDelete;
      },
      ' ');
  return shorten(toUtf8(std::move(text)), kLongest);
}

Reply delivered(const Exchange& exchange, const std::vector<std::string>& secrets) {
  const PartialSuccess partial = parsePartialSuccess(exchange.content_type, exchange.body);
  Reply reply;
  reply.verdict = Verdict::DELIVERED;
  reply.is_answer = true;
  reply.rejected = partial.rejected;
  reply.detail = quote(partial.message, secrets);
  if (partial.rejected > 0) {
    reply.cause = "rejected by the collector";
  } else if (!reply.detail.empty()) {
    reply.cause = "advice of the collector";
  }
  return reply;
}

}  // namespace

std::string Reply::reason() const { return detail.empty() ? cause : cause + " (" + detail + ")"; }

Reply judge(const Exchange& exchange, const std::vector<std::string>& secrets) {
  // The status counts even if the rest of the answer is missing: sending again what was taken would
  // deliver it twice.
  if (isSuccess(exchange.status)) return delivered(exchange, secrets);

  Reply reply;
  reply.retry_after = exchange.retry_after;
  if (isFinal(exchange.status)) {
    reply.verdict = verdictOf(exchange.status);
    reply.is_answer = true;
    reply.cause = "HTTP status " + std::to_string(exchange.status);
    reply.detail = quote(parseError(exchange.content_type, exchange.body), secrets);
    return reply;
  }
  reply.verdict = exchange.end == Exchange::End::PERMANENT ? Verdict::REFUSED : Verdict::RETRYABLE;
  reply.cause = exchange.problem.empty() ? "no HTTP response" : exchange.problem;
  return reply;
}

}  // namespace TAMSA::otlp
