// Tests of the rendering example: its sound processing alone, and the whole program.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "examples/render_service/BinauralRenderer.h"
#include "examples/render_service/LinearResampler.h"
#include "tests/examples/RunningProgram.h"
#include "tests/support/JsonEvents.h"
#include "tests/support/RunProgram.h"

namespace {

using kiv_test::ProgramResult;
using nlohmann::json;
using render_service::BinauralRenderer;
using render_service::LinearResampler;
using render_service::Placement;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;
using testing::UnorderedElementsAre;
namespace fs = std::filesystem;

constexpr double kPi = 3.14159265358979323846;
constexpr Placement kLeft{kPi / 2.0, 0.0};
constexpr Placement kFront{0.0, 0.0};
constexpr Placement kWalking{0.3, 2.0};

/// Returns pseudo-random samples.
std::vector<float> makeNoise(size_t frames, float amplitude = 1.0F) {
  std::vector<float> noise(frames);
  uint32_t state = 1;
  for (float& sample : noise) {
    state = state * 1664525U + 1013904223U;
    sample =
        (state >> 31U) != 0 ? amplitude : -amplitude * static_cast<float>(state % 100U) / 99.0F;
  }
  return noise;
}

struct Ears {
  std::vector<float> left, right;
};

Ears split(const std::vector<float>& stereo) {
  Ears ears;
  for (size_t i = 0; i < stereo.size(); i += 2) {
    ears.left.push_back(stereo[i]);
    ears.right.push_back(stereo[i + 1]);
  }
  return ears;
}

/// Renders a signal in blocks of the given size.
std::vector<float> render(const Placement& placement, const std::vector<float>& mono,
                          size_t block = std::numeric_limits<size_t>::max()) {
  BinauralRenderer renderer(placement);
  std::vector<float> stereo(2 * mono.size());
  for (size_t i = 0; i < mono.size();) {
    const size_t frames = std::min(block, mono.size() - i);
    renderer.addTo(&stereo[2 * i], &mono[i], frames);
    i += frames;
  }
  return stereo;
}

std::vector<float> makeClick() {
  std::vector<float> click(200);
  click[0] = 1.0F;
  return click;
}

size_t onset(const std::vector<float>& signal) {
  const auto sounds = [](float sample) { return sample != 0.0F; };
  return static_cast<size_t>(
      std::distance(signal.begin(), std::find_if(signal.begin(), signal.end(), sounds)));
}

double energy(const std::vector<float>& signal) {
  double sum = 0.0;
  for (const float sample : signal) sum += static_cast<double>(sample) * sample;
  return sum;
}

TEST(BinauralRenderer, BringsASourceOnTheLeftToTheLeftEarEarlierAndLouder) {
  const Ears ears = split(render(kLeft, makeClick()));
  EXPECT_LT(onset(ears.left), onset(ears.right));
  EXPECT_GT(energy(ears.left), energy(ears.right));
  EXPECT_GT(energy(ears.right), 0.0);
}

TEST(BinauralRenderer, DelaysTheFarEarByTheWayAroundTheHead) {
  const Ears ears = split(render(kLeft, makeClick()));
  // A head of 8.75 cm and sound at 343 m/s make 656 microseconds, which is 31.5 frames.
  const size_t delay = onset(ears.right) - onset(ears.left);
  EXPECT_GE(delay, 31U);
  EXPECT_LE(delay, 32U);
}

TEST(BinauralRenderer, MirrorsLeftAndRight) {
  const std::vector<float> noise = makeNoise(1000);
  const Ears left = split(render({0.7, 0.5}, noise));
  const Ears right = split(render({-0.7, -0.5}, noise));
  EXPECT_EQ(left.left, right.right);
  EXPECT_EQ(left.right, right.left);
  EXPECT_NE(left.left, left.right);
}

TEST(BinauralRenderer, BringsASourceInFrontToBothEarsAlike) {
  const Ears ears = split(render(kFront, makeNoise(1000)));
  EXPECT_EQ(ears.left, ears.right);
  EXPECT_GT(energy(ears.left), 0.0);
}

TEST(BinauralRenderer, RendersBlocksOfAnySizeAsItRendersTheWhole) {
  const std::vector<float> noise = makeNoise(5000);
  const std::vector<float> whole = render(kWalking, noise);
  for (const size_t block : {1U, 7U, 32U, 480U, 1023U}) {
    EXPECT_EQ(render(kWalking, noise, block), whole) << "in blocks of " << block;
  }
}

TEST(BinauralRenderer, MovesASourceWithoutClicks) {
  const std::vector<float> stereo = render(kWalking, std::vector<float>(48000, 1.0F));
  const Ears ears = split(stereo);
  constexpr size_t kBegin = BinauralRenderer::kTailFrames;
  const auto [softest, loudest] = std::minmax_element(ears.left.begin() + kBegin, ears.left.end());
  ASSERT_GT(*loudest - *softest, 0.3F) << "The source should come past the ear.";
  for (size_t i = kBegin + 1; i < ears.left.size(); ++i) {
    ASSERT_LT(std::abs(ears.left[i] - ears.left[i - 1]), 0.0001F) << "at frame " << i;
  }
}

TEST(BinauralRenderer, KeepsASourceOfFullScaleWithinFullScaleEverywhere) {
  for (int degrees = 0; degrees < 360; degrees += 5) {
    const std::vector<float> stereo = render({degrees * kPi / 180.0, 0.0}, makeNoise(500));
    const auto level = [](float a, float b) { return std::abs(a) < std::abs(b); };
    EXPECT_LE(std::abs(*std::max_element(stereo.begin(), stereo.end(), level)), 1.0F)
        << "at " << degrees << " degrees";
  }
}

TEST(BinauralRenderer, HasBeenHeardCompletelyAfterItsTail) {
  std::vector<float> signal = makeNoise(100);
  signal.resize(100 + BinauralRenderer::kTailFrames + 100);
  const Ears ears = split(render(kLeft, signal));
  const auto tail = static_cast<std::ptrdiff_t>(100 + BinauralRenderer::kTailFrames);
  EXPECT_NE(*(ears.right.begin() + tail - 1), 0.0F);
  EXPECT_EQ(energy({ears.left.begin() + tail, ears.left.end()}), 0.0);
  EXPECT_EQ(energy({ears.right.begin() + tail, ears.right.end()}), 0.0);
}

TEST(ClipToFullScale, LimitsAndCountsWhatGoesBeyond) {
  std::vector<float> samples{0.5F,
                             -1.0F,
                             1.5F,
                             -2.0F,
                             1.0F,
                             std::numeric_limits<float>::quiet_NaN(),
                             -std::numeric_limits<float>::infinity()};
  const auto level = render_service::clipToFullScale(samples.data(), samples.size());
  EXPECT_THAT(samples, ElementsAre(0.5F, -1.0F, 1.0F, -1.0F, 1.0F, 0.0F, -1.0F));
  EXPECT_EQ(level.clipped, 3U);
  EXPECT_EQ(level.peak, std::numeric_limits<float>::infinity());
}

/// Converts a whole signal in blocks, with silence behind its end.
std::vector<float> resample(std::vector<float> input, int from, int to, size_t block) {
  LinearResampler resampler(from, to);
  std::vector<float> output(static_cast<size_t>(resampler.outputFor(input.size())));
  input.resize(input.size() + 10);
  size_t taken = 0;
  for (size_t i = 0; i < output.size();) {
    const size_t frames = std::min(block, output.size() - i);
    const size_t needed = resampler.inputFor(frames);
    resampler.process(&input.at(taken), &output[i], frames);
    taken += needed;
    i += frames;
  }
  return output;
}

TEST(LinearResampler, PassesASignalOfTheSameRate) {
  const std::vector<float> noise = makeNoise(1000);
  EXPECT_EQ(resample(noise, 48000, 48000, 480), noise);
}

TEST(LinearResampler, DrawsStraightLinesBetweenSlowSamples) {
  EXPECT_THAT(resample({0.0F, 1.0F, 0.0F, -4.0F}, 16000, 48000, 480),
              ElementsAre(0.0F, testing::FloatEq(1.0F / 3.0F), testing::FloatEq(2.0F / 3.0F), 1.0F,
                          testing::FloatEq(2.0F / 3.0F), testing::FloatEq(1.0F / 3.0F), 0.0F,
                          testing::FloatEq(-4.0F / 3.0F), testing::FloatEq(-8.0F / 3.0F), -4.0F,
                          testing::FloatEq(-8.0F / 3.0F), testing::FloatEq(-4.0F / 3.0F)));
}

TEST(LinearResampler, ConvertsBlocksOfAnySizeAsItConvertsTheWhole) {
  const std::vector<float> noise = makeNoise(3001);
  for (const int rate : {8000, 44100, 96000, 192000}) {
    const std::vector<float> whole = resample(noise, rate, 48000, noise.size() * 48);
    for (const size_t block : {1U, 7U, 480U}) {
      EXPECT_EQ(resample(noise, rate, 48000, block), whole)
          << "from " << rate << " Hz in blocks of " << block;
    }
  }
}

/// A terminal that programs can be run on.
class Terminal {
 public:
  Terminal() {
    if (grantpt(master_) != 0 || unlockpt(master_) != 0) ADD_FAILURE() << "no terminal";
    slave_ = open(name().c_str(), O_RDWR | O_NOCTTY);
  }

