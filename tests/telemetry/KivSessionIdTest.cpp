#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <regex>
#include <set>
#include <thread>
#include <utility>

#include "kiv/KivSessionId.h"
#include "tests/support/TestSessions.h"

namespace android::kiv {
namespace {

using ::kiv_test::session;

KivSessionId makeRoot() { return KivSessionId(nullptr); }

KivSessionId makeChild(const KivSessionId& parent) {
  return KivSessionId(std::make_shared<KivSessionId>(parent));
}

TEST(KivSessionId, IsARandomUuid) {
  const std::string text = makeRoot().toString();
  EXPECT_TRUE(std::regex_match(
      text, std::regex("[0-9a-fA-F]{8}-[0-9a-fA-F]{4}-4[0-9a-fA-F]{3}-[0-9a-fA-F]{4}-"
                       "[0-9a-fA-F]{12}")))
      << text;
}

TEST(KivSessionId, Has36CharactersAndHyphensInFourPlaces) {
  const std::string text = makeRoot().toString();
  ASSERT_EQ(text.size(), 36u);
  for (const size_t position : {9u, 14u, 19u, 24u}) EXPECT_EQ(text[position - 1], '-');
  EXPECT_EQ(std::count(text.begin(), text.end(), '-'), 4);
}

TEST(KivSessionId, DiffersEachTime) {
  std::set<std::string> texts;
  for (int i = 0; i < 100; ++i) texts.insert(makeRoot().toString());
  EXPECT_EQ(texts.size(), 100u);
}

TEST(KivSessionId, ARootsTextIsItsIdentifier) {
  EXPECT_EQ(makeRoot().toString().find('.'), std::string::npos);
}

TEST(KivSessionId, AChildsTextFollowsItsParents) {
  const KivSessionId root = makeRoot();
  const std::string text = makeChild(root).toString();
  EXPECT_EQ(text.substr(0, 37), root.toString() + ".");
  EXPECT_EQ(text.size(), 36u + 1 + 36);
}

TEST(KivSessionId, AGrandchildsTextStartsAtTheRoot) {
  const KivSessionId root = makeRoot();
  const KivSessionId child = makeChild(root);
  const std::string text = makeChild(child).toString();
  EXPECT_EQ(text.rfind(child.toString() + ".", 0), 0u);
  EXPECT_EQ(std::count(text.begin(), text.end(), '.'), 2);
  EXPECT_NE(text.back(), '.');
}

TEST(KivSessionId, ACopyComparesEqualBothWays) {
  const KivSessionId original = makeChild(makeRoot());
  const KivSessionId copy = original;  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_FALSE(original < copy);
  EXPECT_FALSE(copy < original);
  EXPECT_EQ(original.compare(copy), 0);
  EXPECT_EQ(copy.toString(), original.toString());
}

TEST(KivSessionId, ACopySharesItsParent) {
  auto parent = std::make_shared<KivSessionId>(nullptr);
  const KivSessionId original(parent);
  const long owners = parent.use_count();
  const KivSessionId copy = original;  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_EQ(parent.use_count(), owners + 1);
}

TEST(KivSessionId, AssignmentTakesTextAndParent) {
  const KivSessionId child = makeChild(makeRoot());
  KivSessionId assigned = makeRoot();
  assigned = child;
  EXPECT_EQ(assigned.toString(), child.toString());
}

TEST(KivSessionIdOrder, ComparesOwnTextsFirst) {
  const KivSessionId smaller = session("a", session("z"));
  const KivSessionId larger = session("b", session("a"));
  EXPECT_TRUE(smaller < larger);
  EXPECT_FALSE(larger < smaller);
}

TEST(KivSessionIdOrder, APrefixComesFirst) {
  EXPECT_TRUE(session("ab") < session("abc"));
  EXPECT_FALSE(session("abc") < session("ab"));
}

TEST(KivSessionIdOrder, ComparesBytesAsUnsigned) {
  EXPECT_TRUE(session("a") < session("\xC3\xA9"));
  EXPECT_FALSE(session("\xC3\xA9") < session("a"));
}

TEST(KivSessionIdOrder, ASessionWithoutAParentComesFirst) {
  const KivSessionId orphan = session("a");
  const KivSessionId child = session("a", session("p"));
  EXPECT_TRUE(orphan < child);
  EXPECT_FALSE(child < orphan);
}

TEST(KivSessionIdOrder, EqualTextsAreOrderedByTheirParents) {
  const KivSessionId first = session("a", session("p"));
  const KivSessionId second = session("a", session("q"));
  EXPECT_TRUE(first < second);
  EXPECT_FALSE(second < first);
}

TEST(KivSessionIdOrder, EqualParentsAreOrderedByTheirParents) {
  const KivSessionId first = session("a", session("p", session("x")));
  const KivSessionId second = session("a", session("p", session("y")));
  EXPECT_TRUE(first < second);
  EXPECT_FALSE(second < first);
}

TEST(KivSessionIdOrder, EqualChainsOfDifferentObjectsAreEqual) {
  const KivSessionId first = session("a", session("p"));
  const KivSessionId second = session("a", session("p"));
  EXPECT_FALSE(first < second);
  EXPECT_FALSE(second < first);
}

TEST(KivSessionId, KeepsItsChainForAThreadThatFindsItByAWeakPointer) {
  for (int i = 0; i < 2000; ++i) {
    auto parent = std::make_shared<KivSessionId>(std::make_shared<KivSessionId>(session("root")));
    const std::string text = parent->toString();
    const std::weak_ptr<KivSessionId> found = parent;
    auto child = std::make_unique<KivSessionId>(std::move(parent));
    std::atomic<bool> begins{false};
    std::thread finder([&] {
      begins = true;
      while (const auto one = found.lock()) EXPECT_EQ(one->toString(), text);
    });
    while (!begins) std::this_thread::yield();
    child.reset();
    finder.join();
  }
}

}  // namespace
}  // namespace android::kiv
