// Losses when the collector fails, in both encodings. Every test prints its figures.
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdio>
#include <protozero/pbf_writer.hpp>

#include "tests/modules/otlp/OtlpTest.h"

namespace kiv_test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;
using testing::SizeIs;
using Then = Reaction::Then;

constexpr char kJson[] = "http/json";
constexpr char kProtobuf[] = "http/protobuf";

class OtlpFaults : public OtlpTest, public testing::WithParamInterface<const char*> {
 protected:
  OtlpFaults() { setenv("OTEL_EXPORTER_OTLP_PROTOCOL", GetParam(), 1); }
  ~OtlpFaults() override { unsetenv("OTEL_EXPORTER_OTLP_PROTOCOL"); }

  static bool isJson() { return GetParam() == std::string(kJson); }

  /// `received` counts events with their repetitions.
  static void print(const std::string& fault, int reported, const ProgramResult& result,
                    FaultServer& server) {
    const auto requests = server.requests();
    const auto all = numbers(requests);
    const std::set<int> distinct(all.begin(), all.end());
    const auto lines = std::count(result.err.begin(), result.err.end(), '\n');
    std::printf("FIGURES | %s | %s | %d | %zu | %zu | %zu | %d | %td |\n", fault.c_str(),
                GetParam(), reported, requests.size(), all.size(), distinct.size(), lost(result),
                lines);
    // A program that is run next would start with a copy of the buffer.
    std::fflush(stdout);
  }

  /// The number of events in each request.
  static std::vector<size_t> sizes(const std::vector<HttpRequest>& requests) {
    std::vector<size_t> sizes;
    for (const HttpRequest& request : requests) sizes.push_back(records(request).size());
    return sizes;
  }

  /// Makes the first 100 events one batch, however long reporting takes.
  const Environment one_batch_ = {{"OTEL_BLRP_MAX_EXPORT_BATCH_SIZE", "100"},
                                  {"OTEL_BLRP_SCHEDULE_DELAY", "3600000"}};

  /// An answer in the encoding of the requests.
  static Reaction encodedAnswer(int status, const std::string& json, const std::string& protobuf) {
    return isJson() ? answer(status, json) : answer(status, protobuf, "", "application/x-protobuf");
  }

  static Reaction partialSuccess(int rejected, const std::string& message) {
    std::string protobuf;
    {
      protozero::pbf_writer response(protobuf);
      protozero::pbf_writer partial(response, 1);
      partial.add_int64(1, rejected);
      partial.add_string(2, message);
    }
    return encodedAnswer(200,
                         R"({"partialSuccess":{"rejectedLogRecords":")" + std::to_string(rejected) +
                             R"(","errorMessage":")" + message + "\"}}",
                         protobuf);
  }

  static Reaction refusal(int status, const std::string& message) {
    std::string protobuf;
    protozero::pbf_writer(protobuf).add_string(2, message);
    return encodedAnswer(status, R"({"code":3,"message":")" + message + "\"}", protobuf);
  }
};

INSTANTIATE_TEST_SUITE_P(, OtlpFaults, testing::Values(kProtobuf, kJson), [](const auto& protocol) {
  return protocol.param == std::string(kJson) ? "Json" : "Protobuf";
});

TEST_P(OtlpFaults, RefusedConnectionsDoNotDelayTheEndWithoutLimit) {
  FaultServer closed{FaultServer::NotYet()};
  const ProgramResult result = report(closed.url(), 100);
  print("refused connection", 100, result, closed);
  EXPECT_EQ(result.out, "taken 100, refused 0\n");
  EXPECT_EQ(lost(result), 100);
  EXPECT_THAT(result.err, AllOf(HasSubstr("cannot deliver to " + closed.url() + "/v1/logs"),
                                HasSubstr("Couldn't connect to server")));
}

TEST_P(OtlpFaults, AReceiverThatStartsLateGetsEarlierEvents) {
  FaultServer server{FaultServer::NotYet()};
  const std::string trouble = directory_.file("trouble");
  mkfifo(trouble.c_str(), 0600);
  auto reporter = reportMeanwhile(server.url(), 100, "stay", {{"REPORTER_TROUBLE", trouble}});
  // Opens when the first attempt has failed.
  std::ifstream(trouble).get();
  server.listen();
  EXPECT_EQ(numbers(waitForEvents(server, 100)), numbersBelow(100));
  const ProgramResult result = reporter.finish();
  print("receiver starts late", 100, result, server);
  EXPECT_THAT(result.err, HasSubstr("delivering to " + server.url() + "/v1/logs again"));
  EXPECT_EQ(lost(result), 0);
}

