#include "Placements.h"

#include <algorithm>
#include <cctype>

namespace render_service {

namespace {

constexpr double kDegree = 3.14159265358979323846 / 180.0;
constexpr double kWalk = 30.0 * kDegree;

struct Loudspeaker {
  const char* name;
  double degrees;
};

constexpr Loudspeaker kLoudspeakers[] = {
    {"front_center", 0.0},  {"front_left", 30.0},   {"side_left", 90.0},   {"rear_left", 150.0},
    {"rear_center", 180.0}, {"rear_right", -150.0}, {"side_right", -90.0}, {"front_right", -30.0},
};

std::string toLower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

}  // namespace

Placement placeSource(const std::string& name, size_t index, size_t count) {
  const std::string lower = toLower(name);
  for (const Loudspeaker& loudspeaker : kLoudspeakers) {
    if (lower.find(loudspeaker.name) != std::string::npos) {
      return {loudspeaker.degrees * kDegree, 0.0};
    }
  }
  return {360.0 * kDegree * static_cast<double>(index) / static_cast<double>(count), kWalk};
}

}  // namespace render_service
