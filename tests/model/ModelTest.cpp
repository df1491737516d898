// Random sequences of calls have the effects on module and log that the model predicts.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "tests/model/Comparison.h"
#include "tests/model/Sequence.h"
#include "tests/support/FromEnvironment.h"

namespace kiv_test::model {
namespace {

using Bytes = std::vector<uint8_t>;

/// Statistics about the sequences of a test.
struct Totals {
  size_t calls = 0;
  size_t events = 0;
  size_t starved = 0;
};

void runSequence(const Bytes& bytes, const std::string& origin, Totals& totals) {
  Sequence sequence(bytes.data(), bytes.size());
  const auto difference = sequence.run();
  if (difference) ADD_FAILURE() << origin << ": " << *difference;
  totals.calls += sequence.calls();
  totals.events += sequence.events();
  totals.starved += sequence.wasStarved() ? 1 : 0;
}

Bytes randomBytes(size_t seed) {
  std::mt19937_64 random(seed);
  Bytes bytes(16 + random() % 2000);
  std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<uint8_t>(random()); });
  return bytes;
}

TEST(Model, RandomSequencesMatchTheModel) {
  const size_t count = fromEnvironment("KIV_MODEL_SEQUENCES", 200);
  const size_t first = fromEnvironment("KIV_MODEL_SEED", 1);
  Totals totals;
  for (size_t seed = first; seed < first + count && !HasFailure(); ++seed) {
    runSequence(randomBytes(seed), "KIV_MODEL_SEED=" + std::to_string(seed), totals);
  }
  RecordProperty("calls", std::to_string(totals.calls));
  RecordProperty("events", std::to_string(totals.events));
  EXPECT_GT(totals.events, count);
  EXPECT_LT(totals.starved, 1 + count / 20);
}

TEST(Model, SequencesOfTheCorpusMatchTheModel) {
  std::vector<std::filesystem::path> files;
  for (const auto& file : std::filesystem::directory_iterator(KIV_MODEL_CORPUS)) {
    files.push_back(file.path());
  }
  std::sort(files.begin(), files.end());
  Totals totals;
  for (const auto& file : files) {
    std::ifstream stream(file, std::ios::binary);
    const Bytes bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    runSequence(bytes, file.filename(), totals);
  }
  EXPECT_GT(totals.events, files.size());
}

}  // namespace
}  // namespace kiv_test::model
