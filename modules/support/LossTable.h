/// Counts of lost events by cause.
#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace TAMSA::support {

struct LossCount {
  uint64_t events = 0;
  uint64_t reports = 0;  ///< Reports that the events combine.

  LossCount& operator+=(const LossCount& other);
  LossCount& operator-=(const LossCount& other);
};

/// One of few kinds of loss. The detail may differ from loss to loss; the latest one is kept.
struct LossCause {
  std::string name;
  std::string detail = {};

  /// "name (detail)", or only the name.
  std::string text() const;
};

/// Bounded: what exceeds `kMaxCauses`, or finds no memory, is counted under `kOther`.
class LossTable {
 public:
  static constexpr size_t kMaxCauses = 16;
  static constexpr char kOther[] = "other causes";

  struct Entry {
    LossCount count;
    std::string detail;
  };

  void add(const LossCause& cause, const LossCount& count) noexcept;
  void add(const LossTable& other) noexcept;

  /// Subtracts counts that this table contains. Causes without losses disappear.
  void subtract(const LossTable& other) noexcept;

  bool isEmpty() const { return entries_.empty() && other_.events == 0; }
  LossCount total() const;

  /// The entries by name of their cause, among them that of the other causes.
  std::map<std::string, Entry> entries() const;

 private:
  std::map<std::string, Entry> entries_;
  LossCount other_;
};

}  // namespace TAMSA::support
