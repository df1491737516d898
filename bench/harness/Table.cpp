#include "bench/harness/Table.h"

#include <fmt/format.h>

#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>

namespace kiv_bench {

namespace {

constexpr char kLayout[] = "{:<29} {:<29} {:<28} {:>10} {:>10} {:>7} {:>14} {:>8} {}\n";

std::string withUnit(double value, const std::string& unit) {
  return value < 10 ? fmt::format("{:.2f} {}", value, unit) : fmt::format("{:.0f} {}", value, unit);
}

std::string metText(const Row& row) {
  const auto met = row.met();
  if (!met.has_value()) return "";
  return *met ? "met" : "NOT MET";
}

}  // namespace

void printHeader() {
  fmt::print(kLayout, "measure", "setting", "peer", "library", "peer", "ratio", "min-max", "aim",
             "");
}

void printRow(const Row& row) {
  fmt::print(kLayout, row.measure, row.setting, row.peer, withUnit(row.library, row.unit),
             withUnit(row.other, row.unit), fmt::format("{:.3f}", row.ratio),
             fmt::format("{:.3f}-{:.3f}", row.min, row.max),
             row.aim.has_value() ? toString(*row.aim) : "", metText(row));
  std::fflush(stdout);
}

void printSummary(const std::vector<Row>& rows) {
  int aims = 0;
  int met = 0;
  for (const Row& row : rows) {
    aims += static_cast<int>(row.met().has_value());
    met += static_cast<int>(row.met().value_or(false));
  }
  fmt::print("\n{} of {} aims met\n", met, aims);
}

bool writeJson(const std::vector<Row>& rows, const std::string& path) {
  auto list = nlohmann::ordered_json::array();
  for (const Row& row : rows) {
    nlohmann::ordered_json object;
    object["measure"] = row.measure;
    object["setting"] = row.setting;
    object["peer"] = row.peer;
    object["ratio"] = row.ratio;
    object["min"] = row.min;
    object["max"] = row.max;
    object["aim"] = nullptr;
    object["met"] = nullptr;
    if (row.aim.has_value()) {
      object["aim"] = toString(*row.aim);
      object["met"] = row.met().value();
    }
    list.push_back(object);
  }
  std::ofstream file(path);
  file << list.dump(2) << '\n';
  file.close();
  return file.good();
}

}  // namespace kiv_bench
