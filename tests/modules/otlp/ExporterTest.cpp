// How batches are tried, by a clock that does not tick by itself.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <nlohmann/json.hpp>
#include <optional>

#include "Exporter.h"
#include "LogCapture.h"

namespace TAMSA::otlp {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Verdict = Reply::Verdict;

constexpr TimePoint kStart{std::chrono::hours(1)};

class FakeTiming final : public Timing {
 public:
  TimePoint now() const override { return now_; }
  unsigned rushes() const override { return rushes_; }
  TimePoint rushEnd() const override { return rush_end_; }

  void sleepUntil(TimePoint when, unsigned known_rushes) override {
    if (known_rushes != rushes_) return;
    if (rush_begin_ && *rush_begin_ < when) {
      now_ = *rush_begin_;
      beginRush();
    } else {
      now_ = when;
    }
  }

  void beginRush(milliseconds length = seconds(2)) {
    ++rushes_;
    rush_end_ = now_ + length;
    rush_begin_.reset();
  }

  TimePoint now_ = kStart;
  /// When a rush begins, if somebody sleeps then.
  std::optional<TimePoint> rush_begin_;

 private:
  unsigned rushes_ = 0;
  TimePoint rush_end_ = TimePoint::max();
};

/// Gives the scripted answers, then success, and notes when it was asked and for how long.
class FakeTransport final : public Transport {
 public:
  explicit FakeTransport(FakeTiming& timing) : timing_(timing) {}

  Reply send(const std::string& body, const Limit& limit) override {
    bodies_.push_back(body);
    tries_.push_back(std::chrono::duration_cast<milliseconds>(timing_.now_ - kStart));
    limits_.push_back(limit());
    timing_.now_ += each_takes_;
    if (script_.empty()) return {Verdict::DELIVERED, {}, 0, ""};
    Reply reply = script_.front();
    script_.pop_front();
    return reply;
  }

  void fail(int times) {
    for (int i = 0; i < times; ++i) script_.push_back({Verdict::TRY_AGAIN, {}, 0, "trouble"});
  }

  std::deque<Reply> script_;
  milliseconds each_takes_{0};
  std::vector<std::string> bodies_;
  std::vector<milliseconds> tries_;
  std::vector<TimePoint> limits_;

 private:
  FakeTiming& timing_;
};

class ExporterTest : public testing::Test {
 protected:
  void send(size_t events = 1) { exporter_->send(std::vector<LogRecord>(events)); }

  /// With a configuration that the test has changed.
  void remake() {
    exporter_.emplace(config_, transport_, timing_, log_, [] { return 1.0; });
  }

  /// What a request tells of dropped events; 0 if nothing.
  static int64_t toldDropped(const std::string& body) {
    const auto scope = nlohmann::json::parse(body)["resourceLogs"][0]["scopeLogs"][0]["scope"];
    if (!scope.contains("attributes")) return 0;
    return std::stoll(scope["attributes"][0]["value"]["intValue"].get<std::string>());
  }