  ~Terminal() { close(master_); }

  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  std::string name() const { return ptsname(master_); }

  /// All that was written. Ends the terminal's use.
  std::string text() const {
    close(slave_);
    std::string text;
    std::array<char, 512> buffer{};
    for (ssize_t count = 0; (count = read(master_, buffer.data(), buffer.size())) > 0;) {
      text.append(buffer.data(), static_cast<size_t>(count));
    }
    return text;
  }

 private:
  const int master_ = posix_openpt(O_RDWR | O_NOCTTY);
  int slave_;  // keeps the terminal open while no program uses it
};

/// Runs the program with the module that writes lines of JSON.
class RenderServiceProgram : public testing::Test {
 protected:
  std::string path(const std::string& name) const { return directory_.file(name); }

  /// Writes a sound file of noise, and returns its path.
  std::string makeSound(const std::string& name, int rate, int channels, size_t frames,
                        int format = SF_FORMAT_WAV | SF_FORMAT_PCM_16) const {
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = channels;
    info.format = format;
    SNDFILE* const file = sf_open(path(name).c_str(), SFM_WRITE, &info);
    EXPECT_NE(file, nullptr) << sf_strerror(nullptr);
    const std::vector<float> noise = makeNoise(frames * static_cast<size_t>(channels), 0.5F);
    const auto count = static_cast<sf_count_t>(frames);
    EXPECT_EQ(sf_writef_float(file, noise.data(), count), count);
    EXPECT_EQ(sf_close(file), 0);
    return path(name);
  }