TEST_P(OtlpFaults, RetryableStatusesLoseNothing) {
  for (const int status : {429, 502, 503, 504}) {
    FaultServer server({answer(status)});
    const ProgramResult result = reportUntil(server, 2, 100);
    print("status " + std::to_string(status) + ", then 200", 100, result, server);
    const auto requests = server.requests();
    ASSERT_THAT(requests, SizeIs(2)) << status;
    EXPECT_EQ(requests[0].body, requests[1].body) << status;
    EXPECT_EQ(lost(result), 0) << status;
  }
}

TEST_P(OtlpFaults, AnOutageLongerThanAnExportLosesNothing) {
  FaultServer server({answer(503), answer(503)});
  const ProgramResult result = reportUntil(server, 3, 100, {{"OTEL_BLRP_EXPORT_TIMEOUT", "400"}});
  print("503 for longer than an export may take, then 200", 100, result, server);
  EXPECT_EQ(numbers({server.requests().back()}), numbersBelow(100));
  EXPECT_EQ(lost(result), 0);
}

TEST_P(OtlpFaults, ADelayLongerThanAnExportLosesNothing) {
  FaultServer server({answer(429, "{}", "Retry-After: 1\r\n")});
  const ProgramResult result = reportUntil(server, 2, 100, {{"OTEL_BLRP_EXPORT_TIMEOUT", "400"}});
  print("429 with a Retry-After longer than an export may take", 100, result, server);
  EXPECT_THAT(server.requests(), SizeIs(2));
  EXPECT_EQ(lost(result), 0);
}

TEST_P(OtlpFaults, ADelayLongerThanTheEndOfTheProcessIsRespected) {
  FaultServer server({answer(503, "{}", "Retry-After: 60\r\n")});
  const ProgramResult result = report(server.url(), 100);
  print("503 with Retry-After: 60, process ends", 100, result, server);
  EXPECT_THAT(server.requests(), SizeIs(1));
  EXPECT_EQ(lost(result), 100);
}

TEST_P(OtlpFaults, RefusalsAreNotRepeatedButReported) {
  FaultServer server({refusal(400, "no such field")});
  auto reporter = reportMeanwhile(server.url(), 100, "twice", one_batch_);
  server.waitForRequests(1);
  const ProgramResult result = reporter.finish();
  print("400, then 200", 200, result, server);
  const auto requests = server.requests();
  EXPECT_EQ(lost(result), 100);
  EXPECT_THAT(result.err, HasSubstr("HTTP status 400 (no such field)"));
  // The record of the losses takes the place of an event.
  EXPECT_THAT(sizes(requests), ElementsAre(100, 99, 1));
  EXPECT_THAT(reportedLosses(requests), ElementsAre(Pair("HTTP status 400", 100)));
}

TEST_P(OtlpFaults, PartialSuccessesAreReported) {
  FaultServer server({partialSuccess(7, "too old"), partialSuccess(3, "too old")});
  auto reporter = reportMeanwhile(server.url(), 100, "twice", one_batch_);
  server.waitForRequests(1);
  const ProgramResult result = reporter.finish();
  print("partial success, 7 and 3 rejected", 200, result, server);
  EXPECT_EQ(lost(result), 10);
  EXPECT_THAT(result.err, HasSubstr("lost 7 events (7 reports), 7 in all: "
                                    "7: rejected by the collector (too old)"));
  EXPECT_THAT(reportedLosses(server.requests()),
              ElementsAre(Pair("rejected by the collector", 10)));
}

TEST_P(OtlpFaults, RequestsThatAreTooLargeAreSplit) {
  FaultServer server({answer(413), answer(413)});
  const ProgramResult result = reportUntil(server, 3, 100);
  print("413 twice, then 200", 100, result, server);
  EXPECT_THAT(sizes(server.requests()), ElementsAre(100, 50, 25, 75));
  EXPECT_EQ(lost(result), 0);
}

TEST_P(OtlpFaults, AnswersThatAreNotHttp1AreRetried) {
  const std::string http2_settings("\x00\x00\x00\x04\x00\x00\x00\x00\x00", 9);
  for (const std::string& bytes :
       {http2_settings, std::string("garbage\r\n\r\n"), std::string("HTTP/7.7 200 OK\r\n\r\n"),
        std::string("SSH-2.0-server\r\n")}) {
    FaultServer server({{bytes, Then::CLOSE}});
    const ProgramResult result = reportUntil(server, 2, 100);
    print("not an HTTP/1 answer, then 200", 100, result, server);
    EXPECT_THAT(server.requests(), SizeIs(2)) << bytes;
    EXPECT_EQ(lost(result), 0) << bytes;
    EXPECT_THAT(result.err, HasSubstr("the answer is not HTTP/1")) << bytes;
  }
}

