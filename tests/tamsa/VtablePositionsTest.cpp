// The positions in the virtual tables of the module's interfaces, which no compiler checks against
// the module. Both directions are called through raw tables: our calls into a hand-made table, and
// hand-made calls into the table of an implementation of ours.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "modules/recording/Recorder.h"
#include "tamsa/UnifiedTelemetry.h"
#include "tests/support/VtableEntry.h"

namespace TAMSA::UnifiedTelemetry {
namespace {

using ::kiv_test::callEntry;
using v7::ITelemetryEvent;
using v9::ITelemetryHandler;

/// An object of a closed module, as its caller sees it: a pointer to a table of functions.
struct RawObject {
  void* const* table;

  // Arguments of the last call.
  int position = 0;
  std::string name{};
  std::string text{};
  float number = 0.0F;
  int64_t integer = 0;
  void* event = nullptr;
  int32_t flag = 0;

  // Result of the next call.
  bool accepts = true;
};

[[noreturn]] void unusedEntry() { std::abort(); }

template <typename Function>
void* entry(Function* function) {
  return reinterpret_cast<void*>(function);
}

void* const kUnused = entry(unusedEntry);

ITelemetryEvent* rawCreateEvent(RawObject* self, const char* name) {
  self->position = 4;
  self->name = name;
  return reinterpret_cast<ITelemetryEvent*>(&self->integer);
}

bool rawReportEvent(RawObject* self, void* event, int32_t flag) {
  self->position = 10;
  self->event = event;
  self->flag = flag;
  return self->accepts;
}

void rawSetString(RawObject* self, const char* name, const char* value) {
  self->position = 5;
  self->name = name;
  self->text = value;
}

void rawSetFloat(RawObject* self, const char* name, float value) {
  self->position = 7;
  self->name = name;
  self->number = value;
}

void rawSetInt64(RawObject* self, const char* name, int64_t value) {
  self->position = 9;
  self->name = name;
  self->integer = value;
}

void* const kHandlerTable[] = {kUnused, kUnused, kUnused, entry(rawCreateEvent), kUnused, kUnused,
                               kUnused, kUnused, kUnused, entry(rawReportEvent)};

void* const kEventTable[] = {
    kUnused, kUnused,           kUnused, kUnused, entry(rawSetString), kUnused, entry(rawSetFloat),
    kUnused, entry(rawSetInt64)};

class CallsIntoModuleTest : public testing::Test {
 protected:
  RawObject raw_handler{kHandlerTable};
  RawObject raw_event{kEventTable};
  ITelemetryHandler& handler = *reinterpret_cast<ITelemetryHandler*>(&raw_handler);
  ITelemetryEvent& event = *reinterpret_cast<ITelemetryEvent*>(&raw_event);
};

TEST_F(CallsIntoModuleTest, CreateEventIsTheFourthEntry) {
  EXPECT_EQ(handler.createEvent("name"), reinterpret_cast<ITelemetryEvent*>(&raw_handler.integer));
  EXPECT_EQ(raw_handler.position, 4);
  EXPECT_EQ(raw_handler.name, "name");
}

TEST_F(CallsIntoModuleTest, ReportEventIsTheTenthEntry) {
  EXPECT_TRUE(handler.reportEvent(&event, 1));
  EXPECT_EQ(raw_handler.position, 10);
  EXPECT_EQ(raw_handler.event, &raw_event);
  EXPECT_EQ(raw_handler.flag, 1);
}

TEST_F(CallsIntoModuleTest, ReportEventBringsBackThatAnEventWasRefused) {
  raw_handler.accepts = false;
  EXPECT_FALSE(handler.reportEvent(&event, 1));
}

TEST_F(CallsIntoModuleTest, SetStringFieldIsTheFifthEntry) {
  event.setStringField("field", "value");
  EXPECT_EQ(raw_event.position, 5);
  EXPECT_EQ(raw_event.name, "field");
  EXPECT_EQ(raw_event.text, "value");
}

TEST_F(CallsIntoModuleTest, SetFloatFieldIsTheSeventhEntry) {
  event.setFloatField("field", 1.5F);
  EXPECT_EQ(raw_event.position, 7);
  EXPECT_EQ(raw_event.name, "field");
  EXPECT_EQ(raw_event.number, 1.5F);
}

TEST_F(CallsIntoModuleTest, SetInt64FieldIsTheNinthEntry) {
  event.setInt64Field("field", INT64_MIN);
  EXPECT_EQ(raw_event.position, 9);
  EXPECT_EQ(raw_event.name, "field");
  EXPECT_EQ(raw_event.integer, INT64_MIN);
}

class CallsIntoOurImplementationTest : public testing::Test {
 protected:
  CallsIntoOurImplementationTest() { recorder.reset(); }
  ~CallsIntoOurImplementationTest() override {
    destroy("destroyTelemetryEvent", 7, event);
    destroy("destroyTelemetryHandler", 9, handler);
  }

  static void destroy(const char* function, int64_t version, void* object) {
    reinterpret_cast<void (*)(int64_t, void*)>(dlsym(RTLD_DEFAULT, function))(version, object);
  }

  recording::Event report() {
    EXPECT_TRUE(callEntry<bool(void*, int32_t)>(handler, 10, event, 1));
    return recorder.events().at(0);
  }

  recording::Recorder& recorder = recording::Recorder::getInstance();
  void* const handler =
      reinterpret_cast<void* (*)(int64_t)>(dlsym(RTLD_DEFAULT, "createTelemetryHandler"))(9);
  void* const event = callEntry<void*(const char*)>(handler, 4, "name");
};

TEST_F(CallsIntoOurImplementationTest, TheFourthEntryCreatesAnEvent) {
  EXPECT_EQ(report().name, "name");
}

TEST_F(CallsIntoOurImplementationTest, TheTenthEntryReportsAnEvent) { EXPECT_EQ(report().flag, 1); }

TEST_F(CallsIntoOurImplementationTest, TheTenthEntryTellsThatAnEventWasRefused) {
  recorder.refuseReport(1);
  EXPECT_FALSE(callEntry<bool(void*, int32_t)>(handler, 10, event, 1));
}

TEST_F(CallsIntoOurImplementationTest, TheFifthEntrySetsAString) {
  callEntry<void(const char*, const char*)>(event, 5, "field", "value");
  EXPECT_EQ(report().strings.at("field"), "value");
}

TEST_F(CallsIntoOurImplementationTest, TheSeventhEntrySetsAFloat) {
  callEntry<void(const char*, float)>(event, 7, "field", 1.5F);
  EXPECT_EQ(report().floats.at("field"), 1.5F);
}

TEST_F(CallsIntoOurImplementationTest, TheNinthEntrySetsAnInteger) {
  callEntry<void(const char*, int64_t)>(event, 9, "field", INT64_MIN);
  EXPECT_EQ(report().ints.at("field"), INT64_MIN);
}

}  // namespace
}  // namespace TAMSA::UnifiedTelemetry
