#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "services/kiv/telemetry/aggregation/AggregateTable.h"
#include "services/kiv/telemetry/aggregation/TextHash.h"
#include "tests/support/FreshProcess.h"
#include "tests/support/TestSessions.h"

namespace android::kiv::internal {
namespace {

using ::kiv_test::session;
using testing::ElementsAre;
using testing::Pair;

using Texts = std::vector<std::string>;

using Numbers = std::vector<uint32_t>;

AggregationKey makeKey(const KivSessionId& session_id, const Texts& texts,
                       const Numbers& numbers = {}) {
  AggregationKey key{};
  key.session = &session_id;
  std::copy(numbers.begin(), numbers.end(), key.numbers.begin());
  std::copy(texts.begin(), texts.end(), key.texts.begin());
  return key;
}

class AggregateTableTest : public testing::Test {
 protected:
  using Aggregate = AggregateTable::Aggregate;

  Aggregate& find(const std::string& first, const std::string& second = "") {
    return table.findOrInsert(makeKey(home, {first, second}));
  }

  /// The first texts of all keys, in order.
  Texts firstTexts() {
    Texts all;
    table.visitInOrder([&](const AggregationKey& key, const auto& /*aggregate*/) {
      all.emplace_back(key.texts[0]);
    });
    return all;
  }

  /// The first text and the count of every entry, in order.
  std::vector<std::pair<std::string, uint32_t>> entries() {
    std::vector<std::pair<std::string, uint32_t>> all;
    table.visitInOrder([&](const AggregationKey& key, const auto& aggregate) {
      all.emplace_back(key.texts[0], aggregate.count);
    });
    return all;
  }

  std::vector<uint32_t> counts() { return countsIn(table); }

  static std::vector<uint32_t> countsIn(AggregateTable& table) {
    std::vector<uint32_t> all;
    table.visitInOrder([&](const AggregationKey& /*key*/, const auto& aggregate) {
      all.push_back(aggregate.count);
    });
    return all;
  }