  ProgramResult run(const std::vector<std::string>& command) const {
    return kiv_test::runProgram(command, environment());
  }

  std::map<std::string, std::string> environment() const {
    return {{"LD_LIBRARY_PATH", MODULE_DIRECTORY},
            {"TAMSA_JSONL_PATH", path("events.jsonl")},
            {"RENDER_SERVICE_SUMMARY", path("summary.json")},
            {"PYTHONIOENCODING", "utf-8"}};
  }

  /// The command line of a service that reports a missing file at once, and then renders a minute
  /// of sound in real time.
  std::vector<std::string> longCommand(const std::string& flush_period) const {
    return {RENDER_SERVICE,
            "--realtime",
            "--flush",
            flush_period,
            "-o",
            path("out.wav"),
            path("missing.wav"),
            makeSound("minute.wav", 8000, 1, 60 * 8000)};
  }

  /// Runs a command after what a shell makes of `prefix`.
  ProgramResult runInShell(const std::string& prefix, std::vector<std::string> command) const {
    const std::vector<std::string> shell{"/bin/sh", "-c", prefix + " exec \"$@\"", "sh"};
    command = kiv_test::underEmulator(std::move(command));
    command.insert(command.begin(), shell.begin(), shell.end());
    return run(command);
  }

  /// Renders files to "out.wav".
  ProgramResult renderFiles(const std::vector<std::string>& files) const {
    std::vector<std::string> command{RENDER_SERVICE, "-o", path("out.wav")};
    command.insert(command.end(), files.begin(), files.end());
    return run(command);
  }

  std::vector<json> events() const { return kiv_test::readEvents(path("events.jsonl")); }

