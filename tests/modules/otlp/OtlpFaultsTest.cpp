// What becomes of events when the collector does not behave. Every test prints its figures.
#include <gmock/gmock.h>

#include <cstdio>

#include "OtlpTest.h"

namespace kiv_test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using Then = Reaction::Then;

class OtlpFaults : public OtlpTest {
 protected:
  /// `received` counts requests with their repetitions.
  static void print(const std::string& fault, int reported, const ProgramResult& result,
                    FaultServer& server) {
    const auto requests = server.requests();
    const auto all = numbers(requests);
    const std::set<int> distinct(all.begin(), all.end());
    std::printf("FIGURES | %s | %d | %zu | %zu | %zu | %d |\n", fault.c_str(), reported,
                requests.size(), all.size(), distinct.size(), dropped(result));
    // Or the next program that is run starts with a copy of it.
    std::fflush(stdout);
  }
};

TEST_F(OtlpFaults, RefusedConnectionsDropEventsWithinTheTimeForTheEnd) {
  FaultServer nobody{FaultServer::NotYet()};
  const ProgramResult result = report(nobody.url(), 100);
  print("refused connection", 100, result, nobody);
  EXPECT_EQ(result.out, "taken 100, refused 0\n");
  EXPECT_EQ(dropped(result), 100);
  EXPECT_THAT(result.err, AllOf(HasSubstr("cannot deliver to " + nobody.url() + "/v1/logs"),
                                HasSubstr("Couldn't connect to server")));
}

TEST_F(OtlpFaults, AReceiverThatComesUpLateGetsAllThatWasReportedBefore) {
  FaultServer server{FaultServer::NotYet()};
  const std::string trouble = directory_.file("trouble");
  mkfifo(trouble.c_str(), 0600);
  auto reporter = reportMeanwhile(server.url(), 100, "stay", {{"REPORTER_TROUBLE", trouble}});
  // Opens when a first try has failed.
  std::ifstream(trouble).get();
  server.listen();
  EXPECT_EQ(numbers(waitForEvents(server, 100)), numbersBelow(100));
  const ProgramResult result = reporter.finish();
  print("receiver comes up late", 100, result, server);
  EXPECT_THAT(result.err, HasSubstr("delivering to " + server.url() + "/v1/logs again"));
  EXPECT_EQ(dropped(result), 0);
}

TEST_F(OtlpFaults, StatusesThatAreToBeTriedAgainLoseNothing) {
  for (const int status : {429, 502, 503, 504}) {
    FaultServer server({answer(status)});
    const ProgramResult result = reportUntil(server, 2, 100);
    print("status " + std::to_string(status) + ", then 200", 100, result, server);
    const auto requests = server.requests();
    ASSERT_THAT(requests, SizeIs(2)) << status;
    EXPECT_EQ(requests[0].body, requests[1].body) << status;
    EXPECT_EQ(dropped(result), 0) << status;
  }
}

TEST_F(OtlpFaults, ACollectorThatAsksForPatienceGetsIt) {
  FaultServer server({answer(429, "{}", "Retry-After: 1\r\n")});
  const ProgramResult result = reportUntil(server, 2, 100);
  print("429 with Retry-After: 1", 100, result, server);
  EXPECT_THAT(server.requests(), SizeIs(2));
  EXPECT_EQ(dropped(result), 0);
}

TEST_F(OtlpFaults, ACollectorThatAsksForMorePatienceThanTheEndHasIsLeftAlone) {
  FaultServer server({answer(503, "{}", "Retry-After: 60\r\n")});
  const ProgramResult result = report(server.url(), 100);
  print("503 with Retry-After: 60, process ends", 100, result, server);
  EXPECT_THAT(server.requests(), SizeIs(1));
  EXPECT_EQ(dropped(result), 100);
}

TEST_F(OtlpFaults, RefusalsAreNotRepeatedAndTold) {
  FaultServer server({answer(400, R"({"code":3,"message":"no such field"})")});
  auto reporter = reportMeanwhile(server.url(), 100, "twice");
  server.waitForRequests(1);
  const ProgramResult result = reporter.finish();
  print("400, then 200", 200, result, server);
  const auto requests = server.requests();
  EXPECT_EQ(dropped(result), 100);
  EXPECT_THAT(result.err, HasSubstr("HTTP status 400 (no such field)"));
  ASSERT_THAT(requests, SizeIs(2));
  const auto scope =
      nlohmann::json::parse(requests[1].body)["resourceLogs"][0]["scopeLogs"][0]["scope"];
  EXPECT_EQ(attribute(scope, "kiv.telemetry.dropped_events")["intValue"], "100");
}