  kiv_test::LogCapture lines_;
  OtlpConfig config_;
  FakeTiming timing_;
  FakeTransport transport_{timing_};
  ExportLog log_{"the collector"};
  std::optional<Exporter> exporter_{std::in_place, config_, transport_,
                                    timing_,       log_,    [] { return 1.0; }};
};

using ExporterRush = ExporterTest;
using ExporterDrops = ExporterTest;

TEST_F(ExporterTest, SendsABatchOnceIfThatGoesWell) {
  send();
  EXPECT_THAT(transport_.tries_, ElementsAre(milliseconds(0)));
  EXPECT_THAT(lines_.lines(), IsEmpty());
}

TEST_F(ExporterTest, TriesTheSameBatchAgainAfterLongerAndLongerWaits) {
  transport_.fail(4);
  send();
  EXPECT_THAT(transport_.tries_,
              ElementsAre(milliseconds(0), milliseconds(1'000), milliseconds(3'000),
                          milliseconds(7'000), milliseconds(15'000)));
  EXPECT_THAT(transport_.bodies_, testing::Each(transport_.bodies_[0]));
}

TEST_F(ExporterTest, WaitsAsLongAsTheCollectorAsks) {
  transport_.script_.push_back({Verdict::TRY_AGAIN, seconds(5), 0, "trouble"});
  send();
  EXPECT_THAT(transport_.tries_, ElementsAre(milliseconds(0), milliseconds(5'000)));
}

TEST_F(ExporterTest, WaitsNoLessThanItsBackoffEvenIfTheCollectorAsksForLess) {
  transport_.fail(2);
  transport_.script_.push_back({Verdict::TRY_AGAIN, seconds(1), 0, "trouble"});
  send();
  EXPECT_EQ(transport_.tries_.back() - transport_.tries_[2], milliseconds(4'000));
}

TEST_F(ExporterTest, WaitsNoLongerThanAnHourHoweverMuchTheCollectorAsksFor) {
  config_.export_timeout.reset();
  remake();
  transport_.script_.push_back({Verdict::TRY_AGAIN, std::chrono::hours(10'000), 0, "trouble"});
  send();
  EXPECT_EQ(transport_.tries_.back(), std::chrono::hours(1));
}

TEST_F(ExporterTest, DropsABatchThatTheCollectorAsksToKeepTooLongButLeavesItAloneThatLong) {
  transport_.script_.push_back({Verdict::TRY_AGAIN, seconds(40), 0, "trouble"});
  send();
  EXPECT_THAT(transport_.tries_, SizeIs(1));
  send();
  EXPECT_THAT(transport_.tries_, ElementsAre(milliseconds(0), milliseconds(40'000)));
  EXPECT_EQ(toldDropped(transport_.bodies_.back()), 1);
}

TEST_F(ExporterTest, BeginsAnewWithShortWaitsAfterASuccess) {
  transport_.fail(3);
  send();
  transport_.fail(1);
  send();
  const auto& tries = transport_.tries_;
  EXPECT_EQ(tries[tries.size() - 1] - tries[tries.size() - 2], milliseconds(1'000));
}

TEST_F(ExporterTest, KeepsItsLongWaitsFromOneBatchToTheNext) {
  transport_.fail(100);
  send();
  const size_t first_batch = transport_.tries_.size();
  send();
  EXPECT_EQ(transport_.tries_[first_batch] - transport_.tries_[first_batch - 1],
            milliseconds(16'000));
}

TEST_F(ExporterTest, DropsABatchWhenItsTimeIsOver) {
  transport_.fail(100);
  send();
  EXPECT_EQ(transport_.tries_.back(), milliseconds(15'000));
  transport_.script_.clear();
  send();
  EXPECT_EQ(toldDropped(transport_.bodies_.back()), 1);
}

TEST_F(ExporterTest, DropsNothingForWantOfTimeIfThereIsNoLimit) {
  config_.export_timeout.reset();
  remake();
  transport_.fail(100);
  send();
  EXPECT_THAT(transport_.tries_, SizeIs(101));
  send();
  EXPECT_EQ(toldDropped(transport_.bodies_.back()), 0);
}

TEST_F(ExporterTest, GivesARequestItsOwnTimeAndNoMoreThanTheBatchHasLeft) {
  transport_.each_takes_ = seconds(10);
  transport_.fail(2);
  send();
  EXPECT_THAT(transport_.limits_,
              ElementsAre(kStart + seconds(10), kStart + seconds(21), kStart + seconds(30)));
}

TEST_F(ExporterTest, DoesNotRepeatWhatWasRefused) {
  transport_.script_.push_back({Verdict::REFUSED, {}, 0, "HTTP status 400"});
  send();
  EXPECT_THAT(transport_.tries_, SizeIs(1));
}

TEST_F(ExporterDrops, AreToldWithTheNextBatchThatArrives) {
  transport_.script_.push_back({Verdict::REFUSED, {}, 0, "HTTP status 400"});
  send(3);
  transport_.script_.push_back({Verdict::REFUSED, {}, 0, "HTTP status 400"});
  send(2);
  send();
  send();
  ASSERT_THAT(transport_.bodies_, SizeIs(4));
  EXPECT_EQ(toldDropped(transport_.bodies_[1]), 3);
  EXPECT_EQ(toldDropped(transport_.bodies_[2]), 5);
  EXPECT_EQ(toldDropped(transport_.bodies_[3]), 0);
}

TEST_F(ExporterDrops, OfEventsThatWereNotTakenInAreToldAsWell) {
  exporter_->countDropped(7, "the queue is full");
  send();
  EXPECT_EQ(toldDropped(transport_.bodies_[0]), 7);
}

TEST_F(ExporterDrops, OfAPartialSuccessAreTold) {
  transport_.script_.push_back({Verdict::DELIVERED, {}, 2, "too old"});
  send(5);
  send();
  EXPECT_EQ(toldDropped(transport_.bodies_[1]), 2);
  EXPECT_EQ(lines_.lines().at(0).text,
            "dropped 2 events, 2 in all: rejected by the collector: too old");
}

TEST_F(ExporterDrops, OfAPartialSuccessAreNoMoreThanWereSent) {
  transport_.script_.push_back({Verdict::DELIVERED, {}, 1'000'000, ""});
  send(5);
  send();
  EXPECT_EQ(toldDropped(transport_.bodies_[1]), 5);
}

TEST_F(ExporterRush, EndsABackoffAtOnce) {
  timing_.rush_begin_ = kStart + milliseconds(300);
  transport_.fail(1);
  send();
  EXPECT_THAT(transport_.tries_, ElementsAre(milliseconds(0), milliseconds(300)));
}

TEST_F(ExporterRush, EndsABackoffThatAnEarlierBatchLeftBehind) {
  transport_.fail(100);
  send();
  transport_.script_.clear();
  const TimePoint begin = timing_.now_;
  timing_.beginRush();
  send();
  EXPECT_EQ(kStart + transport_.tries_.back(), begin);
}

TEST_F(ExporterRush, DoesNotEndAWaitThatTheCollectorAskedFor) {
  timing_.rush_begin_ = kStart + milliseconds(300);
  transport_.script_.push_back({Verdict::TRY_AGAIN, seconds(1), 0, "trouble"});
  send();
  EXPECT_THAT(transport_.tries_, ElementsAre(milliseconds(0), milliseconds(1'000)));
}

TEST_F(ExporterRush, GivesUpAtOnceIfTheNextTryWouldComeTooLate) {
  timing_.beginRush(seconds(2));
  transport_.fail(100);
  send();
  EXPECT_THAT(transport_.tries_, ElementsAre(milliseconds(0), milliseconds(1'000)));
  EXPECT_EQ(timing_.now_, kStart + seconds(1));
}

TEST_F(ExporterRush, BoundsEveryRequest) {
  timing_.beginRush(milliseconds(700));
  send();
  EXPECT_THAT(transport_.limits_, ElementsAre(kStart + milliseconds(700)));
}

TEST_F(ExporterRush, ThatIsOverLeavesNoTimeForATry) {
  timing_.beginRush(milliseconds(700));
  timing_.now_ += milliseconds(700);
  send();
  EXPECT_THAT(transport_.tries_, IsEmpty());
  EXPECT_EQ(lines_.lines().at(0).text, "dropped 1 events, 1 in all: no time was left");
}

}  // namespace
}  // namespace TAMSA::otlp