  /// Each error, with the number of its reports.
  std::map<std::string, int> errors() const {
    std::map<std::string, int> errors;
    for (const json& event : events()) {
      if (event["event"] != "wexo_kiv_error_code") continue;
      errors[event["kiv_error_code"]] += event["aggregated_count"].get<int>();
    }
    return errors;
  }

  /// The sum of what was reported under `name`, over all windows.
  long long sumOf(const std::string& name, const std::string& field) const {
    long long sum = 0;
    for (const json& event : events()) {
      if (event.value("kiv_event_name", "") == name) sum += event[field].get<long long>();
    }
    return sum;
  }

  /// The number of calls of `api` with that result.
  int calls(const std::string& api, const std::string& result) const {
    int count = 0;
    for (const json& event : events()) {
      if (event.value("kiv_event_name", "") != "client_api_call." + api) continue;
      if (event["value_string"] == result) count += event["aggregated_count"].get<int>();
    }
    return count;
  }

  json summary() const { return json::parse(kiv_test::readFile(path("summary.json"))); }

  /// The frames of "out.wav", interleaved. Fails unless it is stereo at 48000 Hz.
  std::vector<float> output() const {
    SF_INFO info{};
    SNDFILE* const file = sf_open(path("out.wav").c_str(), SFM_READ, &info);
    EXPECT_NE(file, nullptr) << sf_strerror(nullptr);
    if (file == nullptr) return {};
    EXPECT_EQ(info.channels, 2);
    EXPECT_EQ(info.samplerate, 48000);
    EXPECT_EQ(info.format & SF_FORMAT_TYPEMASK, SF_FORMAT_WAV);
    std::vector<float> samples(static_cast<size_t>(info.frames * info.channels));
    EXPECT_EQ(sf_readf_float(file, samples.data(), info.frames), info.frames);
    sf_close(file);
    return samples;
  }