TEST_F(OtlpFaults, PartialSuccessesAreTold) {
  FaultServer server(
      {answer(200, R"({"partialSuccess":{"rejectedLogRecords":"7","errorMessage":"too old"}})"),
       answer(200, R"({"partialSuccess":{"rejectedLogRecords":"3","errorMessage":"too old"}})")});
  auto reporter = reportMeanwhile(server.url(), 100, "twice");
  server.waitForRequests(1);
  const ProgramResult result = reporter.finish();
  print("partial success, 7 and 3 rejected", 200, result, server);
  EXPECT_THAT(server.requests(), SizeIs(2));
  EXPECT_EQ(dropped(result), 10);
  EXPECT_THAT(result.err,
              HasSubstr("dropped 7 events, 7 in all: rejected by the collector: too old"));
}

TEST_F(OtlpFaults, AnswersThatDoNotComeInTimeAreTriedAgain) {
  FaultServer server({{"", Then::HANG}});
  const ProgramResult result = reportUntil(server, 2, 100, {{"OTEL_EXPORTER_OTLP_TIMEOUT", "200"}});
  print("no answer within 200 ms, then 200", 100, result, server);
  EXPECT_THAT(server.requests(), SizeIs(2));
  EXPECT_EQ(dropped(result), 0);
}

TEST_F(OtlpFaults, AnswersThatComeByteAfterByteAreReadToTheirEnd) {
  std::string bytes = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
  for (const char byte : std::string(R"({"partialSuccess":{"rejectedLogRecords":"1"}})")) {
    bytes += std::string("1\r\n") + byte + "\r\n";
  }
  FaultServer server({{bytes + "0\r\n\r\n"}});
  const ProgramResult result = report(server.url(), 100);
  print("200, byte after byte, 1 rejected", 100, result, server);
  EXPECT_THAT(server.requests(), SizeIs(1));
  EXPECT_EQ(dropped(result), 1);
}

TEST_F(OtlpFaults, AnswersThatNeverComeDoNotHoldTheProcess) {
  FaultServer server(std::deque<Reaction>(10, {"", Then::HANG}));
  const ProgramResult result = report(server.url(), 100);
  print("never an answer, process ends", 100, result, server);
  EXPECT_THAT(server.requests(), SizeIs(1));
  EXPECT_EQ(dropped(result), 100);
}

TEST_F(OtlpFaults, AnswersOfWhichOnlyTheBodyIsMissingAreNotTriedAgain) {
  FaultServer server({{"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{", Then::HALF_CLOSE}});
  const ProgramResult result = report(server.url(), 100);
  print("200, half-closed in the body", 100, result, server);
  EXPECT_THAT(server.requests(), SizeIs(1));
  EXPECT_EQ(dropped(result), 0);
}

TEST_F(OtlpFaults, ConnectionsThatBreakBeforeTheStatusAreTriedAgain) {
  for (const Then then : {Then::CLOSE, Then::HALF_CLOSE}) {
    for (const char* bytes : {"", "HTTP/1."}) {
      FaultServer server({{bytes, then}});
      const ProgramResult result = reportUntil(server, 2, 100);
      print(
          std::string(then == Then::CLOSE ? "closed" : "half-closed") + " after \"" + bytes + "\"",
          100, result, server);
      EXPECT_EQ(dropped(result), 0) << bytes;
      const auto requests = server.requests();
      ASSERT_THAT(requests, SizeIs(2)) << bytes;
      EXPECT_EQ(requests[0].body, requests[1].body) << bytes;
    }
  }
}

TEST_F(OtlpFaults, RedirectionsAreNotFollowed) {
  FaultServer elsewhere;
  FaultServer server({answer(307, "", "Location: " + elsewhere.url() + "/v1/logs\r\n")});
  const ProgramResult result = report(server.url(), 100);
  print("307", 100, result, server);
  EXPECT_THAT(elsewhere.requests(), IsEmpty());
  EXPECT_EQ(dropped(result), 100);
}

TEST_F(OtlpFaults, AQueueThatIsFullRefusesEventsAndSaysSo) {
  FaultServer server({{"", Then::HANG}});
  auto reporter = reportMeanwhile(server.url(), 100, "twice",
                                  {{"OTEL_BLRP_MAX_QUEUE_SIZE", "100"},
                                   {"OTEL_BLRP_MAX_EXPORT_BATCH_SIZE", "50"},
                                   {"OTEL_EXPORTER_OTLP_TIMEOUT", "60000"}});
  // The first batch is out and hangs; of the next hundred, half finds no room.
  server.waitForRequests(1);
  const ProgramResult result = reporter.finish();
  print("queue of 100 full behind a hanging answer", 200, result, server);
  EXPECT_EQ(result.out, "taken 100, refused 0\ntaken 50, refused 50\n");
  EXPECT_THAT(result.err, HasSubstr("the queue is full"));
  EXPECT_EQ(dropped(result), 200);
}

}  // namespace
}  // namespace kiv_test
