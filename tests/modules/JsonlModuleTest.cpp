// Exports, lines and destinations of the module.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "tests/modules/JsonlFixture.h"
#include "tests/support/RunProgram.h"

namespace kiv_test {
namespace {

namespace fs = std::filesystem;

class JsonlEntryPoints : public JsonlTest {};
class JsonlLine : public JsonlTest {};
class JsonlPath : public JsonlTest {};

TEST_F(JsonlEntryPoints, AreAllThatIsExported) {
  std::istringstream symbols(outputOf(NM " -D --defined-only '" JSONL_MODULE "'"));
  std::vector<std::string> names;
  for (std::string address, type, name; symbols >> address >> type >> name;) names.push_back(name);
  EXPECT_THAT(names,
              testing::UnorderedElementsAre("createTelemetryHandler", "destroyTelemetryHandler",
                                            "destroyTelemetryEvent"));
}

TEST_F(JsonlEntryPoints, GiveNoHandlerOfAnotherVersion) {
  for (const int64_t version : {int64_t{0}, int64_t{8}, int64_t{10}, (int64_t{1} << 32) + 9}) {
    EXPECT_EQ(module_.createTelemetryHandler(version), nullptr) << version;
  }
}

TEST_F(JsonlEntryPoints, DestroyNothingOfAnotherVersion) {
  const auto handler = createHandler();
  const auto event = createEvent(*handler, "kept");
  module_.destroyTelemetryEvent(9, event.get());
  module_.destroyTelemetryHandler(7, handler.get());
  EXPECT_TRUE(handler->reportEvent(event.get(), 1));
  EXPECT_EQ(contents(), line("kept"));
}

TEST_F(JsonlEntryPoints, IgnoreNull) {
  EXPECT_TRUE(Child([this] {
                module_.destroyTelemetryHandler(9, nullptr);
                module_.destroyTelemetryEvent(7, nullptr);
                return true;
              }).succeeded());
}

TEST_F(JsonlEntryPoints, RefuseNullAsAnEvent) {
  EXPECT_FALSE(createHandler()->reportEvent(nullptr, 1));
  EXPECT_FALSE(fs::exists(path_));
}

TEST_F(JsonlEntryPoints, ServeAfterTheStaticDestructorsOfTheModule) {
  EXPECT_EQ(kiv_test::runProgram({JSONL_LATE_REPORTER}).exit_code, 0);
  EXPECT_EQ(contents(), "{\"event\":\"late\",\"text\":\"said at exit\"}\n");
}

TEST_F(JsonlLine, HasTheFieldsSortedByNameAfterTheEventName) {
  const auto handler = createHandler();
  const auto event = createEvent(*handler, "named");
  event->setStringField("zeta", "last");
  event->setFloatField("middle", 2.5F);
  event->setInt64Field("alpha", 1);
  event->setInt64Field("Upper", 2);
  EXPECT_TRUE(handler->reportEvent(event.get(), 1));
  EXPECT_EQ(contents(),
            "{\"event\":\"named\",\"Upper\":2,\"alpha\":1,\"middle\":2.5,\"zeta\":\"last\"}\n");
}

TEST_F(JsonlLine, HasAnEmptyEventName) {
  EXPECT_TRUE(report(""));
  EXPECT_EQ(contents(), "{\"event\":\"\"}\n");
}

TEST_F(JsonlLine, HasTheLeastAndTheGreatestInteger) {
  const auto handler = createHandler();
  const auto event = createEvent(*handler, "");
  event->setInt64Field("greatest", std::numeric_limits<int64_t>::max());
  event->setInt64Field("least", std::numeric_limits<int64_t>::min());
  EXPECT_TRUE(handler->reportEvent(event.get(), 1));
  EXPECT_EQ(contents(),
            "{\"event\":\"\",\"greatest\":9223372036854775807,\"least\":-9223372036854775808}\n");
}

TEST_F(JsonlLine, HasTheShortestNumberThatReadsBackAsTheFloat) {
  const auto handler = createHandler();
  const auto event = createEvent(*handler, "");
  event->setFloatField("a", 0.1F);
  event->setFloatField("b", 1.0F / 3.0F);
  event->setFloatField("c", 1.0F);
  event->setFloatField("d", -std::numeric_limits<float>::max());
  event->setFloatField("e", std::numeric_limits<float>::denorm_min());
  EXPECT_TRUE(handler->reportEvent(event.get(), 1));
  EXPECT_EQ(contents(),
            "{\"event\":\"\",\"a\":0.1,\"b\":0.33333334,\"c\":1.0,\"d\":-3.4028235e+38,"
            "\"e\":1e-45}\n");
}

TEST_F(JsonlLine, HasNullForFloatsThatAreNotFinite) {
  const auto handler = createHandler();
  const auto event = createEvent(*handler, "");
  event->setFloatField("a", std::numeric_limits<float>::quiet_NaN());
  event->setFloatField("b", std::numeric_limits<float>::infinity());
  event->setFloatField("c", -std::numeric_limits<float>::infinity());
  EXPECT_TRUE(handler->reportEvent(event.get(), 1));
  EXPECT_EQ(contents(), "{\"event\":\"\",\"a\":null,\"b\":null,\"c\":null}\n");
}

TEST_F(JsonlLine, EscapesWhatWouldEndAStringOrTheLine) {
  const auto handler = createHandler();
  const auto event = createEvent(*handler, "\"quoted\"");
  event->setStringField("line\nbreak", "back\\slash\r\n\x01");
  EXPECT_TRUE(handler->reportEvent(event.get(), 1));
  EXPECT_EQ(contents(),
            "{\"event\":\"\\\"quoted\\\"\",\"line\\nbreak\":\"back\\\\slash\\r\\n\\u0001\"}\n");
}

TEST_F(JsonlLine, KeepsUtf8AndReplacesOtherBytes) {
  const auto handler = createHandler();
  const auto event = createEvent(*handler, "bad\xff");
  event->setStringField("cut\xc3", "\xf0\x9f\x8e\xb5 \xed\xa0\x80 \x80");
  EXPECT_TRUE(handler->reportEvent(event.get(), 1));
  EXPECT_EQ(contents(),
            "{\"event\":\"bad\xef\xbf\xbd\",\"cut\xef\xbf\xbd\":\"\xf0\x9f\x8e\xb5 "
            "\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd \xef\xbf\xbd\"}\n");
}

TEST_F(JsonlLine, IsReadByAnotherParser) {
  std::string every_byte;
  for (int byte = 1; byte < 256; ++byte) every_byte.push_back(static_cast<char>(byte));
  // Surrogates, overlong, cut short, and beyond the last code point.
  const std::string texts[] = {
      "",         every_byte,         "%n%s",           "\xED\xA0\x80",           "\xC0\x80",
      "\xE2\x82", "\xF4\x90\x80\x80", "\"\\\n\r\t\b\f", std::string(1 << 20, '"')};
  const auto handler = createHandler();
  for (const std::string& text : texts) {
    const auto event = createEvent(*handler, text.c_str());
    event->setStringField(("field " + text).c_str(), text.c_str());
    event->setInt64Field("least", INT64_MIN);
    event->setFloatField("no number", std::numeric_limits<float>::quiet_NaN());
    event->setFloatField("infinite", -std::numeric_limits<float>::infinity());
    event->setFloatField("smallest", std::numeric_limits<float>::denorm_min());
    EXPECT_TRUE(handler->reportEvent(event.get(), 1));
  }
  EXPECT_EQ(linesThatPythonReads({path_}), static_cast<int>(std::size(texts)));
}

TEST_F(JsonlLine, HasOnlyTheLastValueOfAFieldWhateverItsType) {
  const auto handler = createHandler();
  const auto event = createEvent(*handler, "");
  event->setStringField("a", "first");
  event->setInt64Field("a", 2);
  event->setInt64Field("b", 1);
  event->setInt64Field("b", 2);
  EXPECT_TRUE(handler->reportEvent(event.get(), 1));
  EXPECT_EQ(contents(), "{\"event\":\"\",\"a\":2,\"b\":2}\n");
}

TEST_F(JsonlLine, KeepsTheEventNameIfAFieldHasTheNameEvent) {
  const auto handler = createHandler();
  const auto event = createEvent(*handler, "name");
  event->setStringField("event", "field");
  EXPECT_TRUE(handler->reportEvent(event.get(), 1));
  EXPECT_EQ(contents(), line("name"));
}

TEST_F(JsonlLine, IsWrittenByEveryReportOfAnEvent) {
  const auto handler = createHandler();
  const auto event = createEvent(*handler, "again");
  event->setInt64Field("a", 1);
  EXPECT_TRUE(handler->reportEvent(event.get(), 1));
  event->setInt64Field("b", 2);
  EXPECT_TRUE(handler->reportEvent(event.get(), 1));
  EXPECT_EQ(contents(), "{\"event\":\"again\",\"a\":1}\n{\"event\":\"again\",\"a\":1,\"b\":2}\n");
}

TEST_F(JsonlLine, HoldsCopiesOfTexts) {
  const auto handler = createHandler();
  std::string name = "name";
  std::string field = "field";
  std::string value = "value";
  const auto event = createEvent(*handler, name.c_str());
  event->setStringField(field.c_str(), value.c_str());
  name = field = value = "gone!";
  EXPECT_TRUE(handler->reportEvent(event.get(), 1));
  EXPECT_EQ(contents(), "{\"event\":\"name\",\"field\":\"value\"}\n");
}

TEST_F(JsonlPath, IsAFileInTheWorkingDirectoryByDefault) {
  EXPECT_TRUE(Child([this] {
                unsetenv("TAMSA_JSONL_PATH");
                fs::current_path(directory_);
                return report("e");
              }).succeeded());
  EXPECT_EQ(contents(directory_ / "telemetry.jsonl"), line("e"));
}

TEST_F(JsonlPath, IsTheDefaultIfTheVariableIsEmpty) {
  EXPECT_TRUE(Child([this] {
                setDestination("");
                fs::current_path(directory_);
                return report("e");
              }).succeeded());
  EXPECT_EQ(contents(directory_ / "telemetry.jsonl"), line("e"));
}

TEST_F(JsonlPath, DoesNotFollowTheWorkingDirectory) {
  fs::create_directory(directory_ / "elsewhere");
  EXPECT_TRUE(Child([this] {
                setDestination("relative.jsonl");
                fs::current_path(directory_);
                const auto handler = createHandler();
                fs::current_path("elsewhere");
                return report(*handler, "e");
              }).succeeded());
  EXPECT_EQ(contents(directory_ / "relative.jsonl"), line("e"));
  EXPECT_TRUE(fs::is_empty(directory_ / "elsewhere"));
}

TEST_F(JsonlPath, CannotBeRelativeToADirectoryThatWasRemoved) {
  const fs::path removed = directory_ / "removed";
  fs::create_directory(removed);
  EXPECT_THAT(logOfChild([&] {
                setDestination("relative.jsonl");
                fs::current_path(removed);
                fs::remove(removed);
                const auto handler = createHandler();
                fs::current_path(directory_);
                report(*handler, "e");
              }),
              testing::ElementsAre(
                  testing::HasSubstr("cannot write to relative.jsonl: No such file or directory")));
  EXPECT_TRUE(fs::is_empty(directory_));
}

TEST_F(JsonlPath, IsLoggedWithItsDirectoryEvenIfItIsTheDefault) {
  const fs::path path = directory_ / "telemetry.jsonl";
  EXPECT_THAT(logOfChild([&] {
                unsetenv("TAMSA_JSONL_PATH");
                fs::current_path(directory_);
                fs::create_directory(path);
                report("e");
              }),
              testing::ElementsAre(
                  testing::HasSubstr("cannot write to " + path.string() + ": Is a directory")));
}

TEST_F(JsonlPath, IsReadWhenAHandlerIsCreated) {
  const auto early_handler = createHandler();
  setDestination(directory_ / "later.jsonl");
  const auto late_handler = createHandler();
  EXPECT_TRUE(report(*early_handler, "early"));
  EXPECT_TRUE(report(*late_handler, "late"));
  EXPECT_EQ(contents(), line("early"));
  EXPECT_EQ(contents(directory_ / "later.jsonl"), line("late"));
}

TEST_F(JsonlPath, IsNotTheStandardOutputIfItOnlyEndsInADash) {
  setDestination(directory_ / "-");
  EXPECT_TRUE(report("e"));
  EXPECT_EQ(contents(directory_ / "-"), line("e"));
}

TEST_F(JsonlPath, GetsAFileThatTheOwnerMayWriteAndTheGroupMayRead) {
  EXPECT_TRUE(Child([this] {
                umask(0);
                return report("e");
              }).succeeded());
  EXPECT_EQ(fs::status(path_).permissions(), fs::perms(0640));
}

TEST_F(JsonlPath, KeepsWhatTheFileHoldsAlready) {
  EXPECT_TRUE(report("first"));
  EXPECT_TRUE(report("second"));
  EXPECT_EQ(contents(), line("first") + line("second"));
}

TEST_F(JsonlPath, GetsANewFileAfterItWasRemoved) {
  const auto handler = createHandler();
  EXPECT_TRUE(report(*handler, "first"));
  fs::remove(path_);
  EXPECT_TRUE(report(*handler, "second"));
  EXPECT_EQ(contents(), line("second"));
}

TEST_F(JsonlPath, GetsANewFileAfterItWasRenamed) {
  const auto handler = createHandler();
  EXPECT_TRUE(report(*handler, "first"));
  fs::rename(path_, directory_ / "old.jsonl");
  EXPECT_TRUE(report(*handler, "second"));
  EXPECT_EQ(contents(directory_ / "old.jsonl"), line("first"));
  EXPECT_EQ(contents(), line("second"));
}

TEST_F(JsonlPath, IsWrittenFromItsBeginningAfterItWasTruncated) {
  const auto handler = createHandler();
  EXPECT_TRUE(report(*handler, "first"));
  fs::resize_file(path_, 0);
  EXPECT_TRUE(report(*handler, "second"));
  EXPECT_EQ(contents(), line("second"));
}

TEST_F(JsonlPath, IsTriedAgainAfterItsDirectoryWasMissing) {
  const fs::path path = directory_ / "missing" / "events.jsonl";
  setDestination(path);
  const auto handler = createHandler();
  report(*handler, "first");
  fs::create_directory(directory_ / "missing");
  EXPECT_TRUE(report(*handler, "second"));
  EXPECT_EQ(contents(path), line("second"));
}

TEST_F(JsonlPath, IsTriedAgainAfterItWasADirectory) {
  fs::create_directory(path_);
  const auto handler = createHandler();
  report(*handler, "first");
  fs::remove(path_);
  EXPECT_TRUE(report(*handler, "second"));
  EXPECT_EQ(contents(), line("second"));
}

}  // namespace
}  // namespace kiv_test