TEST_P(OtlpFaults, AnswersThatDoNotComeInTimeAreRetried) {
  FaultServer server({{"", Then::HANG}});
  const ProgramResult result = reportUntil(server, 2, 100, {{"OTEL_EXPORTER_OTLP_TIMEOUT", "200"}});
  print("no answer within 200 ms, then 200", 100, result, server);
  EXPECT_THAT(server.requests(), SizeIs(2));
  EXPECT_EQ(lost(result), 0);
}

TEST_P(OtlpFaults, AnswersInSingleBytesAreReadToTheirEnd) {
  std::string bytes = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
  for (const char byte : std::string(R"({"partialSuccess":{"rejectedLogRecords":"1"}})")) {
    bytes += std::string("1\r\n") + byte + "\r\n";
  }
  FaultServer server({{bytes + "0\r\n\r\n"}});
  const ProgramResult result = report(server.url(), 100);
  print("200 in single bytes, 1 rejected", 100, result, server);
  EXPECT_EQ(lost(result), 1);
}

TEST_P(OtlpFaults, AnswersThatNeverComeDoNotDelayTheEndWithoutLimit) {
  FaultServer server(std::deque<Reaction>(10, {"", Then::HANG}));
  const ProgramResult result = report(server.url(), 100);
  print("never an answer, process ends", 100, result, server);
  EXPECT_EQ(lost(result), 100);
}

TEST_P(OtlpFaults, AnswersWithoutBodyAreNotRetried) {
  FaultServer server({{"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{", Then::HALF_CLOSE}});
  const ProgramResult result = report(server.url(), 100);
  print("200, half-closed in the body", 100, result, server);
  EXPECT_THAT(server.requests(), SizeIs(1));
  EXPECT_EQ(lost(result), 0);
}

TEST_P(OtlpFaults, ConnectionsThatBreakBeforeTheStatusAreRetried) {
  for (const Then then : {Then::CLOSE, Then::HALF_CLOSE}) {
    for (const char* bytes : {"", "HTTP/1."}) {
      FaultServer server({{bytes, then}});
      const ProgramResult result = reportUntil(server, 2, 100);
      print(
          std::string(then == Then::CLOSE ? "closed" : "half-closed") + " after \"" + bytes + "\"",
          100, result, server);
      EXPECT_EQ(lost(result), 0) << bytes;
      const auto requests = server.requests();
      ASSERT_THAT(requests, SizeIs(2)) << bytes;
      EXPECT_EQ(requests[0].body, requests[1].body) << bytes;
    }
  }
}

TEST_P(OtlpFaults, RedirectionsAreNotFollowed) {
  FaultServer elsewhere;
  FaultServer server({answer(307, "", "Location: " + elsewhere.url() + "/v1/logs\r\n")});
  const ProgramResult result = report(server.url(), 100);
  print("307", 100, result, server);
  EXPECT_THAT(elsewhere.requests(), IsEmpty());
  EXPECT_EQ(lost(result), 100);
}

TEST_P(OtlpFaults, AFullQueueLosesEventsAndSaysSo) {
  FaultServer server(std::deque<Reaction>(10, {"", Then::HANG}));
  auto reporter = reportMeanwhile(server.url(), 100, "twice",
                                  {{"OTEL_BLRP_MAX_QUEUE_SIZE", "100"},
                                   {"OTEL_BLRP_MAX_EXPORT_BATCH_SIZE", "50"},
                                   {"OTEL_EXPORTER_OTLP_TIMEOUT", "60000"}});
  // The first batch is under way and its answer does not come, so the queue stays full.
  server.waitForRequests(1);
  const ProgramResult result = reporter.finish();
  print("queue of 100 full behind a hanging answer", 200, result, server);
  EXPECT_EQ(result.out, "taken 100, refused 0\ntaken 100, refused 0\n");
  EXPECT_THAT(result.err,
              AllOf(HasSubstr("99: the queue is full"), HasSubstr("100: the process ended first")));
  EXPECT_EQ(lost(result), 200);
}

}  // namespace
}  // namespace kiv_test