 private:
  const kiv_test::TemporaryDirectory directory_;
};

TEST_F(RenderServiceProgram, ReportsEventsOfEveryKind) {
  const ProgramResult result =
      renderFiles({makeSound("a.wav", 48000, 1, 20000), path("missing.wav")});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  std::set<std::string> names;
  for (const json& event : events()) names.insert(event["event"]);
  EXPECT_THAT(names, UnorderedElementsAre("wexo_kiv_error_code", "wexo_kiv_stream_event", "",
                                          "wexo_kiv_generic"));
}

TEST_F(RenderServiceProgram, ReportsNoErrorsWhereThereAreNone) {
  EXPECT_EQ(renderFiles({makeSound("a.wav", 48000, 1, 20000)}).exit_code, 0);
  EXPECT_THAT(errors(), IsEmpty());
  EXPECT_EQ(summary()["failed"], 0);
}

TEST_F(RenderServiceProgram, ReportsWhatWasWrongAndRendersTheRest) {
  std::ofstream(path("text.wav")) << "This is not sound.";
  const ProgramResult result =
      renderFiles({path("missing.wav"), path("text.wav"), makeSound("slow.wav", 1000, 1, 100),
                   makeSound("good.wav", 48000, 1, 4800), makeSound("crowd.wav", 48000, 17, 100),
                   makeSound("empty.wav", 48000, 1, 0)});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_THAT(errors(), UnorderedElementsAre(Pair("kiv.CLIENT_STREAM_OPEN_FAILED=-2", 1),
                                             Pair("kiv.SERVICE_STREAM_CREATE_FAILED=1", 1),
                                             Pair("kiv.USER_INVALID_SAMPLE_RATE=1000", 1),
                                             Pair("kiv.USER_INVALID_CHANNEL_COUNT=17", 1),
                                             Pair("kiv.USER_INVALID_NUMBER_OF_SAMPLES=0", 1)));
  EXPECT_EQ(summary()["files"], 6);
  EXPECT_EQ(summary()["failed"], 5);
  EXPECT_EQ(sumOf("frames_rendered", "value_int"), 4800);
  EXPECT_GT(energy(output()), 0.0);
}

TEST_F(RenderServiceProgram, ReportsAFileThatEndsTooEarly) {
  const std::string file =
      makeSound("torn.flac", 48000, 1, 48000, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
  fs::resize_file(file, fs::file_size(file) / 2);
  EXPECT_EQ(renderFiles({file, makeSound("good.wav", 48000, 1, 4800)}).exit_code, 0);
  EXPECT_EQ(errors().size(), 1U);
  EXPECT_THAT(errors().begin()->first, HasSubstr("kiv.USER_INVALID_NUMBER_OF_SAMPLES"));
  EXPECT_EQ(summary()["failed"], 1);
  EXPECT_LT(sumOf("frames_rendered", "value_int"), 48000 + 4800);
  EXPECT_LT(output().size() / 2, 48000U) << "What is missing should not be played as silence.";
}

TEST_F(RenderServiceProgram, ReportsAllFramesOfAllFiles) {
  // The queue is shorter than this, and block, file and window borders meet nowhere.
  const std::vector<std::pair<int, size_t>> sounds{{48000, 30001}, {44100, 25003}, {8000, 3001},
                                                   {96000, 7},     {192000, 9000}, {11025, 4001},
                                                   {48000, 1},     {22050, 481}};
  std::vector<std::string> files;
  long long frames = 0;
  for (const auto& [rate, count] : sounds) {
    files.push_back(makeSound(std::to_string(files.size()) + ".wav", rate, 1, count));
    frames += static_cast<long long>(count);
  }
  EXPECT_EQ(renderFiles(files).exit_code, 0);
  EXPECT_EQ(sumOf("frames_rendered", "value_int"), frames);
  EXPECT_EQ(calls("closeStream", "ok"), 8);
}

TEST_F(RenderServiceProgram, DescribesStreamsAsTheyAre) {
  renderFiles({makeSound("8.wav", 8000, 1, 100, SF_FORMAT_WAV | SF_FORMAT_PCM_U8),
               makeSound("16.wav", 44100, 2, 100),
               makeSound("24.wav", 48000, 4, 100, SF_FORMAT_WAV | SF_FORMAT_PCM_24),
               makeSound("32.wav", 96000, 6, 100, SF_FORMAT_WAV | SF_FORMAT_PCM_32),
               makeSound("float.wav", 192000, 9, 100, SF_FORMAT_WAV | SF_FORMAT_FLOAT)});
  std::map<std::string, std::set<std::string>> streams;
  for (const json& event : events()) {
    if (event["event"] != "wexo_kiv_stream_event") continue;
    streams[event["kiv_event"]].insert(
        event["pcm_format"].get<std::string>() + " " + event["stream_type"].get<std::string>() +
        " " + event["sample_rate"].dump() + " " + event["channels"].dump() + " " +
        event["samples"].dump() + " " + event["interleaved"].dump());
  }
  const std::set<std::string> expected{
      "AUDIO_FORMAT_PCM_8_BIT KIV_STREAM_TYPE_OBJECT 8000 1 80 1",
      "AUDIO_FORMAT_PCM_16_BIT KIV_STREAM_TYPE_PASSTHROUGH 44100 2 882 1",
      "AUDIO_FORMAT_PCM_24_BIT_PACKED KIV_STREAM_TYPE_AMBISONIC 48000 4 1920 1",
      "AUDIO_FORMAT_PCM_32_BIT KIV_STREAM_TYPE_BUNDLE 96000 6 5760 1",
      "AUDIO_FORMAT_PCM_FLOAT KIV_STREAM_TYPE_AMBISONIC 192000 9 17280 1"};
  EXPECT_THAT(streams, UnorderedElementsAre(Pair("open", expected), Pair("start", expected),
                                            Pair("stop", expected), Pair("close", expected)));
}

TEST_F(RenderServiceProgram, PlacesASoundNamedAfterALoudspeakerThere) {
  EXPECT_EQ(renderFiles({makeSound("Side_Left.wav", 48000, 1, 20000)}).exit_code, 0);
  const Ears ears = split(output());
  EXPECT_GE(ears.left.size(), 20000U);
  EXPECT_GT(energy(ears.left), 4.0 * energy(ears.right));
  EXPECT_GT(energy(ears.right), 0.0);
}

TEST_F(RenderServiceProgram, WritesTheSameSoundEveryTime) {
  const std::vector<std::string> files{
      makeSound("a.wav", 48000, 1, 30000), makeSound("b.wav", 44100, 2, 20000),
      makeSound("c.wav", 8000, 1, 5000),   makeSound("d.wav", 96000, 1, 50000),
      makeSound("e.wav", 48000, 1, 40000), makeSound("f.wav", 48000, 1, 20000)};
  EXPECT_EQ(renderFiles(files).exit_code, 0);
  const std::vector<float> first = output();
  EXPECT_EQ(renderFiles(files).exit_code, 0);
  EXPECT_GT(energy(first), 0.0);
  EXPECT_EQ(output(), first);
}

TEST_F(RenderServiceProgram, CountsEveryReportThatArrives) {
  renderFiles({makeSound("a.wav", 48000, 1, 60000), path("missing.wav"),
               makeSound("b.wav", 44100, 2, 30000)});
  long long counted = 0;
  for (const json& event : events()) counted += event["aggregated_count"].get<long long>();
  EXPECT_GT(counted, 1000);
  EXPECT_EQ(summary()["reports"], counted);
  EXPECT_EQ(sumOf("api_latency_us.renderSession", "aggregated_count"), 1);
}

TEST_F(RenderServiceProgram, FailsIfNothingWasRendered) {
  const ProgramResult result = renderFiles({path("missing.wav")});
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.err, HasSubstr("missing.wav: No such file or directory"));
}

TEST_F(RenderServiceProgram, ReportsAnOutputThatCannotBeOpened) {
  const std::string sound = makeSound("a.wav", 48000, 1, 100);
  EXPECT_EQ(run({RENDER_SERVICE, "-o", path("nowhere/out.wav"), sound}).exit_code, 1);
  EXPECT_THAT(errors(), ElementsAre(Pair("kiv.SERVICE_AUDIO_SINK_OPEN_FAILED=-2", 1)));
}

TEST_F(RenderServiceProgram, ReportsAnOutputThatCannotBeWrittenToItsEnd) {
  // Files that were complete before are lost as well.
  std::vector<std::string> command{RENDER_SERVICE, "-o", path("out.wav"),
                                   makeSound("short.wav", 48000, 1, 100)};
  // More than the queue holds: no thread may wait for another one that has ended.
  for (int i = 0; i < 7; ++i) {
    command.push_back(makeSound(std::to_string(i) + ".wav", 48000, 1, 48000));
  }
  EXPECT_EQ(runInShell("trap '' XFSZ; ulimit -f 100;", command).exit_code, 1);
  EXPECT_THAT(errors(), ElementsAre(Pair("kiv.SERVICE_RENDER_BINAURAL_FAILED=2", 1)));
  EXPECT_EQ(summary()["failed"], 8);
  EXPECT_EQ(calls("openStream", "ok"), 8);
  EXPECT_EQ(calls("startStream", "ok") + calls("startStream", "failed"), 8);
  EXPECT_GE(calls("startStream", "failed"), 2) << "Two were rendered, and four were waiting.";
  EXPECT_EQ(calls("closeStream", "ok"), 8);
}

TEST_F(RenderServiceProgram, HasOneRootSession) {
  renderFiles({makeSound("a.wav", 48000, 1, 20000), path("missing.wav")});
  std::set<std::string> sessions;
  std::set<std::string> roots;
  for (const json& event : events()) {
    const std::string session = event["kiv_session_id"];
    sessions.insert(session);
    roots.insert(session.substr(0, session.find('.')));
  }
  EXPECT_EQ(roots.size(), 1U);
  // The three components, and the process itself for the trace of the whole rendering.
  EXPECT_EQ(sessions.size(), 4U);
}

class StoppedService : public RenderServiceProgram, public testing::WithParamInterface<int> {};

TEST_P(StoppedService, SubmitsWhatItHasReportedAndCompletesItsOutput) {
  RunningProgram service(longCommand("86400"), environment());
  ASSERT_TRUE(service.waitForError("missing.wav: No such file or directory"));
  service.send(GetParam());
  const RunningProgram::Result result = service.wait();
  EXPECT_EQ(result.signal, 0) << "The signal should not end the process by itself.";
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_THAT(errors(), ElementsAre(Pair("kiv.CLIENT_STREAM_OPEN_FAILED=-2", 1)));
  long long counted = 0;
  for (const json& event : events()) counted += event["aggregated_count"].get<long long>();
  EXPECT_EQ(summary()["reports"], counted);
  EXPECT_EQ(summary()["failed"], 2);
  EXPECT_LT(output().size() / 2, 60U * 48000U) << "It should not have rendered all of the sound.";
}

INSTANTIATE_TEST_SUITE_P(By, StoppedService, testing::Values(SIGTERM, SIGINT),
                         [](const auto& param) { return param.param == SIGTERM ? "Term" : "Int"; });

TEST_F(RenderServiceProgram, SubmitsAnErrorWhileItRuns) {
  // No second error follows that would close the error's window.
  const std::string pipe = path("events.jsonl");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  RunningProgram service(longCommand("0.05"), environment());
  std::ifstream events(pipe);
  bool submitted = false;
  for (std::string line; !submitted && std::getline(events, line);) {
    submitted = line.find("CLIENT_STREAM_OPEN_FAILED") != std::string::npos;
  }
  EXPECT_TRUE(submitted);
  // The service is still rendering: it ends by this signal.
  service.send(SIGKILL);
  EXPECT_EQ(service.wait().signal, SIGKILL);
}

TEST_F(RenderServiceProgram, WritesTheSameSoundInRealTime) {
  const std::vector<std::string> files{makeSound("a.wav", 48000, 1, 3000),
                                       makeSound("b.wav", 44100, 2, 2000)};
  EXPECT_EQ(renderFiles(files).exit_code, 0);
  const std::vector<float> fast = output();
  EXPECT_EQ(
      run({RENDER_SERVICE, "--realtime", "-o", path("out.wav"), files[0], files[1]}).exit_code, 0);
  EXPECT_GT(energy(fast), 0.0);
  EXPECT_EQ(output(), fast);
}

TEST_F(RenderServiceProgram, RejectsAFlushPeriodThatIsNoTime) {
  for (const char* period : {"", "0", "-1", "5s", "nan", "inf", "86401"}) {
    const ProgramResult result = run({RENDER_SERVICE, "--flush", period, path("missing.wav")});
    EXPECT_EQ(result.exit_code, 2) << period;
    EXPECT_THAT(result.err, HasSubstr("--flush " + std::string(period) + ": not a number"));
  }
}

TEST_F(RenderServiceProgram, RejectsAWrongCommandLine) {
  EXPECT_EQ(run({RENDER_SERVICE, "--loud"}).exit_code, 2);
  const std::string sound = makeSound("a.wav", 48000, 1, 100);
  const std::string before = kiv_test::readFile(sound);
  EXPECT_EQ(run({RENDER_SERVICE, "-o", sound, sound}).exit_code, 2);
  EXPECT_EQ(kiv_test::readFile(sound), before);
}

TEST_F(RenderServiceProgram, PrintsItsHelp) {
  const ProgramResult result = run({RENDER_SERVICE, "--help"});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_THAT(result.out, HasSubstr("usage: render_service [OPTION...] [FILE...]"));
}

TEST_F(RenderServiceProgram, DrawsItsProgressOnATerminalOnly) {
  const std::string sound = makeSound("sound.wav", 48000, 1, 48000);
  const std::vector<std::string> command{RENDER_SERVICE, "-o", path("out.wav"), sound};
  Terminal terminal;
  EXPECT_EQ(runInShell("exec 2>" + terminal.name() + ";", command).exit_code, 0);
  EXPECT_THAT(terminal.text(), HasSubstr(" %"));
  EXPECT_THAT(run(command).err, Not(HasSubstr(" %")));
}

TEST_F(RenderServiceProgram, DrawsNoProgressIfQuiet) {
  const std::string sound = makeSound("sound.wav", 48000, 1, 48000);
  Terminal terminal;
  const ProgramResult result =
      runInShell("exec 2>" + terminal.name() + ";",
                 {RENDER_SERVICE, "--quiet", "-o", path("out.wav"), sound, path("missing.wav")});
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_THAT(result.out, HasSubstr("Rendered 1 of 2 files"));
  const std::string text = terminal.text();
  EXPECT_THAT(text, HasSubstr("missing.wav: No such file or directory"));
  EXPECT_THAT(text, Not(HasSubstr(" %")));
}

std::string withThousands(long long number) {
  std::string text = std::to_string(number);
  for (size_t i = text.size(); i > 3; i -= 3) text.insert(i - 3, ",");
  return text;
}

class EventsTable : public RenderServiceProgram {
 protected:
  ProgramResult show() const {
    return run({PYTHON, SHOW_EVENTS, path("events.jsonl"), path("summary.json")});
  }
};

TEST_F(EventsTable, EndsWithHowManyReportsBecameHowManyEvents) {
  renderFiles({makeSound("a.wav", 48000, 1, 60000), path("missing.wav")});
  const ProgramResult result = show();
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_THAT(
      result.out,
      testing::EndsWith("\n" + withThousands(summary()["reports"]) + " reports became " +
                        withThousands(static_cast<long long>(events().size())) + " events.\n"));
  EXPECT_THAT(result.out, Not(HasSubstr("account for")));
}

TEST_F(EventsTable, ShowsEveryKindWithin80Columns) {
  // The value is the name of a file's format, which may be of any length.
  std::ofstream(path("events.jsonl"))
      << R"({"event":"wexo_kiv_generic","aggregated_count":1,"aggregation_method":"COUNT",)"
      << R"("kiv_session_id":"root.12345678","kiv_event_name":")" << std::string(200, 'n')
      << R"(","value_int":0,"value_float":0.0,"value_string":")" << std::string(300, 'v')
      << "\"}\n";
  renderFiles({makeSound("a.wav", 48000, 1, 4800), path("missing.wav")});
  const ProgramResult result = show();
  for (const char* title :
       {"Errors: 1", "Streams: 4", "Audio latency: 1", "Traces: ", "Named values: ",
        "Client calls: ", "ERROR     StreamClient  openStream  kiv.CLIENT_STREAM_OPEN_FAILED=-2",
        "open   OBJECT  PCM_16_BIT  48000         1      480", "nnn…", "vvv…", "  12345678"}) {
    EXPECT_THAT(result.out, HasSubstr(title));
  }
  std::istringstream lines(result.out);
  for (std::string line; std::getline(lines, line);) {
    const auto begins_character = [](unsigned char byte) { return (byte & 0xC0U) != 0x80U; };
    EXPECT_LE(std::count_if(line.begin(), line.end(), begins_character), 80) << line;
  }
}

