#include "modules/jsonl/JsonLine.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <variant>
#include <vector>

namespace TAMSA::jsonl {

namespace {

/// Keeps the order in which members are added, and floats as they are.
using Json = nlohmann::basic_json<nlohmann::ordered_map, std::vector, std::string, bool,
                                  std::int64_t, std::uint64_t, float>;

}  // namespace

std::string toJsonLine(const support::Event& event) {
  Json line = Json::object();
  line.emplace("event", event.name());
  // Does not replace a member, so a field cannot replace the event's name.
  for (const auto& [name, value] : event.fields()) {
    line.emplace(name, std::visit([](const auto& typed) { return Json(typed); }, value));
  }
  return line.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace TAMSA::jsonl
