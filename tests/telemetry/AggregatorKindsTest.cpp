// The public aggregator of each kind of report: keys and their order, methods, and the fields of
// the events.
#include <gmock/gmock.h>

#include <climits>
#include <functional>
#include <limits>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/RecorderTest.h"
#include "tests/support/StagingAggregator.h"
#include "tests/telemetry/AggregatorKinds.h"

namespace android::kiv {
namespace {

using kinds::ErrorCodes;
using kinds::Floats;
using kinds::Integers;
using kinds::Latencies;
using kinds::StreamEvents;
using kinds::Texts;
using kinds::Type;
using ::kiv::KivStreamType;
using ::kiv_test::RecorderTest;
using ::kiv_test::session;
using ::kiv_test::StagingAggregator;
using ::kiv_test::timeAt;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::UnorderedElementsAreArray;

constexpr auto kStart = 1'000'000LL;
constexpr auto kEnd = 6'000'000LL;

using Fields = std::vector<std::string>;

/// The fields that are staged for one report of a kind, each after the overload that it takes.
template <typename Kind>
Fields fieldsOf();

template <>
Fields fieldsOf<ErrorCodes>() {
  return {"string aggregation_method COUNT",
          "unsigned int aggregated_count 1",
          "string kiv_session_id s",
          "string kiv_class class",
          "string kiv_api api",
          "string kiv_error_code code",
          "long long severity 2"};
}

template <>
Fields fieldsOf<StreamEvents>() {
  return {"string aggregation_method COUNT",
          "unsigned int aggregated_count 1",
          "string kiv_session_id s",
          "string pcm_format AUDIO_FORMAT_PCM_FLOAT",
          "string stream_type KIV_STREAM_TYPE_OBJECT",
          "unsigned int sample_rate 48000",
          "unsigned int samples 960",
          "unsigned int channels 2",
          "bool interleaved 1",
          "string kiv_event start"};
}

template <>
Fields fieldsOf<Latencies>() {
  return {"string aggregation_method AVG", "unsigned int aggregated_count 1",
          "string kiv_session_id s"};
}

Fields fieldsOfValue(const std::string& method, const std::string& value_int,
                     const std::string& value_float, const std::string& value_string) {
  return {"string aggregation_method " + method,
          "unsigned int aggregated_count 1",
          "string kiv_session_id s",
          "string kiv_event_name name",
          "long long value_int " + value_int,
          "float value_float " + value_float,
          "string value_string " + value_string};
}

template <>
Fields fieldsOf<Integers>() {
  return fieldsOfValue("MIN", "-5000000000", "0", "");
}

template <>
Fields fieldsOf<Floats>() {
  return fieldsOfValue("MAX", "0", "-0.25", "");
}

template <>
Fields fieldsOf<Texts>() {
  return fieldsOfValue("COUNT", "0", "0", "value");
}

/// Reports of a kind in ascending order of their keys, which all differ. Where two neighbours
/// differ in several fields, the later fields have the opposite order of the first one.
template <typename Kind>
auto ascending();

template <>
auto ascending<ErrorCodes>() {
  const auto make = [](const char* id, const char* api, const char* kiv_class, const char* code,
                       int severity) {
    return KivErrorCodeEvent{session(id), api, kiv_class, code, KivErrorSeverity(severity)};
  };
  return std::vector{
      make("b", "", "z", "z", 9),         make("b", "Open", "z", "z", 9),
      make("b", "op", "z", "z", 9),       make("b", "open", "", "z", 9),
      make("b", "open", "b", "", 9),      make("b", "open", "b", "b", 0),
      make("b", "open", "b", "b", 2),     make("b", "open", "b", "b", 200),
      make("b", "open", "b", "ba", 0),    make("b", "open", "c", "a", 0),
      make("b", "\xC3\xB6", "a", "a", 0), make("c", "", "", "", 0),
  };
}

template <>
auto ascending<StreamEvents>() {
  const auto make = [](const char* id, uint32_t format, int type, uint32_t rate, uint32_t samples,
                       uint32_t channels, bool interleaved, const char* event) {
    return KivStreamEvent{session(id),
                          audio_format_t(format),
                          KivStreamType(type),
                          rate,
                          samples,
                          channels,
                          interleaved,
                          event};
  };
  constexpr uint32_t kHigh = 0x80000000;
  return std::vector{
      make("b", 2, -1, 9, 9, 9, true, "z"),
      make("b", 2, 2, 1, 9, 9, true, "z"),
      make("b", 2, 2, 2, 1, 9, true, "z"),
      make("b", 2, 2, 2, 2, 1, true, "z"),
      make("b", 2, 2, 2, 2, 2, false, "start"),
      make("b", 2, 2, 2, 2, 2, false, "stop"),
      make("b", 2, 2, 2, 2, 2, true, "a"),
      make("b", 2, 2, 2, 2, kHigh, false, "a"),
      make("b", 2, 2, 2, kHigh, 0, false, "a"),
      make("b", 2, 2, kHigh, 0, 0, false, "a"),
      make("b", 2, 3, 0, 0, 0, false, "a"),
      make("b", AUDIO_FORMAT_INVALID, -1, 0, 0, 0, false, "a"),
      make("c", 1, -1, 0, 0, 0, false, ""),
  };
}

/// The streams of the stream events. Here the event is not part of the key.
template <>
auto ascending<Latencies>() {
  std::vector<KivAudioLatencyEvent> reports;
  for (const KivStreamEvent& stream : ascending<StreamEvents>()) {
    if (stream.event == "stop") continue;
    reports.push_back({stream.session, stream.format, stream.streamType, stream.sampleRate,
                       stream.samples, stream.channels, stream.interleaved, milliseconds(1)});
  }
  return reports;
}

template <typename T>
std::vector<KivGenericEvent<T>> ascendingNames(T value) {
  return {{{session("b"), "", Type(9)}, value},    {{session("b"), "B", Type(9)}, value},
          {{session("b"), "a", Type(9)}, value},   {{session("b"), "ab", Type(9)}, value},
          {{session("b"), "b", Type::AVG}, value}, {{session("b"), "b", Type::MAX}, value},
          {{session("b"), "b", Type(200)}, value}, {{session("c"), "", Type::AVG}, value}};
}

template <>
auto ascending<Integers>() {
  return ascendingNames(1LL);
}

template <>
auto ascending<Floats>() {
  return ascendingNames(1.0F);
}

template <>
auto ascending<Texts>() {
  std::vector<KivGenericEvent<std::string>> reports;
  for (KivGenericEvent<std::string> report : ascendingNames(std::string())) {
    for (const char* value : {"B", "b", "ba"}) {
      report.value = value;
      reports.push_back(report);
    }
  }
  return reports;
}

/// The fields of a recorded event but for its window, each after the type that it was set as.
Fields sentFields(const ::kiv_test::Event& event) {
  Fields fields;
  const auto append = [&](const char* type, const auto& set) {
    for (const auto& [name, value] : set) {
      std::ostringstream text;
      text << type << " " << name << " " << value;
      if (name.find("_time_since_epoch") == std::string::npos) fields.push_back(text.str());
    }
  };
  append("int", event.ints);
  append("float", event.floats);
  append("string", event.strings);
  return fields;
}

/// Every integer is sent as one of 64 bits, whichever overload it was staged with.
Fields asSent(Fields staged) {
  for (std::string& field : staged) {
    for (const std::string type : {"unsigned int", "long long", "bool"}) {
      if (field.rfind(type, 0) == 0) field.replace(0, type.size(), "int");
    }
  }
  return staged;
}

template <typename Kind>
class AggregatorKindsTest : public RecorderTest {
 protected:
  using Report = decltype(Kind::event());

