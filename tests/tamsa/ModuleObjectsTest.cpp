// Handlers and events of a module, and how the library owns them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "modules/recording/Recorder.h"
#include "tamsa/Ptr.h"
#include "tamsa/UnifiedTelemetry.h"

namespace TAMSA::UnifiedTelemetry {
namespace {

using testing::ElementsAre;

class ModuleObjectsTest : public testing::Test {
 protected:
  ModuleObjectsTest() { recorder.reset(); }
  ~ModuleObjectsTest() override { recorder.reset(); }

  recording::Recorder& recorder = recording::Recorder::getInstance();
};

TEST_F(ModuleObjectsTest, AHandlerIsCreatedAndDestroyedInVersionNine) {
  v9::createTelemetryHandlerPtr().toShared().reset();
  EXPECT_THAT(recorder.calls(),
              ElementsAre("createTelemetryHandler(9)", "destroyTelemetryHandler(9)"));
}

TEST_F(ModuleObjectsTest, EachRequestMakesAHandlerOfItsOwn) {
  const auto first = v9::createTelemetryHandlerPtr().toShared();
  const auto second = v9::createTelemetryHandlerPtr().toShared();
  EXPECT_NE(first, nullptr);
  EXPECT_NE(first, second);
}

TEST_F(ModuleObjectsTest, AHandlerOfAnotherVersionIsNotGiven) {
  using Create = Symbol::Cache<Symbol::kCreateTelemetryHandler, void*(int64_t)>;
  EXPECT_EQ(Create::getCached()(8), nullptr);
}

TEST_F(ModuleObjectsTest, AModuleWithoutAHandlerGivesAnEmptyOne) {
  recorder.withholdHandlers(1);
  EXPECT_FALSE(v9::createTelemetryHandlerPtr());
  EXPECT_TRUE(v9::createTelemetryHandlerPtr());
}

TEST_F(ModuleObjectsTest, AnEventIsDestroyedInVersionSeven) {
  const auto handler = v9::createTelemetryHandlerPtr().toShared();
  recorder.reset();
  v7::ITelemetryEvent::rawToPtr(handler->createEvent("name")).toShared().reset();
  EXPECT_THAT(recorder.calls(), ElementsAre("createEvent(name)", "destroyTelemetryEvent(7)"));
}

TEST_F(ModuleObjectsTest, NoEventIsOwnedWhereNoneWasCreated) {
  EXPECT_FALSE(v7::ITelemetryEvent::rawToPtr(nullptr));
  EXPECT_THAT(recorder.calls(), ElementsAre());
}

TEST_F(ModuleObjectsTest, AReportedEventCarriesItsTypedFields) {
  const auto handler = v9::createTelemetryHandlerPtr().toShared();
  const auto event = v7::ITelemetryEvent::rawToPtr(handler->createEvent("name")).toShared();
  event->setInt64Field("int", -5'000'000'000);
  event->setFloatField("float", 0.25F);
  event->setStringField("string", "text");
  EXPECT_TRUE(handler->reportEvent(event.get(), 1));

  ASSERT_EQ(recorder.events().size(), 1u);
  const recording::Event reported = recorder.events().front();
  EXPECT_EQ(reported.name, "name");
  EXPECT_EQ(reported.ints.at("int"), -5'000'000'000);
  EXPECT_EQ(reported.floats.at("float"), 0.25F);
  EXPECT_EQ(reported.strings.at("string"), "text");
  EXPECT_EQ(reported.flag, 1);
}

}  // namespace
}  // namespace TAMSA::UnifiedTelemetry
