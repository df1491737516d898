// The base of all public aggregators: folding reports, staging fields and submitting events.
#include <gmock/gmock.h>

#include <algorithm>
#include <climits>
#include <functional>
#include <string>
#include <vector>

#include "kiv/KivAudioLatencyAggregator.h"
#include "kiv/KivErrorCodeAggregator.h"
#include "kiv/KivGenericEventAggregator.h"
#include "kiv/KivStreamEventAggregator.h"
#include "kiv/TelemetrySwitch.h"
#include "tests/support/FreshProcess.h"
#include "tests/support/RecorderTest.h"
#include "tests/support/TestSessions.h"

namespace android::kiv {
namespace {

using ::kiv_test::RecorderTest;
using ::kiv_test::session;
using ::kiv_test::timeAt;
using testing::ElementsAre;
using testing::IsEmpty;
using Type = NumericAggregationType;

constexpr auto kStart = 1'000'000LL;
constexpr auto kEnd = 6'000'000LL;

/// An aggregator of numbers with access to its table. A test can replace the fields that it stages.
class ProbeAggregator : public KivGenericNumericEventAggregator<long long> {
 public:
  void populateMetricValuesForEntry(Entries::iterator entry) override {
    if (stage) {
      stage(*this, entry->first.name);
    } else {
      KivGenericNumericEventAggregator::populateMetricValuesForEntry(entry);
    }
  }

  void reset() override {
    ++resets;
    KivGenericNumericEventAggregator::reset();
  }

  using KivGenericNumericEventAggregator::aggregated_data_;
  using KivGenericNumericEventAggregator::submitEvents;

  std::function<void(ProbeAggregator&, const std::string& name)> stage;
  int resets = 0;
};

class BaseAggregatorTest : public RecorderTest {
 protected:
  void add(const std::string& name, long long value = 1, Type type = Type::SUM) {
    aggregator.add({{session("s"), name, type}, value});
  }

  void flush() { aggregator.flush(timeAt(kStart), timeAt(kEnd)); }

  float onlyValue() const { return aggregator.aggregated_data_.begin()->second.value; }
  uint32_t onlyCount() const { return aggregator.aggregated_data_.begin()->second.count; }

  ProbeAggregator aggregator;
};

TEST_F(BaseAggregatorTest, FoldsSamplesOfOneKeyIntoOneRecord) {
  add("n", 1);
  add("n", 2);
  EXPECT_EQ(aggregator.aggregated_data_.size(), 1u);
  EXPECT_EQ(onlyValue(), 3.0F);
  EXPECT_EQ(onlyCount(), 2u);
}

TEST_F(BaseAggregatorTest, KeepsDistinctKeysApart) {
  add("a");
  add("b");
  EXPECT_EQ(aggregator.aggregated_data_.size(), 2u);
}

TEST_F(BaseAggregatorTest, FoldsLargeIntegersAsFloats) {
  add("n", 16'777'217);
  EXPECT_EQ(onlyValue(), 16'777'216.0F);
}

/// Records the virtual operations that are called for a report.
class AskedAggregator : public ProbeAggregator {
 public:
  KivGenericEventKey getKey(const KivGenericEvent<long long>& event) override {
    asked.emplace_back("key");
    return ProbeAggregator::getKey(event);
  }
  long long getValue(const KivGenericEvent<long long>& event) override {
    asked.emplace_back("value of " + std::to_string(aggregated_data_.size()));
    return ProbeAggregator::getValue(event);
  }
  Type getAggregationType(const KivGenericEvent<long long>& event) override {
    asked.emplace_back("method");
    return ProbeAggregator::getAggregationType(event);
  }

