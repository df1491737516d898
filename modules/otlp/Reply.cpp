#include "Reply.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string_view>

namespace TAMSA::otlp {

namespace {

using nlohmann::json;

constexpr long kTooManyRequests = 429;
constexpr long kBadGateway = 502;
constexpr long kUnavailable = 503;
constexpr long kGatewayTimeout = 504;

/// Not one of those that only announce an answer.
bool isFinal(long status) {
  constexpr long kFirst = 200;
  return status >= kFirst;
}

bool isSuccess(long status) {
  constexpr long kHundred = 100;
  return status / kHundred == 2;
}

bool isRetryable(long status) {
  return status == kTooManyRequests || status == kBadGateway || status == kUnavailable ||
         status == kGatewayTimeout;
}

void mask(std::string& text, std::string_view secret) {
  // What is shorter is no secret, and would be found everywhere.
  constexpr size_t kShortest = 4;
  if (secret.size() < kShortest) return;
  for (size_t at = text.find(secret); at != std::string::npos; at = text.find(secret, at)) {
    text.replace(at, secret.size(), "***");
  }
}

/// A text from the other side, made fit for a line of the log.
std::string quote(std::string text, const std::vector<std::string>& secrets) {
  constexpr size_t kLongest = 200;
  constexpr unsigned char kFirstPrintable = ' ';
  for (const std::string_view secret : secrets) {
    for (size_t begin = 0; begin < secret.size();) {
      const size_t end = std::min(secret.find(' ', begin), secret.size());
      mask(text, secret.substr(begin, end - begin));
      begin = end + 1;
    }
  }
  if (text.size() > kLongest) text.resize(kLongest);
  std::replace_if(
      text.begin(), text.end(),
      [](char c) { return static_cast<unsigned char>(c) < kFirstPrintable; }, ' ');
  return text;
}

const json* findMember(const json& object, const char* name) {
  const auto member = object.find(name);
  return member != object.end() ? &*member : nullptr;
}

std::string textMember(const json& object, const char* name) {
  const json* const member = findMember(object, name);
  return member != nullptr && member->is_string() ? member->get<std::string>() : "";
}

/// The encoding writes 64-bit integers as texts; a number is understood as well.
uint64_t countMember(const json& object, const char* name) {
  const json* const member = findMember(object, name);
  if (member == nullptr) return 0;
  if (member->is_number_unsigned()) return member->get<uint64_t>();
  if (!member->is_string()) return 0;
  const json number = json::parse(member->get<std::string>(), nullptr, false);
  return number.is_number_unsigned() ? number.get<uint64_t>() : 0;
}

Reply delivered(const Exchange& exchange, const std::vector<std::string>& secrets) {
  Reply reply;
  reply.verdict = Reply::Verdict::DELIVERED;
  const json body = json::parse(exchange.body, nullptr, false);
  const json* const partial = body.is_object() ? findMember(body, "partialSuccess") : nullptr;
  if (partial == nullptr || !partial->is_object()) return reply;
  reply.rejected = countMember(*partial, "rejectedLogRecords");
  reply.reason = quote(textMember(*partial, "errorMessage"), secrets);
  return reply;
}

/// What the collector says about its refusal.
std::string message(const Exchange& exchange, const std::vector<std::string>& secrets) {
  const json body = json::parse(exchange.body, nullptr, false);
  if (!body.is_object()) return {};
  const std::string text = quote(textMember(body, "message"), secrets);
  return text.empty() ? text : " (" + text + ")";
}

}  // namespace

Reply judge(const Exchange& exchange, const std::vector<std::string>& secrets) {
  // The status is what counts: once it says that the events were taken, sending them again because
  // the rest of the answer is missing would make them come twice.
  if (isSuccess(exchange.status)) return delivered(exchange, secrets);

  Reply reply;
  reply.retry_after = exchange.retry_after;
  if (isFinal(exchange.status)) {
    reply.verdict =
        isRetryable(exchange.status) ? Reply::Verdict::TRY_AGAIN : Reply::Verdict::REFUSED;
    reply.reason = "HTTP status " + std::to_string(exchange.status) + message(exchange, secrets);
    return reply;
  }
  reply.verdict = exchange.end == Exchange::End::IMPOSSIBLE ? Reply::Verdict::REFUSED
                                                            : Reply::Verdict::TRY_AGAIN;
  reply.reason = exchange.problem;
  return reply;
}

}  // namespace TAMSA::otlp
