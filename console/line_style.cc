// A table of line types.

#include "console/line_style.h"

#include <algorithm>
#include <array>

#include "console/command_input.h"

namespace lisp_worker::console {
namespace {

struct LineType {
  std::string_view name;
  std::array<double, 6> dashes;  // In millimetres; a negative one ends them.
};

constexpr double kEnd = -1;

constexpr std::array<LineType, 9> kLineTypes = {{
    {kContinuous, {kEnd}},
    {"DASHED", {5, 2, kEnd}},
    {"HIDDEN", {2.5, 1.25, kEnd}},
    {"CENTER", {12, 1.5, 2, 1.5, kEnd}},
    {"CENTRE", {12, 1.5, 2, 1.5, kEnd}},
    {"DASHDOT", {6, 1.5, 0, 1.5, kEnd}},
    {"DIVIDE", {6, 1.5, 0, 1.5, 0, 1.5}},
    {"PHANTOM", {12, 1.5, 2, 1.5, 2, 1.5}},
    {"DOT", {0, 1.5, kEnd}},
}};

}  // namespace

std::optional<std::vector<double>> dashesOf(std::string_view line_type) {
  const std::string name = upperCase(line_type);
  for (const LineType& type : kLineTypes) {
    if (!name.starts_with(type.name)) continue;
    const std::string_view suffix = std::string_view(name).substr(type.name.size());
    if (!suffix.empty() && suffix != "2" && suffix != "X2") continue;
    const double factor = suffix.empty() ? 1 : suffix == "2" ? 0.5 : 2;
    std::vector<double> dashes;
    for (const double dash : type.dashes) {
      if (dash < 0) break;
      dashes.push_back(dash * factor);
    }
    return dashes;
  }
  return std::nullopt;
}

std::string knownLineTypes() {
  std::string names;
  for (const LineType& type : kLineTypes) {
    names += (names.empty() ? "" : " ") + std::string(type.name);
  }
  return names;
}

double lineWidth(int weight) {
  constexpr int kUsual = 25;
  constexpr double kThinnest = 0.05;
  return weight < 0 ? kUsual / 100.0 : std::max(weight / 100.0, kThinnest);
}

}  // namespace lisp_worker::console
