// The library's own aggregators: each does what the public one of its kind does.
#include <gmock/gmock.h>

#include <algorithm>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "instrumentation/AllocationCount.h"
#include "kiv/KivAudioLatencyAggregator.h"
#include "kiv/KivErrorCodeAggregator.h"
#include "kiv/KivGenericEventAggregator.h"
#include "kiv/KivStreamEventAggregator.h"
#include "kiv/TelemetrySwitch.h"
#include "services/kiv/telemetry/aggregation/TableAggregator.h"
#include "tests/support/FreshProcess.h"
#include "tests/support/RecorderTest.h"
#include "tests/support/TestSessions.h"

namespace android::kiv::internal {
namespace {

using ::kiv_test::AllocationCount;
using ::kiv_test::RecorderTest;
using ::kiv_test::session;
using ::kiv_test::timeAt;
using testing::IsEmpty;
using testing::SizeIs;
using Type = NumericAggregationType;

/// Values that are close to each other or at an end of their range.
class Values {
 public:
  KivSessionId anySession() {
    const KivSessionId root = session("r");
    return pick({root, session("s"), session("s", root), session("s", session("q")),
                 session("s", session("s", root)), session("sess"), session("")});
  }

  std::string text() {
    return pick<std::string>({"", "a", "ab", "b", "B", std::string("a\0b", 3),
                              std::string("a\0", 2), "a\x01", "\xC3\xB6", std::string(100, 'a')});
  }

  uint32_t number() { return pick({0U, 1U, 48000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}); }

