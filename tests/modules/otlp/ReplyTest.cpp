// What answers mean, by the rules of the protocol.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Reply.h"

namespace TAMSA::otlp {
namespace {

using testing::HasSubstr;
using testing::Not;
using Verdict = Reply::Verdict;

Exchange answer(long status, const std::string& body = "") {
  Exchange exchange;
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

TEST(Reply, OfSuccessIsDelivery) {
  for (const char* body : {"", "{}", R"({"partialSuccess":{}})", R"({"partialSuccess":null})",
                           "[1]", "no JSON", R"({"partialSuccess":{"rejectedLogRecords":"x"}})"}) {
    const Reply reply = judge(answer(200, body), {});
    EXPECT_EQ(reply.verdict, Verdict::DELIVERED) << body;
    EXPECT_EQ(reply.rejected, 0U) << body;
    EXPECT_EQ(reply.reason, "") << body;
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
    EXPECT_EQ(reply.reason, "too old");
  }
}

TEST(Reply, IsToTryAgainWhereTheProtocolSaysSo) {
  for (const long status : {429, 502, 503, 504}) {
    EXPECT_EQ(judge(answer(status), {}).verdict, Verdict::TRY_AGAIN) << status;
  }
}

TEST(Reply, OfAnyOtherStatusIsARefusal) {
  for (const long status : {301, 307, 400, 401, 403, 404, 408, 413, 500, 501, 505}) {
    EXPECT_EQ(judge(answer(status), {}).verdict, Verdict::REFUSED) << status;
  }
}

TEST(Reply, HandsOnHowLongToWait) {
  Exchange exchange = answer(503);
  exchange.retry_after = std::chrono::seconds(7);
  EXPECT_EQ(judge(exchange, {}).retry_after, std::chrono::seconds(7));
}

TEST(Reply, OfABrokenConnectionIsToTryAgain) {
  const Reply reply = judge(noAnswer(Exchange::End::BROKEN), {});
  EXPECT_EQ(reply.verdict, Verdict::TRY_AGAIN);
  EXPECT_EQ(reply.reason, "the problem");
}

TEST(Reply, OfAConnectionThatCannotBeIsARefusal) {
  EXPECT_EQ(judge(noAnswer(Exchange::End::IMPOSSIBLE), {}).verdict, Verdict::REFUSED);
}

TEST(Reply, ThatBreaksAfterTheStatusCountsByTheStatus) {
  for (const auto& [status, verdict] :
       {std::pair(200L, Verdict::DELIVERED), std::pair(400L, Verdict::REFUSED),
        std::pair(503L, Verdict::TRY_AGAIN)}) {
    Exchange exchange = noAnswer(Exchange::End::BROKEN);
    exchange.status = status;
    EXPECT_EQ(judge(exchange, {}).verdict, verdict) << status;
  }
}

TEST(Reply, ThatBreaksAfterAnAnnouncementIsToTryAgain) {
  Exchange exchange = noAnswer(Exchange::End::BROKEN);
  exchange.status = 100;
  EXPECT_EQ(judge(exchange, {}).verdict, Verdict::TRY_AGAIN);
}

TEST(ReplyReason, NamesTheStatusAndWhatTheCollectorSays) {
  EXPECT_EQ(judge(answer(400, R"({"code":3,"message":"bad\nrecord"})"), {}).reason,
            "HTTP status 400 (bad record)");
  EXPECT_EQ(judge(answer(400, "<html>"), {}).reason, "HTTP status 400");
}

TEST(ReplyReason, NeverRepeatsASecret) {
  const Reply reply =
      judge(answer(401, R"({"message":"no such key: c2VjcmV0, nor Basic c2VjcmV0"})"),
            {"Basic c2VjcmV0"});
  EXPECT_THAT(reply.reason, Not(HasSubstr("c2VjcmV0")));
  EXPECT_THAT(reply.reason, HasSubstr("no such key: ***"));
}

TEST(ReplyReason, IsCutShort) {
  EXPECT_LT(
      judge(answer(400, R"({"message":")" + std::string(5'000, 'x') + "\"}"), {}).reason.size(),
      300U);
}

}  // namespace
}  // namespace TAMSA::otlp