  /// Submits these reports, in this order, as one window.
  void submit(const std::vector<Report>& reports) {
    auto aggregator = kinds::make<Kind>();
    for (const Report& report : reports) aggregator.add(report);
    aggregator.flush(timeAt(kStart), timeAt(kEnd));
  }
};

TYPED_TEST_SUITE(AggregatorKindsTest, kinds::All, kinds::Names);

TYPED_TEST(AggregatorKindsTest, SendsExactlyTheFieldsOfItsKind) {
  this->submit({TypeParam::event()});
  ASSERT_EQ(this->events().size(), 1u);
  EXPECT_EQ(this->events()[0].name, TypeParam::kName);
  EXPECT_THAT(this->ints("start_time_since_epoch"), ElementsAre(kStart / 1000));
  EXPECT_THAT(this->ints("end_time_since_epoch"), ElementsAre(kEnd / 1000));
  EXPECT_THAT(sentFields(this->events()[0]),
              UnorderedElementsAreArray(asSent(fieldsOf<TypeParam>())));
}

TYPED_TEST(AggregatorKindsTest, StagesItsFieldsInOrderEachAsItsType) {
  using Staging = StagingAggregator<typename TypeParam::Aggregator>;
  Staging staging = kinds::make<TypeParam, Staging>();
  staging.add(TypeParam::event());
  staging.flush(timeAt(kStart), timeAt(kEnd));
  Fields expected{"long long start_time_since_epoch 1000", "long long end_time_since_epoch 6000"};
  for (const std::string& field : fieldsOf<TypeParam>()) expected.push_back(field);
  EXPECT_EQ(staging.staged, expected);
}

TYPED_TEST(AggregatorKindsTest, CountsEqualReportsInOneEvent) {
  this->submit(std::vector(5, TypeParam::event()));
  EXPECT_THAT(this->ints("aggregated_count"), ElementsAre(5));
}

TYPED_TEST(AggregatorKindsTest, OrdersKeysByTheirFieldsInTurn) {
  auto aggregator = kinds::make<TypeParam>();
  using Key = decltype(TypeParam::key());
  const std::less<Key> less;
  std::vector<Key> keys;
  for (const auto& report : ascending<TypeParam>()) keys.push_back(aggregator.getKey(report));
  for (size_t i = 0; i < keys.size(); ++i) {
    for (size_t j = 0; j < keys.size(); ++j) {
      EXPECT_EQ(less(keys[i], keys[j]), i < j) << i << " and " << j;
    }
  }
}

TYPED_TEST(AggregatorKindsTest, SendsOneEventPerKeyInKeyOrder) {
  std::vector<decltype(TypeParam::event())> reports;
  std::vector<int64_t> counts;
  // The number of its reports tells which key an event is of.
  for (const auto& report : ascending<TypeParam>()) {
    counts.push_back(static_cast<int64_t>(counts.size()) + 1);
    reports.insert(reports.begin(), counts.size(), report);
  }
  this->submit(reports);
  EXPECT_THAT(this->ints("aggregated_count"), ElementsAreArray(counts));
}

TYPED_TEST(AggregatorKindsTest, NamesTheSessionWithItsParents) {
  auto report = TypeParam::event();
  auto& id = [&report]() -> KivSessionId& {
    if constexpr (std::is_same_v<TypeParam, ErrorCodes>) {
      return report.session_id;
    } else {
      return report.session;
    }
  }();
  id = session("s", session("root"));
  this->submit({report});
  EXPECT_THAT(this->strings("kiv_session_id"), ElementsAre("root.s"));
}

TYPED_TEST(AggregatorKindsTest, ReportsTheMethodThatItOrTheReportWasGiven) {
  auto aggregator = kinds::make<TypeParam>(Type::SUM);
  const auto report = TypeParam::event();
  const bool own = kinds::kHasOwnMethod<TypeParam>;
  EXPECT_EQ(aggregator.getAggregationType(report), own ? Type::SUM : TypeParam::kType);
  aggregator.add(report);
  aggregator.flush(timeAt(kStart), timeAt(kEnd));
  const std::vector<std::string> named = this->strings("aggregation_method");
  EXPECT_THAT(named, ElementsAre(own ? "SUM" : TypeParam::kType == Type::MIN ? "MIN" : "MAX"));
}

/// Shows the table of an aggregator.
template <typename Kind>
struct Open : Kind::Aggregator {
  using Kind::Aggregator::aggregated_data_;
  using Kind::Aggregator::Aggregator;
};

TEST(CountedReports, HaveTheirCountAsValueToo) {
  Open<ErrorCodes> aggregator(Type::COUNT);
  for (int i = 0; i < 3; ++i) aggregator.add(ErrorCodes::event());
  EXPECT_EQ(aggregator.aggregated_data_.at(ErrorCodes::key()).value, 3.0F);
  EXPECT_EQ(aggregator.aggregated_data_.at(ErrorCodes::key()).count, 3u);
}

using ErrorCodeAggregatorTest = AggregatorKindsTest<ErrorCodes>;

TEST_F(ErrorCodeAggregatorTest, SendsEmptyTextsAsTheyAre) {
  submit({{session("s"), "", "", "", KivErrorSeverity::INFO}});
  ASSERT_EQ(events().size(), 1u);
  for (const char* field : {"kiv_api", "kiv_class", "kiv_error_code"}) {
    ASSERT_EQ(events()[0].strings.count(field), 1u);
    EXPECT_THAT(strings(field), ElementsAre(""));
  }
}

TEST_F(ErrorCodeAggregatorTest, SendsSeveritiesAsUnsignedBytes) {
  KivErrorCodeEvent report = ErrorCodes::event();
  report.severity = KivErrorSeverity(200);
  submit({report});
  EXPECT_THAT(ints("severity"), ElementsAre(200));
}

using StreamEventAggregatorTest = AggregatorKindsTest<StreamEvents>;

TEST_F(StreamEventAggregatorTest, SendsAnUnknownTypeAsNumberAndAnUnknownFormatAsEmptyText) {
  KivStreamEvent report = StreamEvents::event();
  report.streamType = KivStreamType(7);
  report.format = audio_format_t(0x7FFFFFFF);
  submit({report});
  EXPECT_THAT(strings("stream_type"), ElementsAre("7"));
  EXPECT_THAT(strings("pcm_format"), ElementsAre(""));
}

TEST_F(StreamEventAggregatorTest, SendsNumbersFromTheUpperHalfAsNegative) {
  KivStreamEvent report = StreamEvents::event();
  report.sampleRate = 2147483648U;
  report.samples = 4294967295U;
  report.channels = 4294967294U;
  report.interleaved = false;
  submit({report});
  EXPECT_THAT(ints("sample_rate"), ElementsAre(INT32_MIN));
  EXPECT_THAT(ints("samples"), ElementsAre(-1));
  EXPECT_THAT(ints("channels"), ElementsAre(-2));
  EXPECT_THAT(ints("interleaved"), ElementsAre(0));
}

class AudioLatencyAggregatorTest : public AggregatorKindsTest<Latencies> {
 protected:
  static KivAudioLatencyEvent sample(long long latency) {
    KivAudioLatencyEvent report = Latencies::event();
    report.latency = milliseconds(latency);
    return report;
  }

