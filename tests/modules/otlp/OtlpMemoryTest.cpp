// The module when memory is short.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/modules/LoadedModule.h"
#include "tests/support/MemoryShortage.h"

namespace kiv_test {
namespace {

class OtlpMemory : public testing::Test {
 protected:
  OtlpMemory() {
    // Nothing listens there, and nothing is sent before the end.
    setenv("OTEL_EXPORTER_OTLP_ENDPOINT", "http://127.0.0.1:1", 1);
    setenv("OTEL_BLRP_SCHEDULE_DELAY", "3600000", 1);
    handler_ = module_.createHandler();
    event_ = module_.createEvent(*handler_, "event");
  }

  const LoadedModule module_{OTLP_MODULE};
  HandlerPtr handler_{nullptr, {nullptr}};
  EventPtr event_{nullptr, {nullptr}};
};

TEST_F(OtlpMemory, SufficesNormally) {
  event_->setInt64Field("field", 1);
  EXPECT_TRUE(handler_->reportEvent(event_.get(), 1));
}

TEST_F(OtlpMemory, ThatIsMissingGivesNoHandler) {
  EXPECT_EQ(withoutMemory([&] { return module_.createTelemetryHandler(9); }), nullptr);
}

TEST_F(OtlpMemory, ThatIsMissingGivesNoEvent) {
  EXPECT_EQ(withoutMemory([&] { return handler_->createEvent("event"); }), nullptr);
}

TEST_F(OtlpMemory, ThatIsMissingForAReportRefusesIt) {
  event_->setStringField("field", "longer than what a string holds within itself");
  EXPECT_FALSE(withoutMemory([&] { return handler_->reportEvent(event_.get(), 1); }));
  EXPECT_TRUE(handler_->reportEvent(event_.get(), 1));
}

TEST_F(OtlpMemory, ThatIsMissingForAFieldRefusesTheEvent) {
  {
    const MemoryShortage shortage;
    event_->setStringField("field", "longer than what a string holds within itself");
  }
  EXPECT_FALSE(handler_->reportEvent(event_.get(), 1));
}

}  // namespace
}  // namespace kiv_test
