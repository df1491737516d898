// Batches, retries and losses, with a clock that the tests set.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>
#include <optional>

#include "modules/otlp/Exporter.h"

namespace TAMSA::otlp {
namespace {

using nlohmann::json;
using std::chrono::seconds;
using support::LossCount;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;
using Verdict = Reply::Verdict;

constexpr TimePoint kStart{std::chrono::hours(1)};

Reply reply(Verdict verdict, const char* cause = "") {
  Reply made;
  made.verdict = verdict;
  made.is_answer = true;
  made.cause = cause;
  return made;
}

Reply failure(std::optional<seconds> retry_after = {}) {
  Reply made = reply(Verdict::RETRYABLE, "trouble");
  made.retry_after = retry_after;
  return made;
}

class ExporterTest : public testing::Test {
 protected:
  ExporterTest() { config_.max_batch_size = 4; }

  Exporter& exporter() {
    if (!exporter_) exporter_.emplace(config_, *encoder_, [] { return 1.0; });
    return *exporter_;
  }

  /// Reports an event, the text of which has about `bytes` bytes; true if it was taken.
  bool add(size_t bytes = 0) {
    Attributes attributes = {{"number", next_}};
    if (bytes > 0) attributes["text"] = std::string(bytes, 'x');
    LogRecord record;
    record.severity = {9, "INFO"};
    record.attributes = attributes;
    return !exporter().add({encoder_->encodeRecord(record), kReports, 1, next_++}, now_);
  }

  void add(int events, size_t bytes) {
    for (int i = 0; i < events; ++i) ASSERT_TRUE(add(bytes));
  }

  /// Moves the clock to when a request may be made, begins it, and keeps its body.
  void begin() {
    const auto next = exporter().nextAttempt();
    ASSERT_TRUE(next);
    now_ = std::max(now_, *next);
    const Exporter::Request request = exporter().begin();
    body_ = encoder_->encodeRequest(request.records());
  }

  /// Makes a request and answers it. Returns the losses.
  std::map<std::string, support::LossTable::Entry> send(
      const Reply& answer = reply(Verdict::DELIVERED)) {
    begin();
    return exporter().complete(answer, body_.size(), now_).entries();
  }

  json records() const {
    return json::parse(body_)["resourceLogs"][0]["scopeLogs"][0]["logRecords"];
  }

  static json attribute(const json& record, const char* key) {
    for (const json& one : record["attributes"]) {
      if (one["key"] == key) return one["value"].begin().value();
    }
    return nullptr;
  }

  /// The numbers of the events in the last request.
  std::vector<int> numbers() const {
    std::vector<int> numbers;
    for (const json& record : records()) {
      const json number = attribute(record, "number");
      if (!number.is_null()) numbers.push_back(std::stoi(number.get<std::string>()));
    }
    return numbers;
  }

  /// The events that the last request reports as lost, by cause.
  std::map<std::string, int> losses() const {
    std::map<std::string, int> losses;
    for (const json& record : records()) {
      const json events = attribute(record, "kiv.telemetry.loss.events");
      if (events.is_null()) continue;
      losses[attribute(record, "kiv.telemetry.loss.cause")] = std::stoi(events.get<std::string>());
    }
    return losses;
  }

  static constexpr uint64_t kReports = 10;

  OtlpConfig config_;
  const std::unique_ptr<const Encoder> encoder_ = makeEncoder(Protocol::HTTP_JSON, {});
  TimePoint now_ = kStart;
  std::string body_;
  int64_t next_ = 0;