  const KivSessionId home = session("home");
  AggregateTable table{{0, 2, 2}};
};

TEST_F(AggregateTableTest, ANewAggregateIsZero) {
  EXPECT_EQ(find("a").value, 0.0F);
  EXPECT_EQ(find("a").count, 0u);
}

TEST_F(AggregateTableTest, FindsWhatItKnows) {
  find("a", "x").count = 1;
  find("a", "y").count = 2;
  EXPECT_EQ(find("a", "x").count, 1u);
  EXPECT_EQ(find("a", "y").count, 2u);
  EXPECT_EQ(counts().size(), 2u);
}

TEST_F(AggregateTableTest, KeepsTextsOfItsOwn) {
  KivSessionId passing = session("passing");
  std::string text = "before";
  table.findOrInsert(makeKey(passing, {text, ""})).count = 1;
  text = "behind";
  passing = session("by");
  find("another");
  EXPECT_EQ(table.findOrInsert(makeKey(session("passing"), {"before", ""})).count, 1u);
  EXPECT_THAT(firstTexts(), ElementsAre("another", "before"));
}

TEST_F(AggregateTableTest, TellsTextsApartByWhereTheyEnd) {
  find("ab", "").count = 1;
  find("a", "b").count = 2;
  find("", "ab").count = 3;
  EXPECT_THAT(counts(), ElementsAre(3, 2, 1));
}

TEST_F(AggregateTableTest, TellsTextsApartBehindANul) {
  const std::string nul(1, '\0');
  find("a" + nul + "b").count = 4;
  find("a", "b").count = 3;
  find("a" + nul).count = 2;
  find("a").count = 1;
  find("a\x01").count = 5;
  EXPECT_THAT(counts(), ElementsAre(1, 3, 2, 4, 5));
}

TEST_F(AggregateTableTest, ANulBeforeTheEndIsComparedTextByText) {
  const std::string nul(1, '\0');
  // Taken as a whole, "a", NUL, "b" would come before "a", NUL, "c", whatever ends where.
  find("a", "c").count = 1;
  find("a" + nul + "b", "").count = 2;
  EXPECT_THAT(counts(), ElementsAre(1, 2));
}

TEST_F(AggregateTableTest, OrdersBytesAsUnsigned) {
  find("\xC3\xB6");
  find("z");
  find("Z");
  find("zz");
  EXPECT_THAT(firstTexts(), ElementsAre("Z", "z", "zz", "\xC3\xB6"));
}

TEST_F(AggregateTableTest, OrdersBySessionBeforeTexts) {
  table.findOrInsert(makeKey(session("t"), {"a", ""}));
  table.findOrInsert(makeKey(session("s"), {"b", ""}));
  table.findOrInsert(makeKey(session("s"), {"c", ""}));
  EXPECT_THAT(firstTexts(), ElementsAre("b", "c", "a"));
}

TEST_F(AggregateTableTest, EqualSessionsAreOneObject) {
  const KivSessionId parent = session("p");
  const auto shared = std::make_shared<KivSessionId>(parent);
  const KivSessionId one = session("s", shared);
  const KivSessionId same = session("s", std::make_shared<KivSessionId>(parent));
  const KivSessionId other = session("s");
  table.findOrInsert(makeKey(one, {"a", ""}));
  table.findOrInsert(makeKey(other, {"a", ""}));
  table.findOrInsert(makeKey(same, {"b", ""}));
  std::vector<const KivSessionId*> sessions;
  table.visitInOrder([&](const AggregationKey& key, const auto& /*aggregate*/) {
    sessions.push_back(key.session);
  });
  ASSERT_EQ(sessions.size(), 3u);
  EXPECT_NE(sessions[0], sessions[1]);
  EXPECT_EQ(sessions[1], sessions[2]);
  EXPECT_EQ(sessions[1]->toString(), "p.s");
}

TEST_F(AggregateTableTest, TextsHaveANulBehindThem) {
  find("ab", "c");
  table.visitInOrder([](const AggregationKey& key, const auto& /*aggregate*/) {
    EXPECT_STREQ(key.texts[0].data(), "ab");
    EXPECT_STREQ(key.texts[1].data(), "c");
  });
}

TEST_F(AggregateTableTest, KeysOfEqualHashesAreKeptApart) {
  for (int round = 0; round < 2; ++round) {
    for (const char* text : {"ab", "a", "b"})
      ++table.findOrInsert(makeKey(home, {text, ""}), 42).count;
  }
  EXPECT_THAT(entries(), ElementsAre(Pair("a", 2), Pair("ab", 2), Pair("b", 2)));
}

TEST_F(AggregateTableTest, AHashThatEndsAtTheLastSlotGoesOnAtTheFirst) {
  constexpr uint32_t kLastOfAnySize = 0xFFFFFFFF;
  for (int round = 0; round < 2; ++round) {
    for (const char* text : {"a", "b"}) {
      ++table.findOrInsert(makeKey(home, {text, ""}), kLastOfAnySize).count;
    }
  }
  EXPECT_THAT(counts(), ElementsAre(2, 2));
}

TEST_F(AggregateTableTest, HoldsManyKeysInOrderWhateverTheirs) {
  Texts texts;
  for (int i = 0; i < 5000; ++i) texts.push_back(std::to_string(i * 7919 % 5003));
  std::shuffle(texts.begin(), texts.end(), std::mt19937(1));
  for (int round = 0; round < 2; ++round) {
    for (const std::string& text : texts) ++find(text).count;
  }
  std::sort(texts.begin(), texts.end());
  std::vector<std::pair<std::string, uint32_t>> expected;
  for (const std::string& text : texts) expected.emplace_back(text, 2);
  EXPECT_EQ(entries(), expected);
}

TEST_F(AggregateTableTest, HoldsTextsOfAnySize) {
  const std::string large(1 << 20, 'x');
  find(large).count = 1;
  find("small").count = 2;
  find(large + "y").count = 3;
  EXPECT_EQ(find(large).count, 1u);
  EXPECT_THAT(counts(), ElementsAre(2, 1, 3));
}

TEST_F(AggregateTableTest, AggregatesAreAligned) {
  for (size_t size = 0; size < 2 * alignof(void*); ++size) {
    const auto address = reinterpret_cast<uintptr_t>(&find(std::string(size, 'a')));
    EXPECT_EQ(address % alignof(void*), 0u) << "after a text of " << size;
  }
}

TEST_F(AggregateTableTest, ClearingForgetsAllAndItIsUsableAgain) {
  for (int i = 0; i < 5; ++i) find(std::to_string(i)).count = 1;
  table.clear();
  EXPECT_TRUE(table.empty());
  EXPECT_EQ(find("3").count, 0u);
  EXPECT_THAT(firstTexts(), ElementsAre("3"));
}

TEST_F(AggregateTableTest, ClearingReleasesSessions) {
  const auto parent = std::make_shared<KivSessionId>(nullptr);
  table.findOrInsert(makeKey(KivSessionId(parent), {"a", ""}));
  EXPECT_EQ(parent.use_count(), 2);
  table.clear();
  EXPECT_EQ(parent.use_count(), 1);
}

TEST_F(AggregateTableTest, IsSmallWithAFewKeysOnly) {
  find("a");
  EXPECT_TRUE(table.isSmall());
  for (int i = 0; i < 100; ++i) find(std::to_string(i));
  EXPECT_FALSE(table.isSmall());
}

TEST_F(AggregateTableTest, FindingKnownKeysNeverMakesItLarge) {
  for (int round = 0; round < 2; ++round) {
    for (const char* name : {"a", "b", "c", "d", "e", "f"}) find(name);
  }
  EXPECT_TRUE(table.isSmall());
}

TEST_F(AggregateTableTest, StaysSmallHoweverOftenItIsCleared) {
  for (int window = 0; window < 10; ++window) {
    for (const char* name : {"a", "b", "c"}) find(name);
    table.clear();
  }
  EXPECT_TRUE(table.isSmall());
}

TEST_F(AggregateTableTest, TellsNumbersApart) {
  AggregateTable numbered({2, 1, 0});
  numbered.findOrInsert(makeKey(home, {"a"}, {1, 2})).count = 1;
  numbered.findOrInsert(makeKey(home, {"a"}, {1, 3})).count = 2;
  EXPECT_EQ(numbered.findOrInsert(makeKey(home, {"a"}, {1, 2})).count, 1u);
  EXPECT_THAT(countsIn(numbered), ElementsAre(1, 2));
}

TEST_F(AggregateTableTest, OrdersNumbersAsUnsigned) {
  AggregateTable numbered({1, 0, 0});
  uint32_t count = 0;
  for (const uint32_t number : {0U, 0xFFFFFFFFU, 0x80000000U, 256U, 0x7FFFFFFFU, 255U}) {
    numbered.findOrInsert(makeKey(home, {}, {number})).count = ++count;
  }
  EXPECT_THAT(countsIn(numbered), ElementsAre(1, 6, 4, 5, 3, 2));
}

TEST_F(AggregateTableTest, OrdersLeadingTextsBeforeNumbersAndTheRestBehind) {
  AggregateTable mixed({1, 2, 1});
  mixed.findOrInsert(makeKey(home, {"b", "a"}, {1})).count = 4;
  mixed.findOrInsert(makeKey(home, {"a", "b"}, {2})).count = 3;
  mixed.findOrInsert(makeKey(home, {"a", "c"}, {1})).count = 2;
  mixed.findOrInsert(makeKey(home, {"a", "b"}, {1})).count = 1;
  EXPECT_THAT(countsIn(mixed), ElementsAre(1, 2, 3, 4));
}

/// Counts those of 1000 texts that share a slot of an index of 2048. The median over several
/// seeds: a few seeds spread some of the texts less evenly.
size_t collisions(const std::function<std::string(int)>& text) {
  std::mt19937_64 random(1);
  std::array<size_t, 15> all;
  for (size_t& shared : all) {
    const HashSeed seed{static_cast<size_t>(random()), static_cast<size_t>(random())};
    std::set<uint32_t> slots;
    for (int i = 0; i < 1000; ++i) {
      TextHash hash(seed);
      hash.add(text(i));
      slots.insert(hash.get() % 2048);
    }
    shared = 1000 - slots.size();
  }
  std::sort(all.begin(), all.end());
  return all[all.size() / 2];
}

// Random hashes would share some 209.
TEST(TextHashTest, SpreadsSimilarTexts) {
  const std::string padding(30, 'x');
  EXPECT_LT(collisions([](int i) { return std::to_string(i); }), 300u);
  EXPECT_LT(collisions([&](int i) { return std::to_string(i) + padding; }), 300u);
  EXPECT_LT(collisions([&](int i) { return padding + std::to_string(i); }), 300u);
  EXPECT_LT(collisions([](int i) { return std::string(static_cast<size_t>(i), 'x'); }), 300u);
  EXPECT_LT(collisions([](int i) { return std::string(1, char(i % 256)) + char(i / 256); }), 300u);
}

// The parts of a text that are hashed depend on its size.
TEST(TextHashTest, SpreadsTextsOfEverySizeThatDifferAtTheirEnd) {
  for (size_t size = 4; size <= 40; ++size) {
    EXPECT_LT(collisions([size](int i) {
                const std::string end = std::to_string(i);
                return std::string(size - end.size(), 'x') + end;
              }),
              300u)
        << "size " << size;
  }
}

// One factor of the first multiplication would be 0 for all of these if it were not keyed.
TEST(TextHashTest, SpreadsTextsThatCancelTheirSize) {
  EXPECT_LT(collisions([](int i) {
              size_t words[2] = {0, static_cast<size_t>(i)};
              words[0] -= sizeof words;
              return std::string(reinterpret_cast<const char*>(words), sizeof words);
            }),
            300u);
}

TEST(AggregateTableHash, DependsOnEveryFieldOfTheKey) {
  const AggregateTable table({3, 2, 1});
  const KivSessionId home = session("s");
  const std::set<uint32_t> hashes{table.hashOf(makeKey(home, {"", ""}, {0, 0, 0})),
                                  table.hashOf(makeKey(session("t"), {"", ""}, {0, 0, 0})),
                                  table.hashOf(makeKey(home, {"a", ""}, {0, 0, 0})),
                                  table.hashOf(makeKey(home, {"", "a"}, {0, 0, 0})),
                                  table.hashOf(makeKey(home, {"", ""}, {1, 0, 0})),
                                  table.hashOf(makeKey(home, {"", ""}, {0, 1, 0})),
                                  table.hashOf(makeKey(home, {"", ""}, {0, 0, 1}))};
  EXPECT_EQ(hashes.size(), 7u);
}

/// Fails if `value` is the same in a new process.
void expectToDifferInAFreshProcess(size_t value) {
  constexpr char kVariable[] = "KIV_TEST_VALUE";
  const std::string text = std::to_string(value);
  // The new process runs this line, too, and leaves what it inherited.
  setenv(kVariable, text.c_str(), 0);
  KIV_EXPECT_IN_FRESH_PROCESS(EXPECT_NE(text, std::getenv(kVariable)));
  unsetenv(kVariable);
}

TEST(AggregateTableHash, DiffersBetweenProcesses) {
  const AggregateTable table({0, 1, 1});
  expectToDifferInAFreshProcess(table.hashOf(makeKey(session("s"), {"a"})));
}

TEST(TextHashTest, IsKeyedWithARandomMultiplier) {
  expectToDifferInAFreshProcess(processHashSeed().multiplier);
}

TEST(TextHashTest, StartsInARandomState) { expectToDifferInAFreshProcess(processHashSeed().state); }

}  // namespace
}  // namespace android::kiv::internal
