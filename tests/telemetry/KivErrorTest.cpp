#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "kiv/KivError.h"

namespace android::kiv {
namespace {

std::string nameOf(int number) { return kivErrorToString(static_cast<KivError>(number)); }

struct Entry {
  int number;
  const char* name;
};

// The catalogue that receivers of the telemetry rely on.
constexpr Entry kCatalogue[] = {
    {0, "OK"},
    {100, "UNKNOWN_CLIENT_ERROR"},
    {101, "CLIENT_OPEN_BINDER_CLIENT_FAILED"},
    {102, "CLIENT_STREAM_OPEN_FAILED"},
    {103, "CLIENT_RECONFIGURE_FAILED"},
    {104, "CLIENT_2D_WINDOW_REGISTER_FAILED"},
    {105, "CLIENT_2D_WINDOW_UNREGISTER_FAILED"},
    {106, "CLIENT_2D_WINDOW_INVALID_HANDLE"},
    {300, "UNKNOWN_SERVICE_ERROR"},
    {301, "SERVICE_AUDIO_TRACK_INIT_CHECK_FAILED"},
    {302, "SERVICE_MISMATCHING_TRACK_CHANNEL_MASK"},
    {303, "SERVICE_MISMATCHING_TRACK_FORMAT"},
    {304, "SERVICE_MISMATCHING_TRACK_FLAGS"},
    {305, "SERVICE_TRACK_START_FAILED"},
    {306, "SERVICE_ENGINE_CLIENT_INIT_FAILED"},
    {307, "SERVICE_ENGINE_CLIENT_INIT_FAILED_DUPLICATE_HANDLE"},
    {308, "SERVICE_INVALID_STREAM_HANDLE"},
    {309, "SERVICE_INVALID_CLIENT_HANDLE"},
    {310, "SERVICE_STREAM_DESTROY_FAILED"},
    {311, "SERVICE_STREAM_CREATE_FAILED"},
    {312, "SERVICE_STREAM_INIT_FAILED"},
    {313, "SERVICE_STREAM_INIT_FAILED_DUPLICATE_HANDLE"},
    {314, "SERVICE_STREAM_OPEN_FAILED"},
    {315, "SERVICE_CANNOT_CONNECT_TO_AUDIOFLINGER"},
    {316, "SERVICE_AUDIO_SINK_CREATE_FAILED"},
    {317, "SERVICE_RENDER_BINAURAL_FAILED"},
    {318, "SERVICE_SET_NUM_OBJECTS_FAILED"},
    {319, "SERVICE_ENGINE_WRAPPER_CREATE_FAILED"},
    {320, "SERVICE_AUDIO_SINK_OPEN_FAILED"},
    {321, "SERVICE_CLIENT_NOT_FOUND"},
    {322, "SERVICE_CANNOT_GET_HEADTRACKING_STATE"},
    {323, "SERVICE_ENGINE_WRAPPER_DESTROY_CLIENT_FAILED"},
    {324, "SERVICE_ENGINE_WRAPPER_CREATE_CLIENT_FAILED"},
    {325, "SERVICE_LIBKIV_ENGINE_DESTROY_FAILED"},
    {326, "SERVICE_LIBKIV_ENGINE_CREATE_FAILED"},
    {327, "SERVICE_LIBKIV_ENGINE_REGISTER_PERF_STATS_FAILED"},
    {328, "SERVICE_CLIENT_TRACKER_LINK_TO_DEATH_FAILED"},
    {329, "SERVICE_PREFERENCE_MANAGER_CREATE_FAILED"},
    {330, "SERVICE_PREFERENCE_MANAGER_SET_LISTENER_FAILED"},
    {331, "SERVICE_PREFERENCE_MANAGER_GET_VALUE_FAILED"},
    {332, "SERVICE_FOCUS_MANAGER_CREATE_FAILED"},
    {333, "SERVICE_FOCUS_MANAGER_SET_LISTENER_FAILED"},
    {334, "SERVICE_VOLUMETRIC_WINDOW_MANAGER_CREATE_FAILED"},
    {335, "USER_INVALID_SAMPLE_RATE"},
    {336, "USER_INVALID_NUMBER_OF_SAMPLES"},
    {337, "USER_INVALID_CHANNEL_COUNT"},
    {338, "USER_INVALID_COORDINATE_CONVENTION"},
    {339, "USER_CLIENT_NOT_CONFIGURED"},
    {340, "USER_STREAM_ALREADY_OPEN"},
    {341, "USER_STREAM_NOT_OPEN"},
    {342, "USER_2D_WINDOW_CLIENT_NOT_CONFIGURED"},
    {343, "USER_2D_WINDOW_NOT_REGISTERED"},
    {500, "UNKNOWN_COMMON_ERROR"},
    {501, "AUDIO_FIFO_CREATE_FAILED"},
    {502, "MESSAGE_FIFO_CREATE_FAILED"},
    {503, "MESSAGE_FIFO_WRITE_FAILED"},
    {504, "SET_AUDIO_THREAD_PRIORITY_FAILED"},
    {505, "ASHMEM_CREATE_REGION_FAILED"},
    {506, "ASHMEM_SET_PROT_REGION_FAILED"},
    {507, "MMAP_FAILED"},
    {508, "MUNMAP_FAILED"},
    {509, "WAIT_FOR_WRITE_COUNTER_TO_CHANGE_FAILED"},
    {510, "NOTIFY_WRITE_COUNTER_CHANGED_FAILED"},
    {511, "TASK_RUNNER_DESTROYED"},
    {512, "TASK_RUNNER_TIMED_OUT"},
    {32767, "UNKNOWN_ERROR"},
};

TEST(KivError, EveryNumberOfTheCatalogueHasItsName) {
  for (const Entry& entry : kCatalogue) EXPECT_EQ(nameOf(entry.number), entry.name);
}

TEST(KivError, NumbersOutsideTheCatalogueAreReportedAsDecimals) {
  size_t known = 0;
  for (int number = -600; number <= 33000; ++number) {
    bool listed = false;
    for (const Entry& entry : kCatalogue) listed = listed || entry.number == number;
    if (listed) {
      ++known;
    } else {
      ASSERT_EQ(nameOf(number), std::to_string(number));
    }
  }
  EXPECT_EQ(known, std::size(kCatalogue));
}

TEST(KivError, RangesHaveTheirLimits) {
  EXPECT_EQ(nameOf(0), "OK");
  EXPECT_EQ(nameOf(106), "CLIENT_2D_WINDOW_INVALID_HANDLE");
  EXPECT_EQ(nameOf(107), "107");
  EXPECT_EQ(nameOf(299), "299");
  EXPECT_EQ(nameOf(300), "UNKNOWN_SERVICE_ERROR");
  EXPECT_EQ(nameOf(343), "USER_2D_WINDOW_NOT_REGISTERED");
  EXPECT_EQ(nameOf(344), "344");
  EXPECT_EQ(nameOf(512), "TASK_RUNNER_TIMED_OUT");
  EXPECT_EQ(nameOf(513), "513");
  EXPECT_EQ(nameOf(32767), "UNKNOWN_ERROR");
  EXPECT_EQ(nameOf(32768), "32768");
  EXPECT_EQ(nameOf(-5), "-5");
}

TEST(KivError, EngineErrorsHaveTheirPrefix) {
  for (const int number : {325, 326, 327}) {
    EXPECT_EQ(nameOf(number).rfind("SERVICE_LIBKIV_ENGINE_", 0), 0u) << nameOf(number);
  }
}

TEST(KivError, ExtremeNumbersAreReportedAsDecimals) {
  EXPECT_EQ(nameOf(INT32_MIN), "-2147483648");
  EXPECT_EQ(nameOf(INT32_MAX), "2147483647");
}

TEST(KivErrorSeverity, IsOneByteFromInfoToFatal) {
  static_assert(std::is_same_v<std::underlying_type_t<KivErrorSeverity>, uint8_t>);
  EXPECT_EQ(static_cast<int>(KivErrorSeverity::INFO), 0);
  EXPECT_EQ(static_cast<int>(KivErrorSeverity::WARNING), 1);
  EXPECT_EQ(static_cast<int>(KivErrorSeverity::ERROR), 2);
  EXPECT_EQ(static_cast<int>(KivErrorSeverity::FATAL), 3);
}

}  // namespace
}  // namespace android::kiv
