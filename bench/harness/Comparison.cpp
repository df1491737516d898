#include "bench/harness/Comparison.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>

#include "bench/harness/Statistics.h"

namespace kiv_bench {

namespace {

/// By contestant, then by figure, then by round.
using Results = std::vector<std::vector<std::vector<double>>>;

Results runInTurn(const std::vector<Contestant>& contestants, size_t figures, int rounds) {
  Results results(contestants.size(), std::vector<std::vector<double>>(figures));
  const size_t count = contestants.size();
  for (size_t turn = 0; turn < count * static_cast<size_t>(rounds); ++turn) {
    const size_t contestant = (turn + turn / count) % count;
    const std::vector<double> values = contestants[contestant].run();
    for (size_t figure = 0; figure < figures; ++figure) {
      results[contestant][figure].push_back(values[figure]);
    }
  }
  return results;
}

std::optional<Aim> aimAgainst(const Figure& figure, const std::string& peer) {
  for (const PeerAim& aim : figure.aims) {
    if (aim.peer == peer) return aim.aim;
  }
  return std::nullopt;
}

Row makeRow(const std::vector<double>& library, const std::vector<double>& peer) {
  Row row{};
  row.library = median(library);
  row.other = median(peer);
  row.ratio = row.library / row.other;
  std::vector<double> ratios;
  for (size_t round = 0; round < library.size(); ++round) {
    ratios.push_back(library[round] / peer[round]);
  }
  const auto [min, max] = std::minmax_element(ratios.begin(), ratios.end());
  row.min = *min;
  row.max = *max;
  return row;
}

}  // namespace

std::string toString(const Aim& aim) {
  return fmt::format("{} {}", aim.sense == Aim::Sense::AT_MOST ? "<=" : ">=", aim.limit);
}

std::optional<bool> Row::met() const {
  if (!aim.has_value()) return std::nullopt;
  return aim->sense == Aim::Sense::AT_MOST ? ratio <= aim->limit : ratio >= aim->limit;
}

std::vector<Row> compare(const Comparison& comparison, int rounds) {
  const std::vector<Contestant> contestants = comparison.contestants();
  const Results results = runInTurn(contestants, comparison.figures.size(), rounds);
  std::vector<Row> rows;
  for (size_t index = 0; index < comparison.figures.size(); ++index) {
    const Figure& figure = comparison.figures[index];
    for (size_t peer = 1; peer < contestants.size(); ++peer) {
      Row row = makeRow(results[0][index], results[peer][index]);
      row.measure = comparison.measure;
      row.setting = comparison.setting + (figure.name.empty() ? "" : ", " + figure.name);
      row.peer = contestants[peer].name;
      row.unit = figure.unit;
      row.aim = aimAgainst(figure, row.peer);
      rows.push_back(row);
    }
  }
  return rows;
}

}  // namespace kiv_bench
