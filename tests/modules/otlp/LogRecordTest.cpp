// The records of events and of losses.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "modules/otlp/EventSummary.h"
#include "modules/otlp/LogRecord.h"

namespace TAMSA::otlp {
namespace {

using std::chrono::microseconds;
using std::chrono::nanoseconds;
using std::chrono::system_clock;
using support::Fields;
using support::FieldValue;
using testing::ElementsAre;
using testing::Pair;

LogRecord record(const Fields& fields, const std::string& name = "name") {
  return makeEventRecord(name, fields, system_clock::time_point(microseconds(7)));
}

TEST(EventRecord, HasTheSeverityOfItsEvent) {
  const std::vector<std::pair<int, std::string>> expected = {
      {9, "INFO"}, {13, "WARNING"}, {17, "ERROR"}, {21, "FATAL"}};
  for (int64_t severity = 0; severity < 4; ++severity) {
    const LogRecord log = record({{"severity", severity}});
    EXPECT_EQ(std::pair(log.severity.number, std::string(log.severity.text)),
              expected[static_cast<size_t>(severity)]);
  }
}

TEST(EventRecord, IsInformationIfItsEventHasNoKnownSeverity) {
  const std::vector<Fields> events = {{},
                                      {{"severity", int64_t{4}}},
                                      {{"severity", int64_t{-1}}},
                                      {{"severity", "ERROR"}},
                                      {{"severity", 2.0F}}};
  for (const Fields& fields : events) EXPECT_EQ(record(fields).severity.number, 9);
}

TEST(EventRecord, HasTheEndOfTheWindowAsItsTime) {
  EXPECT_EQ(record({{"end_time_since_epoch", int64_t{9'223'372'036'854}}}).time,
            nanoseconds(9'223'372'036'854'000'000));
}

TEST(EventRecord, HasNoTimeIfItsEventHasNoneThatFits) {
  for (const int64_t end :
       {int64_t{0}, int64_t{-1}, std::numeric_limits<int64_t>::max(), int64_t{9'223'372'036'855}}) {
    EXPECT_EQ(record({{"end_time_since_epoch", end}}).time, std::nullopt) << end;
  }
  EXPECT_EQ(record({}).time, std::nullopt);
}

TEST(EventRecord, HasTheTimeOfTheReportAsItsObservedTime) {
  EXPECT_EQ(record({}).observed, nanoseconds(7'000));
}

TEST(EventRecord, HasTheNameOfItsEventAlsoAsAnAttribute) {
  const LogRecord log = record({{"a", int64_t{1}}});
  EXPECT_EQ(log.event_name, "name");
  EXPECT_THAT(log.attributes, ElementsAre(Pair("a", FieldValue(int64_t{1})),
                                          Pair("event.name", FieldValue("name"))));
}

TEST(EventRecord, HasANameOfItsOwnIfItsEventHasNone) {
  const LogRecord log = record({}, "");
  EXPECT_EQ(log.event_name, "kiv.audio_latency");
  EXPECT_THAT(log.attributes, ElementsAre(Pair("event.name", FieldValue(""))));
}

TEST(EventRecord, KeepsItsNameIfAFieldHasTheNameOfTheAttribute) {
  EXPECT_EQ(record({{"event.name", "field"}}).attributes.at("event.name"), FieldValue("name"));
}

TEST(LossRecords, CountEventsAndReportsForEachCause) {
  support::LossTable losses;
  losses.add({"the queue is full"}, {2, 30});
  losses.add({"HTTP status 400", "no such field"}, {1, 1});
  const auto records = makeLossRecords(losses, system_clock::time_point(microseconds(7)));
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[0].body, "1 events lost (1 reports): HTTP status 400 (no such field)");
  EXPECT_EQ(records[1].body, "2 events lost (30 reports): the queue is full");
  const LogRecord& log = records[1];
  EXPECT_EQ(log.event_name, "kiv.telemetry.loss");
  EXPECT_EQ(log.severity.number, 17);
  EXPECT_EQ(log.time, nanoseconds(7'000));
  EXPECT_THAT(log.attributes,
              ElementsAre(Pair("event.name", FieldValue("kiv.telemetry.loss")),
                          Pair("kiv.telemetry.loss.cause", FieldValue("the queue is full")),
                          Pair("kiv.telemetry.loss.detail", FieldValue("")),
                          Pair("kiv.telemetry.loss.events", FieldValue(int64_t{2})),
                          Pair("kiv.telemetry.loss.reports", FieldValue(int64_t{30}))));
}

TEST(EventSummary, OfAnErrorNamesCodeClassAndApi) {
  Fields fields = {{"aggregated_count", int64_t{3}},
                   {"kiv_error_code", "kiv.MMAP_FAILED=-12"},
                   {"kiv_class", "Mixer"},
                   {"kiv_api", "open"}};
  EXPECT_EQ(summarize("wexo_kiv_error_code", fields), "3 × kiv.MMAP_FAILED=-12 in Mixer.open");
  fields["kiv_api"] = "";
  EXPECT_EQ(summarize("wexo_kiv_error_code", fields), "3 × kiv.MMAP_FAILED=-12 in Mixer");
  fields["kiv_class"] = "";
  EXPECT_EQ(summarize("wexo_kiv_error_code", fields), "3 × kiv.MMAP_FAILED=-12");
}

TEST(EventSummary, OfAStreamEventNamesEventAndStream) {
  EXPECT_EQ(summarize("wexo_kiv_stream_event", {{"aggregated_count", int64_t{2}},
                                                {"kiv_event", "start"},
                                                {"stream_type", "KIV_STREAM_TYPE_OBJECT"}}),
            "2 × start of KIV_STREAM_TYPE_OBJECT");
}

TEST(EventSummary, OfAudioLatenciesCountsThem) {
  EXPECT_EQ(summarize("", {{"aggregated_count", int64_t{5}}}), "5 × audio latency");
}

Fields value(const char* method, int64_t integer, float real, const char* text) {
  return {{"aggregated_count", int64_t{2}}, {"aggregation_method", method},
          {"kiv_event_name", "value"},      {"value_float", real},
          {"value_int", integer},           {"value_string", text}};
}

TEST(EventSummary, OfAValueHasNameMethodAndResult) {
  const std::string name = "wexo_kiv_generic";
  EXPECT_EQ(summarize(name, value("MIN", 4, 0, "")), "2 × value, MIN 4");
  EXPECT_EQ(summarize(name, value("SUM", 0, 0.75F, "")), "2 × value, SUM 0.75");
  EXPECT_EQ(summarize(name, value("MIN", 0, 0, "")), "2 × value, MIN 0");
  EXPECT_EQ(summarize(name, value("COUNT", 2, 0, "")), "2 × value, COUNT 2");
  EXPECT_EQ(summarize(name, value("COUNT", 0, 2, "")), "2 × value, COUNT 2");
}

TEST(EventSummary, OfATextHasNameAndText) {
  const std::string name = "wexo_kiv_generic";
  EXPECT_EQ(summarize(name, value("COUNT", 0, 0, "headphones")), "2 × value=headphones");
  EXPECT_EQ(summarize(name, value("COUNT", 0, 0, "")), "2 × value=");
}

TEST(EventSummary, OfAnotherEventHasItsName) { EXPECT_EQ(summarize("other", {}), "1 × other"); }

TEST(EventSummary, IsShortAndValid) {
  std::string text(1'000, '\xff');
  const std::string summary = summarize(text, {});
  EXPECT_LE(summary.size(), 200U);
  EXPECT_EQ(summary.substr(summary.size() - 6), "\uFFFD\u2026");
}

}  // namespace
}  // namespace TAMSA::otlp