  long long wide() {
    return pick<long long>(
        {0LL, 1LL, -1LL, 4294967295LL, 5'000'000'000LL, 9007199254740993LL, INT64_MAX});
  }

  float real() { return pick({0.0F, 0.5F, -0.25F, 3e38F, -1e-30F}); }

  Type method() { return pick({Type::AVG, Type::SUM, Type::MAX, Type::MIN, Type::COUNT, Type(9)}); }

  template <typename T>
  T pick(std::initializer_list<T> from) {
    return from.begin()[random_() % from.size()];
  }

 private:
  std::mt19937 random_{7};
};

template <typename Event>
Event anyEvent(Values& values);

template <>
KivErrorCodeEvent anyEvent(Values& values) {
  return {values.anySession(), values.text(), values.text(), values.text(),
          KivErrorSeverity(values.pick({0, 3, 127, 128, 255}))};
}

template <>
KivAudioLatencyEvent anyEvent(Values& values) {
  return {values.anySession(),
          audio_format_t(values.pick<uint32_t>(
              {AUDIO_FORMAT_PCM_16_BIT, AUDIO_FORMAT_PCM_FLOAT, 0x7FFFFFFF, 0xFFFFFFFF})),
          ::kiv::KivStreamType(values.pick({-128, -1, 0, 1, 5, 7, 127})),
          values.number(),
          values.number(),
          values.number(),
          values.pick({false, true}),
          std::chrono::milliseconds(values.wide())};
}

template <>
KivStreamEvent anyEvent(Values& values) {
  const auto stream = anyEvent<KivAudioLatencyEvent>(values);
  return {stream.session, stream.format,   stream.streamType,  stream.sampleRate,
          stream.samples, stream.channels, stream.interleaved, values.text()};
}

KivGenericEventKey anyKey(Values& values) {
  return {values.anySession(), values.text(), values.method()};
}

template <>
KivGenericEvent<long long> anyEvent(Values& values) {
  return {anyKey(values), values.wide()};
}

template <>
KivGenericEvent<float> anyEvent(Values& values) {
  return {anyKey(values), values.real()};
}

template <>
KivGenericEvent<std::string> anyEvent(Values& values) {
  return {anyKey(values), values.text()};
}

struct ErrorCodes {
  using Event = KivErrorCodeEvent;
  KivErrorCodeAggregator aggregator{Type::COUNT};
};
struct StreamEvents {
  using Event = KivStreamEvent;
  KivStreamEventAggregator aggregator{Type::COUNT};
};
struct AudioLatencies {
  using Event = KivAudioLatencyEvent;
  KivAudioLatencyAggregator aggregator{Type::AVG};
};
struct Integers {
  using Event = KivGenericEvent<long long>;
  KivGenericNumericEventAggregator<long long> aggregator;
};
struct Floats {
  using Event = KivGenericEvent<float>;
  KivGenericNumericEventAggregator<float> aggregator;
};
struct Texts {
  using Event = KivGenericEvent<std::string>;
  KivGenericStringEventAggregator aggregator{Type::COUNT};
};

/// All of an event but its place in the recording.
std::vector<std::string> contents(const std::vector<kiv_test::Event>& events) {
  std::vector<std::string> all;
  for (const kiv_test::Event& event : events) {
    std::string text = event.name + " " + std::to_string(event.flag);
    for (const auto& [name, value] : event.ints) text += " " + name + "=" + std::to_string(value);
    for (const auto& [name, value] : event.floats) {
      text += " " + name + "=" + std::to_string(value) + "f";
    }
    for (const auto& [name, value] : event.strings) text += " " + name + "='" + value + "'";
    all.push_back(text);
  }
  return all;
}

template <typename Kind>
class EveryTableAggregatorTest : public RecorderTest {
 protected:
  using Event = typename Kind::Event;

  typename Kind::Event any() { return anyEvent<typename Kind::Event>(values); }

  template <typename Aggregator>
  std::vector<kiv_test::Event> flush(Aggregator& aggregator) {
    recorder.reset();
    aggregator.flush(timeAt(1'700'000'000'123'999), timeAt(1'700'000'005'123'999));
    return events();
  }

  Values values;
  Kind open;
  std::shared_ptr<KivAggregator<Event>> own = TableAggregator<Event>::make();
};

using Kinds = testing::Types<ErrorCodes, StreamEvents, AudioLatencies, Integers, Floats, Texts>;
TYPED_TEST_SUITE(EveryTableAggregatorTest, Kinds, );

TYPED_TEST(EveryTableAggregatorTest, SendsWhatThePublicOneSends) {
  for (int i = 0; i < 3000; ++i) {
    const auto event = this->any();
    this->open.aggregator.add(event);
    this->own->add(event);
  }
  const auto expected = contents(this->flush(this->open.aggregator));
  ASSERT_THAT(expected, SizeIs(testing::Gt(100u)));
  EXPECT_EQ(contents(this->flush(*this->own)), expected);
}

TYPED_TEST(EveryTableAggregatorTest, SetsEveryFieldOnceIntegersThenFloatsThenStrings) {
  this->own->add(this->any());
  const auto sent = this->flush(*this->own);
  ASSERT_EQ(sent.size(), 1u);
  EXPECT_EQ(sent[0].set.size(),
            sent[0].ints.size() + sent[0].floats.size() + sent[0].strings.size());
  std::string groups;
  for (const std::string& name : sent[0].set) {
    groups += sent[0].ints.count(name) != 0 ? 'i' : sent[0].floats.count(name) != 0 ? 'f' : 's';
  }
  EXPECT_TRUE(std::is_sorted(groups.begin(), groups.end(), [](char left, char right) {
    return std::string("ifs").find(left) < std::string("ifs").find(right);
  })) << groups;
}

TYPED_TEST(EveryTableAggregatorTest, StartsEveryWindowEmpty) {
  // Few enough for the window's memory to be reused, and too many for that.
  for (const int reports : {3, 300}) {
    std::vector<typename TypeParam::Event> window;
    for (int i = 0; i < reports; ++i) window.push_back(this->any());
    for (const auto& event : window) this->own->add(event);
    const auto first = contents(this->flush(*this->own));
    EXPECT_THAT(this->flush(*this->own), IsEmpty());
    for (const auto& event : window) this->own->add(event);
    EXPECT_EQ(contents(this->flush(*this->own)), first);
  }
}

TYPED_TEST(EveryTableAggregatorTest, ResetForgetsWithoutSending) {
  this->own->add(this->any());
  this->own->reset();
  EXPECT_THAT(this->flush(*this->own), IsEmpty());
}

class TableAggregatorTest : public RecorderTest {
 protected:
  using Event = KivGenericEvent<long long>;

  void add(const std::string& name) { aggregator->add({{session("s"), name, Type::SUM}, 1}); }
  void flush() { aggregator->flush(timeAt(1'000'000), timeAt(6'000'000)); }

  std::shared_ptr<KivAggregator<Event>> aggregator = TableAggregator<Event>::make();
};

TEST_F(TableAggregatorTest, WithTelemetryOffNothingIsSentAndTheWindowIsForgotten) {
  KIV_EXPECT_IN_FRESH_PROCESS({
    disableTelemetryForTesting();
    const auto parent = std::make_shared<KivSessionId>(nullptr);
    aggregator->add({{KivSessionId(parent), "n", Type::SUM}, 1});
    flush();
    EXPECT_THAT(recorder.calls(), IsEmpty());
    EXPECT_EQ(parent.use_count(), 1);
  });
}

TEST_F(TableAggregatorTest, KeepsTheMemoryOfASmallWindowOnly) {
  const auto allocations = [this] {
    const AllocationCount count;
    add("n");
    return count.count();
  };
  // The first table of a process draws the secret of its hashes.
  add("n");
  aggregator->reset();
  const size_t fresh = allocations();
  flush();
  EXPECT_LT(allocations(), fresh);
  for (int i = 0; i < 1000; ++i) add(std::to_string(i));
  flush();
  EXPECT_EQ(allocations(), fresh);
}

}  // namespace
}  // namespace android::kiv::internal
