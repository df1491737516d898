// The meaning of answers by the rules of the protocol.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <protozero/pbf_writer.hpp>

#include "modules/otlp/Reply.h"

namespace TAMSA::otlp {
namespace {

using testing::HasSubstr;
using testing::Not;
using Verdict = Reply::Verdict;

constexpr char kJson[] = "application/json";
constexpr char kProtobuf[] = "application/x-protobuf";

Exchange answer(long status, const std::string& body = "", const char* content_type = kJson) {
  Exchange exchange;
  exchange.content_type = content_type;
  exchange.end = Exchange::End::COMPLETE;
  exchange.status = status;
  exchange.body = body;
  return exchange;
}

Exchange noAnswer(Exchange::End end) {
  Exchange exchange;
  exchange.end = end;
  exchange.problem = "the problem";
  return exchange;
}

/// A protobuf message with a number and a text. Both the answer with a partial success and the
/// status of an error have such messages.
std::string message(uint32_t number_field, int64_t number, uint32_t text_field,
                    const std::string& text) {
  std::string encoded;
  protozero::pbf_writer writer(encoded);
  writer.add_int64(number_field, number);
  writer.add_string(text_field, text);
  return encoded;
}

std::string partialSuccess(int64_t rejected, const std::string& text) {
  std::string encoded;
  protozero::pbf_writer(encoded).add_message(1, message(1, rejected, 2, text));
  return encoded;
}

TEST(Reply, OfSuccessIsDelivery) {
  for (const char* type : {kJson, kProtobuf, "", "text/plain"}) {
    for (const char* body :
         {"", "{}", R"({"partialSuccess":{}})", R"({"partialSuccess":null})", "[1]", "no JSON",
          R"({"partialSuccess":{"rejectedLogRecords":"x"}})", "\x0A", "\x0A\x7F",
          "\x0A\x02\x08\xFF", "\x0A\x02\x10\x01", "\x08\x01"}) {
      const Reply reply = judge(answer(200, body, type), {});
      EXPECT_EQ(reply.verdict, Verdict::DELIVERED) << body;
      EXPECT_EQ(reply.rejected, 0U) << body;
      EXPECT_EQ(reply.reason(), "") << body;
    }
  }
}

TEST(Reply, OfPartialSuccessSaysHowManyWereRejectedAndWhy) {
  for (const char* count : {"\"5\"", "5"}) {
    const Reply reply =
        judge(answer(200, std::string(R"({"partialSuccess":{"rejectedLogRecords":)") + count +
                              R"(,"errorMessage":"too old"}})"),
              {});
    EXPECT_EQ(reply.verdict, Verdict::DELIVERED);
    EXPECT_EQ(reply.rejected, 5U);
    EXPECT_EQ(reply.reason(), "rejected by the collector (too old)");
  }
}

TEST(Reply, IsReadInTheEncodingThatItHas) {
  for (const char* type : {kProtobuf, "Application/X-Protobuf; charset=x"}) {
    const Reply reply = judge(answer(200, partialSuccess(5, "too old"), type), {});
    EXPECT_EQ(reply.verdict, Verdict::DELIVERED);
    EXPECT_EQ(reply.rejected, 5U);
    EXPECT_EQ(reply.reason(), "rejected by the collector (too old)");
  }
  EXPECT_EQ(judge(answer(200, R"({"partialSuccess":{"rejectedLogRecords":"5"}})",
                         "application/json; charset=utf-8"),
                  {})
                .rejected,
            5U);
}

TEST(Reply, RejectsNothingIfItsNumberIsNegative) {
  EXPECT_EQ(judge(answer(200, partialSuccess(-1, ""), kProtobuf), {}).rejected, 0U);
}

TEST(Reply, OfSuccessMayHaveAdvice) {
  const Reply reply = judge(answer(200, partialSuccess(0, "slow down"), kProtobuf), {});
  EXPECT_EQ(reply.rejected, 0U);
  EXPECT_EQ(reply.detail, "slow down");
}

TEST(Reply, IsRetryableIfTheProtocolSaysSo) {
  for (const long status : {429, 502, 503, 504}) {
    EXPECT_EQ(judge(answer(status), {}).verdict, Verdict::RETRYABLE) << status;
  }
}

TEST(Reply, OfAStatusThatIsNotRetryableIsARefusal) {
  for (const long status : {301, 307, 400, 401, 403, 404, 408, 500, 501, 505, 999}) {
    EXPECT_EQ(judge(answer(status), {}).verdict, Verdict::REFUSED) << status;
  }
}

TEST(Reply, SaysThatARequestIsTooLarge) {
  EXPECT_EQ(judge(answer(413), {}).verdict, Verdict::TOO_LARGE);
}

TEST(Reply, PassesOnTheDelayThatIsAskedFor) {
  Exchange exchange = answer(503);
  exchange.retry_after = std::chrono::seconds(7);
  EXPECT_EQ(judge(exchange, {}).retry_after, std::chrono::seconds(7));
}

TEST(Reply, OfABrokenConnectionIsRetryable) {
  const Reply reply = judge(noAnswer(Exchange::End::RETRYABLE), {});
  EXPECT_EQ(reply.verdict, Verdict::RETRYABLE);
  EXPECT_EQ(reply.reason(), "the problem");
}

TEST(Reply, OfAPermanentFailureIsARefusal) {
  EXPECT_EQ(judge(noAnswer(Exchange::End::PERMANENT), {}).verdict, Verdict::REFUSED);
}

TEST(Reply, WithoutAStatusIsRetryableAndHasAReason) {
  const Reply reply = judge(answer(0), {});
  EXPECT_EQ(reply.verdict, Verdict::RETRYABLE);
  EXPECT_EQ(reply.reason(), "no HTTP response");
}

TEST(Reply, ThatBreaksAfterTheStatusCountsByTheStatus) {
  for (const auto& [status, verdict] :
       {std::pair(200L, Verdict::DELIVERED), std::pair(400L, Verdict::REFUSED),
        std::pair(503L, Verdict::RETRYABLE)}) {
    Exchange exchange = noAnswer(Exchange::End::RETRYABLE);
    exchange.status = status;
    EXPECT_EQ(judge(exchange, {}).verdict, verdict) << status;
  }
}

TEST(Reply, ThatBreaksAfterAnAnnouncementIsRetryable) {
  Exchange exchange = noAnswer(Exchange::End::RETRYABLE);
  exchange.status = 100;
  EXPECT_EQ(judge(exchange, {}).verdict, Verdict::RETRYABLE);
}

TEST(ReplyReason, NamesTheStatusAndWhatTheCollectorSays) {
  EXPECT_EQ(judge(answer(400, R"({"code":3,"message":"bad\nrecord"})"), {}).reason(),
            "HTTP status 400 (bad record)");
  EXPECT_EQ(judge(answer(400, message(1, 3, 2, "bad\nrecord"), kProtobuf), {}).reason(),
            "HTTP status 400 (bad record)");
  EXPECT_EQ(judge(answer(404, "404 page not found\n", "text/plain; charset=utf-8"), {}).reason(),
            "HTTP status 404 (404 page not found )");
  EXPECT_EQ(judge(answer(400, "<html>", "text/html"), {}).reason(), "HTTP status 400");
  EXPECT_EQ(judge(answer(400, "\x12\x7f", kProtobuf), {}).reason(), "HTTP status 400");
}

TEST(ReplyReason, IsAlwaysUtf8) {
  EXPECT_EQ(judge(answer(400, "a\xff", "text/plain"), {}).detail, "a\uFFFD");
}

TEST(ReplyReason, NeverRepeatsASecret) {
  const Reply reply =
      judge(answer(401, R"({"message":"no such key: c2VjcmV0, nor Basic c2VjcmV0"})"),
            {"Basic c2VjcmV0"});
  EXPECT_THAT(reply.reason(), Not(HasSubstr("c2VjcmV0")));
  EXPECT_THAT(reply.reason(), HasSubstr("no such key: ***"));
}

TEST(ReplyReason, IsCutShort) {
  EXPECT_LT(
      judge(answer(400, R"({"message":")" + std::string(5'000, 'x') + "\"}"), {}).reason().size(),
      300U);
}

}  // namespace
}  // namespace TAMSA::otlp