 private:
  std::optional<Exporter> exporter_;
};

using ExporterSize = ExporterTest;
using ExporterLosses = ExporterTest;
using ExporterEnd = ExporterTest;

TEST_F(ExporterTest, HasNothingToDoWithoutEvents) {
  EXPECT_EQ(exporter().nextAttempt(), std::nullopt);
}

TEST_F(ExporterTest, SendsEventsOnce) {
  add(2, 0);
  EXPECT_THAT(send(), IsEmpty());
  EXPECT_THAT(numbers(), ElementsAre(0, 1));
  EXPECT_EQ(exporter().nextAttempt(), std::nullopt);
  EXPECT_EQ(exporter().settled(), 2U);
}

TEST_F(ExporterTest, WaitsForMoreEventsForTheScheduleDelay) {
  add();
  EXPECT_EQ(exporter().nextAttempt(), kStart + config_.schedule_delay);
  add(3, 0);
  EXPECT_EQ(exporter().nextAttempt(), TimePoint::min());
}

TEST_F(ExporterTest, RetriesTheSameEventsAfterIncreasingDelays) {
  add(2, 0);
  send(failure());
  TimePoint last = now_;
  for (const int delay : {1, 2, 4, 8, 16, 16}) {
    send(failure());
    EXPECT_EQ(now_ - last, seconds(delay));
    EXPECT_THAT(numbers(), ElementsAre(0, 1));
    last = now_;
  }
}

TEST_F(ExporterTest, LosesNothingInAnOutageOfAnHour) {
  config_.export_timeout = std::chrono::milliseconds(30'000);
  add(3, 0);
  while (now_ < kStart + std::chrono::hours(1)) EXPECT_THAT(send(failure()), IsEmpty());
  add(1, 0);
  EXPECT_THAT(send(), IsEmpty());
  EXPECT_THAT(numbers(), ElementsAre(0, 1, 2, 3));
  EXPECT_THAT(losses(), IsEmpty());
}

TEST_F(ExporterTest, KeepsEventsForALongerDelayThanAnExportMayTake) {
  config_.export_timeout = std::chrono::milliseconds(30'000);
  add(4, 0);
  EXPECT_THAT(send(failure(seconds(40))), IsEmpty());
  EXPECT_EQ(exporter().nextAttempt(), now_ + seconds(40));
  EXPECT_THAT(send(), IsEmpty());
  EXPECT_THAT(numbers(), ElementsAre(0, 1, 2, 3));
}

TEST_F(ExporterTest, SendsEventsOfAnOutageInTheirOrder) {
  add(4, 0);
  send(failure());
  add(4, 0);
  send();
  EXPECT_THAT(numbers(), ElementsAre(0, 1, 2, 3));
  send();
  EXPECT_THAT(numbers(), ElementsAre(4, 5, 6, 7));
}

TEST_F(ExporterTest, DoesNotRepeatWhatWasRefused) {
  add(2, 0);
  send(reply(Verdict::REFUSED, "HTTP status 400"));
  EXPECT_EQ(exporter().nextAttempt(), std::nullopt);
}

TEST_F(ExporterTest, BeginsItsDelaysAnewAfterAnAnswerThatRefuses) {
  add();
  for (int i = 0; i < 5; ++i) send(failure());
  send(reply(Verdict::REFUSED, "HTTP status 400"));
  add();
  send(failure());
  EXPECT_EQ(exporter().nextAttempt(), now_ + seconds(1));
}

TEST_F(ExporterTest, RefusesEventsWhileTheQueueIsFullAndNamesTheLastFailure) {
  config_.max_queue_size = 4;
  add(4, 0);
  send(failure());
  const auto cause = exporter().add({"x", 1, 1, 100}, now_);
  ASSERT_TRUE(cause);
  EXPECT_EQ(cause->text(), "the queue is full (trouble)");
}

TEST_F(ExporterSize, IsLimitedInRecords) {
  add(6, 0);
  send();
  EXPECT_THAT(numbers(), SizeIs(4));
}

TEST_F(ExporterSize, IsLimitedInBytes) {
  config_.max_batch_size = 512;
  add(50, 200'000);
  int requests = 0;
  for (; exporter().nextAttempt(); ++requests) {
    send();
    EXPECT_LE(body_.size(), Exporter::kMaxRequestBytes);
  }
  EXPECT_EQ(requests, 3);
  EXPECT_EQ(exporter().settled(), 50U);
}

TEST_F(ExporterSize, OfOneEventIsLimitedToo) {
  EXPECT_TRUE(add(Exporter::kMaxRequestBytes - 1'000));
  EXPECT_FALSE(add(Exporter::kMaxRequestBytes));
  send();
  EXPECT_LE(body_.size(), Exporter::kMaxRequestBytes);
}

TEST_F(ExporterSize, IsHalvedAtOnceIfItIsTooLarge) {
  add(4, 0);
  EXPECT_THAT(send(reply(Verdict::TOO_LARGE, "HTTP status 413")), IsEmpty());
  const TimePoint refused = now_;
  send();
  EXPECT_EQ(now_, refused);
  EXPECT_THAT(numbers(), ElementsAre(0, 1));
  send();
  EXPECT_THAT(numbers(), ElementsAre(2, 3));
  EXPECT_THAT(losses(), IsEmpty());
}

TEST_F(ExporterSize, StaysSmallerInBytesAfterARequestWasTooLarge) {
  config_.max_batch_size = 512;
  add(512, 7'000);
  send(reply(Verdict::TOO_LARGE, "HTTP status 413"));
  const size_t refused = body_.size();
  while (exporter().nextAttempt()) {
    send();
    EXPECT_LE(body_.size(), refused / 2);
  }
}

TEST_F(ExporterSize, OfOneEventThatIsTooLargeLosesThatEvent) {
  add(2, 0);
  send(reply(Verdict::TOO_LARGE, "HTTP status 413"));
  EXPECT_THAT(send(reply(Verdict::TOO_LARGE, "HTTP status 413")),
              ElementsAre(Pair("HTTP status 413", testing::_)));
  send();
  EXPECT_THAT(numbers(), ElementsAre(1));
  EXPECT_THAT(losses(), ElementsAre(Pair("HTTP status 413", 1)));
}

TEST_F(ExporterSize, OfOneEventDoesNotCountTheLossesThatAreSentWithIt) {
  exporter().addLoss({"the queue is full"}, LossCount{7, 70});
  add();
  EXPECT_THAT(send(reply(Verdict::TOO_LARGE, "HTTP status 413")), IsEmpty());
  send();
  EXPECT_THAT(numbers(), ElementsAre(0));
  EXPECT_THAT(losses(), IsEmpty());
  add();
  send();
  EXPECT_THAT(losses(), ElementsAre(Pair("the queue is full", 7)));
}

TEST_F(ExporterLosses, AreSentOnceWithTheNextEventsCauseByCause) {
  add(3, 0);
  const auto lost = send(reply(Verdict::REFUSED, "HTTP status 400"));
  EXPECT_EQ(lost.at("HTTP status 400").count.events, 3U);
  EXPECT_EQ(lost.at("HTTP status 400").count.reports, 3 * kReports);
  exporter().addLoss({"the queue is full"}, LossCount{7, 70});
  add();
  send();
  EXPECT_THAT(losses(), ElementsAre(Pair("HTTP status 400", 3), Pair("the queue is full", 7)));
  EXPECT_EQ(attribute(records()[0], "kiv.telemetry.loss.reports"), "30");
  add();
  send();
  EXPECT_THAT(losses(), IsEmpty());
}

TEST_F(ExporterLosses, AreSentAgainUntilTheyAreDelivered) {
  exporter().addLoss({"the queue is full"}, LossCount{7, 70});
  add();
  send(failure());
  exporter().addLoss({"the queue is full"}, LossCount{1, 1});
  send();
  EXPECT_THAT(losses(), ElementsAre(Pair("the queue is full", 8)));
}

TEST_F(ExporterLosses, DuringARequestAreSentWithTheNext) {
  exporter().addLoss({"the queue is full"}, LossCount{7, 70});
  add();
  begin();
  exporter().addLoss({"the queue is full"}, LossCount{2, 20});
  exporter().complete(reply(Verdict::DELIVERED), body_.size(), now_);
  add();
  send();
  EXPECT_THAT(losses(), ElementsAre(Pair("the queue is full", 2)));
}

TEST_F(ExporterLosses, CountAgainstTheRecordsOfARequest) {
  exporter().addLoss({"one"}, LossCount{1, 1});
  exporter().addLoss({"two"}, LossCount{1, 1});
  add(4, 0);
  send();
  EXPECT_THAT(records(), SizeIs(4));
}

TEST_F(ExporterLosses, OfAPartialSuccessCountEveryEventAsOneReportAtLeast) {
  add(4, 0);
  Reply partial = reply(Verdict::DELIVERED, "rejected by the collector");
  partial.rejected = 2;
  const auto lost = send(partial);
  EXPECT_EQ(lost.at("rejected by the collector").count.events, 2U);
  EXPECT_EQ(lost.at("rejected by the collector").count.reports, 2U);
  add();
  send();
  EXPECT_THAT(losses(), ElementsAre(Pair("rejected by the collector", 2)));
}

TEST_F(ExporterLosses, OfAPartialSuccessAreNoMoreThanWereSent) {
  add(4, 0);
  Reply partial = reply(Verdict::DELIVERED, "rejected by the collector");
  partial.rejected = 1'000'000;
  const auto lost = send(partial);
  EXPECT_EQ(lost.at("rejected by the collector").count.events, 4U);
  EXPECT_EQ(lost.at("rejected by the collector").count.reports, 4 * kReports);
}

TEST_F(ExporterLosses, AreSentAgainIfEveryRecordIsRejected) {
  exporter().addLoss({"the queue is full"}, LossCount{7, 70});
  add(3, 0);
  Reply partial = reply(Verdict::DELIVERED, "rejected by the collector");
  partial.rejected = 4;
  send(partial);
  add();
  send();
  EXPECT_THAT(losses(),
              ElementsAre(Pair("rejected by the collector", 3), Pair("the queue is full", 7)));
}

TEST_F(ExporterEnd, WaitsForNoMoreEvents) {
  add();
  exporter().beginEnd();
  EXPECT_EQ(exporter().nextAttempt(), TimePoint::min());
}

TEST_F(ExporterEnd, EndsABackoff) {
  add();
  exporter().beginEnd();
  send(failure());
  EXPECT_EQ(exporter().nextAttempt(), now_ + seconds(1));
  exporter().endBackoff();
  EXPECT_EQ(exporter().nextAttempt(), TimePoint::min());
}

TEST_F(ExporterEnd, DoesNotEndADelayThatTheCollectorAskedFor) {
  add();
  exporter().beginEnd();
  send(failure(seconds(40)));
  exporter().endBackoff();
  EXPECT_EQ(exporter().nextAttempt(), now_ + seconds(40));
}

TEST_F(ExporterEnd, SendsLossesWithoutEvents) {
  add(3, 0);
  send(reply(Verdict::REFUSED, "HTTP status 400"));
  exporter().beginEnd();
  EXPECT_TRUE(exporter().mustSendLosses());
  send();
  EXPECT_THAT(losses(), ElementsAre(Pair("HTTP status 400", 3)));
  EXPECT_THAT(records(), SizeIs(1));
  EXPECT_EQ(exporter().nextAttempt(), std::nullopt);
}

TEST_F(ExporterEnd, SendsNoLossesWithoutEventsIfThereIsNoCollector) {
  add();
  exporter().beginEnd();
  Reply permanent = reply(Verdict::REFUSED, "no certificate");
  permanent.is_answer = false;
  send(permanent);
  EXPECT_EQ(exporter().nextAttempt(), std::nullopt);
}

TEST_F(ExporterEnd, SendsLossesThatAreRefusedOnlyOnce) {
  add();
  exporter().beginEnd();
  send(reply(Verdict::REFUSED, "HTTP status 400"));
  send(reply(Verdict::REFUSED, "HTTP status 400"));
  EXPECT_EQ(exporter().nextAttempt(), std::nullopt);
}

TEST_F(ExporterEnd, SendsLossesThatAreRejectedOnlyOnce) {
  exporter().addLoss({"the queue is full"}, LossCount{7, 70});
  exporter().beginEnd();
  Reply partial = reply(Verdict::DELIVERED, "rejected by the collector");
  partial.rejected = 1;
  send(partial);
  EXPECT_EQ(exporter().nextAttempt(), std::nullopt);
}

TEST_F(ExporterEnd, AbandonsWhatIsLeftWithTheLastFailure) {
  add(3, 0);
  send(failure());
  const auto lost = exporter().abandon().entries();
  ASSERT_THAT(lost, SizeIs(1));
  EXPECT_EQ(lost.begin()->first, "the process ended first");
  EXPECT_EQ(lost.begin()->second.detail, "trouble");
  EXPECT_EQ(lost.begin()->second.count.reports, 3 * kReports);
  EXPECT_THAT(exporter().abandon().entries(), IsEmpty());
}

TEST_F(ExporterEnd, SendsWhatWasAbandonedAsALossWithLaterEventsOnly) {
  add(3, 0);
  exporter().beginEnd();
  exporter().abandon();
  EXPECT_EQ(exporter().nextAttempt(), std::nullopt);
  add();
  send();
  EXPECT_THAT(losses(), ElementsAre(Pair("the process ended first", 3)));
}

TEST_F(ExporterEnd, ReportsNoLossOfARequestThatIsDeliveredAfterItWasAbandoned) {
  add(3, 0);
  begin();
  exporter().abandon();
  exporter().complete(reply(Verdict::DELIVERED), 1, now_);
  add();
  send();
  EXPECT_THAT(losses(), IsEmpty());
}

TEST_F(ExporterEnd, AbandonsARequestUnderWayAndCountsItsEventsOnce) {
  add(6, 0);
  begin();
  EXPECT_EQ(exporter().abandon().total().events, 6U);
  EXPECT_EQ(exporter().abandon().total().events, 0U);
  EXPECT_THAT(exporter().complete(reply(Verdict::REFUSED, "x"), 1, now_).entries(), IsEmpty());
  EXPECT_EQ(exporter().settled(), 6U);
}

}  // namespace
}  // namespace TAMSA::otlp
