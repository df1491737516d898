/// Measuring the library and its peers in turn.
///
/// The machine's speed drifts within minutes, so no two figures are compared that were not taken
/// side by side: each round runs every contestant once, and the order rotates from round to round.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kiv_bench {

/// The limit that a ratio is to reach.
struct Aim {
  enum class Sense { AT_MOST, AT_LEAST };
  double limit;
  Sense sense = Sense::AT_MOST;
};

std::string toString(const Aim& aim);

/// The aim against one peer. Peers without an aim are measured for comparison only.
struct PeerAim {
  std::string peer;
  Aim aim;
};

/// One of the figures that a run yields.
struct Figure {
  std::string name;  ///< As "p99"; empty if the measure says it all.
  std::string unit;
  std::vector<PeerAim> aims;
};

struct Contestant {
  std::string name;
  /// Makes what it needs, measures, tears down, and returns one value per figure.
  std::function<std::vector<double>()> run;
};

/// Contestants that do the same thing. The first is the library.
struct Comparison {
  std::string measure;
  std::string setting;
  std::vector<Figure> figures;
  /// Called when the comparison begins. What the contestants share lives as long as they do.
  std::function<std::vector<Contestant>()> contestants;
};

/// The library against one peer in one figure. The ratio is that of the medians of all rounds; the
/// lowest and the highest are of single rounds.
struct Row {
  std::string measure;
  std::string setting;
  std::string peer;
  std::string unit;
  double library;
  double other;
  double ratio;
  double min;
  double max;
  std::optional<Aim> aim;

  /// Empty without an aim.
  std::optional<bool> met() const;
};

/// One row for each figure and peer. Figures that are exact need no more than one round.
std::vector<Row> compare(const Comparison& comparison, int rounds);

}  // namespace kiv_bench