TEST_F(EventsTable, NamesMalformedLinesAndShowsTheOthers) {
  std::ofstream(path("summary.json")) << R"({"reports": 1})";
  std::ofstream(path("events.jsonl"))
      << R"({"event":"","aggregated_count":1,"aggregation_method":"AVG","kiv_session_id":"s"})"
      << "\n{torn\n"
      << R"({"event":"wexo_kiv_error_code","aggregated_count":1})"
      << "\n[]\n";
  const ProgramResult result = show();
  EXPECT_EQ(result.exit_code, 1);
  EXPECT_THAT(result.err, HasSubstr("events.jsonl:2: not JSON"));
  EXPECT_THAT(result.err, HasSubstr("events.jsonl:3: lacks "));
  EXPECT_THAT(result.err, HasSubstr("events.jsonl:4: not an event"));
  EXPECT_THAT(result.err, Not(HasSubstr("events.jsonl:1")));
  EXPECT_THAT(result.out, testing::EndsWith("\n1 report became 1 event.\n"));
}

TEST_F(EventsTable, CountsTheReportsItselfWithoutASummary) {
  std::ofstream(path("events.jsonl"))
      << R"({"event":"","aggregated_count":2,"aggregation_method":"AVG","kiv_session_id":"s"})"
      << "\n"
      << R"({"event":"of another kind","aggregated_count":3})"
      << "\n";
  const ProgramResult result = run({PYTHON, SHOW_EVENTS, path("events.jsonl")});
  EXPECT_EQ(result.exit_code, 0) << result.err;
  EXPECT_THAT(result.out, HasSubstr("      3  of another kind\n"));
  EXPECT_THAT(result.out, testing::EndsWith("\n5 reports became 2 events.\n"));
}

TEST_F(EventsTable, SaysSoIfReportsAreMissing) {
  std::ofstream(path("summary.json")) << R"({"reports": 1234})";
  std::ofstream(path("events.jsonl"))
      << R"({"event":"","aggregated_count":1000,"aggregation_method":"AVG","kiv_session_id":"s"})";
  const ProgramResult result = show();
  EXPECT_THAT(result.out, HasSubstr("The events account for 1,000 reports.\n"));
  EXPECT_THAT(result.out, testing::EndsWith("\n1,234 reports became 1 event.\n"));
}

}  // namespace