  static float fold(Type method, std::initializer_list<long long> latencies) {
    Open<Latencies> aggregator(method);
    for (const long long latency : latencies) aggregator.add(sample(latency));
    // The latency is not part of the key.
    EXPECT_EQ(aggregator.aggregated_data_.size(), 1u);
    return aggregator.aggregated_data_.begin()->second.value;
  }
};

TEST_F(AudioLatencyAggregatorTest, FoldsTheSamplesOfOneStreamByItsMethod) {
  EXPECT_EQ(fold(Type::AVG, {10, 20, 60}), 30.0F);
  EXPECT_EQ(fold(Type::MAX, {10, 60, 20}), 60.0F);
}

TEST_F(AudioLatencyAggregatorTest, FoldsTheLow32BitsOfALatency) {
  EXPECT_EQ(fold(Type::AVG, {5'000'000'000}), 705032704.0F);
}

TEST_F(AudioLatencyAggregatorTest, TakesANegativeLatencyForALargeOne) {
  EXPECT_EQ(KivAudioLatencyAggregator(Type::AVG).getValue(sample(-1)), 4294967295U);
}

class GenericEventAggregatorTest : public RecorderTest {
 protected:
  template <typename Kind, typename Value>
  void submit(Type method, std::initializer_list<Value> values) {
    auto aggregator = kinds::make<Kind>();
    for (const Value& value : values) aggregator.add({{session("s"), "n", method}, value});
    aggregator.flush(timeAt(kStart), timeAt(kEnd));
  }

  /// The integer that these are folded into.
  int64_t fold(Type method, std::initializer_list<long long> values) {
    recorder.reset();
    submit<Integers>(method, values);
    return ints("value_int").at(0);
  }
};

TEST_F(GenericEventAggregatorTest, FoldsIntegersByTheMethodOfTheReport) {
  EXPECT_EQ(fold(Type::SUM, {1, 2}), 3);
  EXPECT_EQ(fold(Type::MAX, {5, 9, 2}), 9);
  EXPECT_EQ(fold(Type::MIN, {5, 9, 2}), 2);
  EXPECT_EQ(fold(Type::COUNT, {5, 9, 2}), 3);
}

TEST_F(GenericEventAggregatorTest, TruncatesAnAverageOfIntegersTowardZero) {
  EXPECT_EQ(fold(Type::AVG, {1, 2}), 1);
  EXPECT_EQ(fold(Type::AVG, {-1, -2}), -1);
}

TEST_F(GenericEventAggregatorTest, LargeIntegersLosePrecision) {
  EXPECT_EQ(fold(Type::SUM, {9007199254740993}), 9007199254740992);
}

TEST_F(GenericEventAggregatorTest, SumsBeyondTheIntegersSaturate) {
  EXPECT_EQ(fold(Type::SUM, {LLONG_MAX, LLONG_MAX}), LLONG_MAX);
  EXPECT_EQ(fold(Type::SUM, {LLONG_MIN, LLONG_MIN}), LLONG_MIN);
}

TEST_F(GenericEventAggregatorTest, NamesAnUnknownMethodUnknownAndLeavesItsValue) {
  EXPECT_EQ(fold(Type(77), {1}), 0);
  EXPECT_THAT(strings("aggregation_method"), ElementsAre("UNKNOWN"));
}

TEST_F(GenericEventAggregatorTest, FoldsFloatsByTheMethodOfTheReport) {
  submit<Floats>(Type::MIN, {0.5F, 0.25F});
  ASSERT_EQ(events().size(), 1u);
  EXPECT_EQ(events()[0].floats.at("value_float"), 0.25F);
  EXPECT_THAT(ints("value_int"), ElementsAre(0));
}

TEST_F(GenericEventAggregatorTest, SendsAnInfiniteFloatAsItIs) {
  submit<Floats>(Type::SUM, {std::numeric_limits<float>::infinity()});
  ASSERT_EQ(events().size(), 1u);
  EXPECT_EQ(events()[0].floats.at("value_float"), std::numeric_limits<float>::infinity());
}

TEST_F(GenericEventAggregatorTest, CountsEqualTexts) {
  submit<Texts>(Type::COUNT, {"b", "a", "a"});
  EXPECT_THAT(strings("value_string"), ElementsAre("a", "b"));
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(2, 1));
  EXPECT_THAT(strings("aggregation_method"), ElementsAre("COUNT", "COUNT"));
}

TEST_F(GenericEventAggregatorTest, TextsOfTwoMethodsStayApartUnderOneReportedMethod) {
  KivGenericStringEventAggregator aggregator(Type::COUNT);
  for (const Type method : {Type::SUM, Type::AVG, Type::AVG}) {
    aggregator.add({{session("s"), "n", method}, "a"});
  }
  aggregator.flush(timeAt(kStart), timeAt(kEnd));
  EXPECT_THAT(strings("aggregation_method"), ElementsAre("COUNT", "COUNT"));
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(2, 1));
}

}  // namespace
}  // namespace android::kiv