  std::vector<std::string> asked;
};

TEST_F(BaseAggregatorTest, CallsGetKeyThenGetValueThenGetAggregationType) {
  AskedAggregator asked;
  asked.add({{session("s"), "n", Type::SUM}, 1});
  EXPECT_THAT(asked.asked, ElementsAre("key", "value of 1", "method"));
}

TEST_F(BaseAggregatorTest, AnUnknownMethodOnlyCounts) {
  add("n", 5, Type(9));
  add("n", 6, Type(9));
  EXPECT_EQ(onlyValue(), 0.0F);
  EXPECT_EQ(onlyCount(), 2u);
}

TEST_F(BaseAggregatorTest, FlushEmptiesTheTable) {
  add("n");
  flush();
  EXPECT_THAT(aggregator.aggregated_data_, IsEmpty());
}

TEST_F(BaseAggregatorTest, FlushResetsThroughTheVirtualOperation) {
  flush();
  EXPECT_EQ(aggregator.resets, 1);
}

TEST_F(BaseAggregatorTest, SubmitEventsKeepsTheTable) {
  add("n");
  aggregator.submitEvents(timeAt(kStart), timeAt(kEnd));
  EXPECT_EQ(aggregator.aggregated_data_.size(), 1u);
}

TEST_F(BaseAggregatorTest, SubmitEventsFoldsReportsMadeMeanwhileIntoTheTable) {
  recorder.onReport([this](const kiv_test::Event& event) {
    if (event.strings.at("kiv_event_name") != "b") return;
    for (const char* nested : {"a", "b", "c"}) add(nested, 10, Type::AVG);
  });
  for (const char* name : {"a", "b"}) add(name, 20, Type::AVG);
  aggregator.submitEvents(timeAt(kStart), timeAt(kEnd));
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(1, 1));
  recorder.reset();
  flush();
  EXPECT_THAT(strings("kiv_event_name"), ElementsAre("a", "b", "c"));
  EXPECT_THAT(ints("aggregated_count"), ElementsAre(2, 2, 1));
  EXPECT_THAT(ints("value_int"), ElementsAre(15, 15, 10));
}

TEST_F(BaseAggregatorTest, StagesEveryTypeAsItsOwn) {
  aggregator.stage = [](ProbeAggregator& probe, const std::string& /*name*/) {
    probe.populateTelemetryField("int", -5);
    probe.populateTelemetryField("long", LLONG_MIN);
    probe.populateTelemetryField("float", 0.5F);
    probe.populateTelemetryField("string", std::string("text"));
    probe.populateTelemetryField("yes", true);
    probe.populateTelemetryField("no", false);
  };
  add("n");
  flush();
  ASSERT_EQ(events().size(), 1u);
  EXPECT_EQ(events()[0].ints.at("int"), -5);
  EXPECT_EQ(events()[0].ints.at("long"), LLONG_MIN);
  EXPECT_EQ(events()[0].floats.at("float"), 0.5F);
  EXPECT_EQ(events()[0].strings.at("string"), "text");
  EXPECT_EQ(events()[0].ints.at("yes"), 1);
  EXPECT_EQ(events()[0].ints.at("no"), 0);
}

TEST_F(BaseAggregatorTest, ALiteralIsStagedAsAText) {
  aggregator.stage = [](ProbeAggregator& probe, const std::string& /*name*/) {
    probe.populateTelemetryField("build", "release-7");
    char buffer[] = "buffer";
    probe.populateTelemetryField("buffer", static_cast<char*>(buffer));
  };
  add("n");
  flush();
  ASSERT_EQ(events().size(), 1u);
  EXPECT_EQ(events()[0].strings.at("build"), "release-7");
  EXPECT_EQ(events()[0].strings.at("buffer"), "buffer");
  EXPECT_EQ(events()[0].ints.count("build"), 0u);
}

TEST_F(BaseAggregatorTest, SendsUnsignedValuesFromTheUpperHalfAsNegative) {
  aggregator.stage = [](ProbeAggregator& probe, const std::string& /*name*/) {
    probe.populateTelemetryField("all ones", 4294967295U);
    probe.populateTelemetryField("half", 2147483648U);
    probe.populateTelemetryField("below", 2147483647U);
  };
  add("n");
  flush();
  EXPECT_THAT(ints("all ones"), ElementsAre(-1));
  EXPECT_THAT(ints("half"), ElementsAre(INT32_MIN));
  EXPECT_THAT(ints("below"), ElementsAre(INT32_MAX));
}

class IntOverride : public ProbeAggregator {
 public:
  using ProbeAggregator::populateTelemetryField;

