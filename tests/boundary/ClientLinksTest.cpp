// Clients' code that needs the library's symbols in ways of its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <type_traits>

#include "kiv/TelemetryLogger.h"

namespace android::kiv {
namespace {

using testing::ElementsAre;
using TextEvent = KivGenericEvent<std::string>;

TEST(ClientLinks, AClientsSetOfTextEventsIsOrderedByTheirValues) {
  const KivSessionId session(nullptr);
  const KivGenericEventKey key{session, "n", NumericAggregationType::COUNT};
  std::set<TextEvent> events{TextEvent{key, "b"}, TextEvent{key, "a"}, TextEvent{key, "b"}};
  std::vector<std::string> values;
  for (const TextEvent& event : events) values.push_back(event.value);
  EXPECT_THAT(values, ElementsAre("a", "b"));
}

TEST(ClientLinks, AnEnvironmentIsCopiedAndMoved) {
  const TelemetryEnv original{std::shared_ptr<TelemetryLogger>()};
  TelemetryEnv copy = original;
  const TelemetryEnv moved = std::move(copy);
  EXPECT_EQ(moved.getLogger(), nullptr);
  static_assert(std::is_nothrow_move_constructible_v<TelemetryEnv>);
}

TEST(ClientLinks, AClientsStatusIsNamed) {
  EXPECT_EQ(KivStatus(TIMED_OUT).toString(), "TIMED_OUT");
}

}  // namespace
}  // namespace android::kiv
