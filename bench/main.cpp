// Compares the library with its peers.
#include <fmt/format.h>

#include <cstdio>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "bench/harness/Log.h"
#include "bench/harness/Table.h"
#include "bench/rows/Rows.h"

namespace kiv_bench {

namespace {

constexpr char kUsage[] = R"(usage: kiv_bench [--json FILE] [--filter REGEX] [--quick]

  --json FILE     also write the rows to FILE; may be given more than once
  --filter REGEX  only what matches "MEASURE/SETTING"
  --quick         fewer and shorter rounds: shows that all works, and no figures worth quoting
)";

struct Options {
  std::vector<std::string> json;
  std::optional<std::regex> filter;
  Effort effort{7, 10};
};

std::optional<Options> parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    const bool last = i + 1 == argc;
    if (argument == "--quick") {
      options.effort = {2, 1};
    } else if (argument == "--json" && !last) {
      options.json.emplace_back(argv[++i]);
    } else if (argument == "--filter" && !last) {
      options.filter = argv[++i];
    } else {
      return std::nullopt;
    }
  }
  return options;
}

std::vector<Comparison> allComparisons(const Effort& effort) {
  std::vector<Comparison> all;
  for (const auto& group :
       {pacedComparisons(effort), processorTimeComparisons(effort), burstComparisons(effort),
        sustainedComparisons(effort), foldComparisons(effort), submitComparisons(effort),
        callComparisons(effort), memoryComparisons()}) {
    all.insert(all.end(), group.begin(), group.end());
  }
  return all;
}

int run(int argc, char** argv) {
  const auto options = parse(argc, argv);
  if (!options.has_value()) {
    fmt::print(stderr, kUsage);
    return 2;
  }
  discardLog();
  std::vector<Row> rows;
  printHeader();
  for (const Comparison& comparison : allComparisons(options->effort)) {
    const std::string name = comparison.measure + "/" + comparison.setting;
    if (options->filter.has_value() && !std::regex_search(name, *options->filter)) continue;
    for (const Row& row : compare(comparison, options->effort.rounds)) {
      printRow(row);
      rows.push_back(row);
    }
  }
  printSummary(rows);
  for (const std::string& path : options->json) {
    if (writeJson(rows, path)) continue;
    fmt::print(stderr, "kiv_bench: cannot write {}\n", path);
    return 1;
  }
  return 0;
}

}  // namespace

}  // namespace kiv_bench

int main(int argc, char** argv) { return kiv_bench::run(argc, argv); }