  void populateTelemetryField(std::string name, int value) override {
    ProbeAggregator::populateTelemetryField("seen " + name, value);
  }
};

TEST_F(BaseAggregatorTest, UnsignedValuesAreStagedThroughTheVirtualOverloadForInts) {
  IntOverride override;
  override.stage = [](ProbeAggregator& probe, const std::string& /*name*/) {
    probe.populateTelemetryField("field", 7U);
  };
  override.add({{session("s"), "n", Type::SUM}, 1});
  override.flush(timeAt(kStart), timeAt(kEnd));
  EXPECT_THAT(ints("seen field"), ElementsAre(7));
}

TEST_F(BaseAggregatorTest, TheLastValueStagedForANameIsSent) {
  aggregator.stage = [](ProbeAggregator& probe, const std::string& /*name*/) {
    probe.populateTelemetryField("field", 1);
    probe.populateTelemetryField("field", 2LL);
  };
  add("n");
  flush();
  EXPECT_THAT(ints("field"), ElementsAre(2));
}

TEST_F(BaseAggregatorTest, ANameStagedWithTwoTypesIsSentTwice) {
  aggregator.stage = [](ProbeAggregator& probe, const std::string& /*name*/) {
    probe.populateTelemetryField("field", 1);
    probe.populateTelemetryField("field", std::string("one"));
  };
  add("n");
  flush();
  EXPECT_THAT(ints("field"), ElementsAre(1));
  EXPECT_THAT(strings("field"), ElementsAre("one"));
}

TEST_F(BaseAggregatorTest, FieldsOfOneEventAreNotSentWithTheNext) {
  aggregator.stage = [](ProbeAggregator& probe, const std::string& name) {
    if (name != "a") return;
    probe.populateTelemetryField("only in a", 1);
    probe.populateTelemetryField("only in a", 1.0F);
    probe.populateTelemetryField("only in a", std::string("x"));
  };
  add("a");
  add("b");
  flush();
  ASSERT_EQ(events().size(), 2u);
  EXPECT_EQ(events()[1].ints.count("only in a"), 0u);
  EXPECT_THAT(events()[1].floats, IsEmpty());
  EXPECT_THAT(events()[1].strings, IsEmpty());
}

TEST_F(BaseAggregatorTest, SetsIntegersThenFloatsThenStrings) {
  aggregator.stage = [](ProbeAggregator& probe, const std::string& /*name*/) {
    probe.populateTelemetryField("string 1", std::string());
    probe.populateTelemetryField("float 1", 0.0F);
    probe.populateTelemetryField("int 1", 0);
    probe.populateTelemetryField("string 2", std::string());
    probe.populateTelemetryField("float 2", 0.0F);
  };
  add("n");
  flush();
  ASSERT_EQ(events().size(), 1u);
  std::string groups;
  const std::vector<std::string> set = events()[0].set;
  for (const std::string& name : set) {
    groups += name.rfind("string", 0) == 0 ? 's' : name.rfind("float", 0) == 0 ? 'f' : 'i';
  }
  EXPECT_EQ(groups, "iiiffss");
}

TEST_F(BaseAggregatorTest, WithTelemetryOffNothingIsSentAndTheTableIsEmptied) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    disableTelemetryForTesting();
    add("n");
    flush();
    EXPECT_THAT(recorder.calls(), IsEmpty());
    EXPECT_THAT(aggregator.aggregated_data_, IsEmpty());
  });
}

TEST_F(BaseAggregatorTest, WithTelemetryOffFieldsAreStillStaged) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    disableTelemetryForTesting();
    int staged = 0;
    aggregator.stage = [&](ProbeAggregator& /*probe*/, const std::string& /*name*/) { ++staged; };
    add("a");
    add("b");
    flush();
    EXPECT_EQ(staged, 2);
  });
}

TEST_F(BaseAggregatorTest, FieldsAreStagedForAnEntryOfTheTable) {
  aggregator.stage = [](ProbeAggregator& probe, const std::string& name) {
    EXPECT_EQ(probe.aggregated_data_.count({session("s"), name, Type::SUM}), 1u);
    EXPECT_EQ(probe.aggregated_data_.size(), 2u);
  };
  add("a");
  add("b");
  flush();
  EXPECT_EQ(events().size(), 2u);
}

TEST_F(BaseAggregatorTest, FieldsAreStagedBeforeTheModuleIsCalled) {
  size_t calls_before = 99;
  aggregator.stage = [&](ProbeAggregator& /*probe*/, const std::string& /*name*/) {
    calls_before = recorder.calls().size();
  };
  add("n");
  flush();
  EXPECT_EQ(calls_before, 0u);
}

TEST(EventNames, AreFixed) {
  EXPECT_STREQ(KivErrorCodeBaseAggregator::kKivErrorCodeEvent, "wexo_kiv_error_code");
  EXPECT_STREQ(KivStreamEventBaseAggregator::kKivStreamEvent, "wexo_kiv_stream_event");
  EXPECT_STREQ(KivAudioLatencyBaseAggregator::kKivAudioLatencyEvent, "");
  EXPECT_STREQ(KivGenericInt64BaseAggregator::kKivGenericEvent, "wexo_kiv_generic");
  EXPECT_STREQ(KivGenericFloatBaseAggregator::kKivGenericEvent, "wexo_kiv_generic");
  EXPECT_STREQ(KivGenericStringBaseAggregator::kKivGenericEvent, "wexo_kiv_generic");
}

}  // namespace
}  // namespace android::kiv
