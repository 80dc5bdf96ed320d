// Layers, coordinate systems and the file as a whole; console/entity_file.cc has the entities.
// Reading stops at the first fault and says where it is.

#include "console/drawing_file.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "console/contexts.h"
#include "console/entity_file.h"
#include "console/json_parts.h"
#include "console/line_style.h"

namespace lisp_worker::console {

namespace {

// --- Reading ----------------------------------------------------------------------------------

std::string readLayer(const Json& json, Drawing& drawing) {
  if (!json.is_object()) return "must be an object";
  std::string unknown =
      whyUnknownKey(json, {"name", "colour", "visible", "line_type", "line_weight"});
  if (!unknown.empty()) return unknown;
  if (!json.contains("name") || !json["name"].is_string() ||
      json["name"].get<std::string>().empty()) {
    return R"(needs a "name")";
  }
  Layer layer = drawing.layer(json["name"].get<std::string>());
  if (json.contains("colour")) {
    const double colour = json["colour"].is_number() ? json["colour"].get<double>() : 0;
    if (!(colour >= 1 && colour <= 255) || colour != std::floor(colour)) {
      return R"("colour" must be a number from 1 to 255)";
    }
    layer.colour = static_cast<int>(colour);
  }
  if (json.contains("visible")) {
    if (!json["visible"].is_boolean()) return R"("visible" must be true or false)";
    layer.is_visible = json["visible"].get<bool>();
  }
  if (json.contains("line_type")) {
    const bool is_known =
        json["line_type"].is_string() && dashesOf(json["line_type"].get<std::string>());
    if (!is_known) return "\"line_type\" must be one of " + knownLineTypes();
    layer.line_type = json["line_type"].get<std::string>();
  }
  if (json.contains("line_weight")) {
    const double weight = json["line_weight"].is_number() ? json["line_weight"].get<double>() : -1;
    if (!(weight >= 0 && weight <= kWeightMax) || weight != std::floor(weight)) {
      return R"("line_weight" must be hundredths of a millimetre, 0 to 211)";
    }
    layer.line_weight = static_cast<int>(weight);
  }
  drawing.setLayer(std::move(layer));
  return "";
}

// "origin", "x_axis" and "y_axis" of a system or of the cells.
std::string readPlane(const Json& json, client::PlanarSystem& system) {
  struct Pair {
    const char* key;
    double* x;
    double* y;
  };
  const Pair pairs[] = {{"origin", &system.origin_x, &system.origin_y},
                        {"x_axis", &system.a, &system.b},
                        {"y_axis", &system.c, &system.d}};
  for (const Pair& pair : pairs) {
    if (!json.contains(pair.key)) continue;
    const std::vector<double> numbers = readNumbers(json[pair.key], 2, 2);
    if (numbers.empty()) return inQuotes(pair.key) + " must be two numbers";
    *pair.x = numbers[0];
    *pair.y = numbers[1];
  }
  return "";
}

std::string readNumber(const Json& json, const char* key, double& number) {
  if (!json.contains(key)) return "";
  if (!json[key].is_number()) return inQuotes(key) + " must be a number";
  number = json[key].get<double>();
  return "";
}

std::string readSystem(const Json& json, client::PlanarSystem& system) {
  if (!json.is_object()) return "must be an object";
  std::string reason = whyUnknownKey(json, {"origin", "x_axis", "y_axis", "z_scale", "z_offset"});
  if (reason.empty()) reason = readPlane(json, system);
  if (reason.empty()) reason = readNumber(json, "z_scale", system.z_scale);
  if (reason.empty()) reason = readNumber(json, "z_offset", system.z_offset);
  return reason;
}

std::string readSystems(const Json& json, client::CoordContext& context) {
  if (!json.is_object()) return R"("systems" must be an object: {"1": {...}})";
  context.systems = {};
  for (const auto& [key, value] : json.items()) {
    if (key.size() != 1 || key[0] < '0' || key[0] > '4') {
      return "a system is one of 0 to 4, not " + inQuotes(key);
    }
    const std::string reason =
        readSystem(value, context.systems[static_cast<std::size_t>(key[0] - '0')]);
    if (!reason.empty()) return "system " + key + ": " + reason;
  }
  return "";
}

std::string readCells(const Json& json, client::CoordContext& context) {
  if (!json.is_object()) return "must be an object";
  context.cell_plane = {};
  std::string reason = whyUnknownKey(json, {"size", "origin", "x_axis", "y_axis"});
  if (reason.empty()) reason = readPlane(json, context.cell_plane);
  if (reason.empty()) reason = readNumber(json, "size", context.cell_size);
  if (reason.empty() && !(context.cell_size > 0)) reason = R"("size" must be above 0)";
  return reason;
}

// Reads each element of an array with `read`; what is wrong begins with `name` and its number.
template <typename Read>
std::string readAll(const Json& root, const char* key, const char* name, Read read) {
  if (!root.contains(key)) return "";
  if (!root[key].is_array()) return inQuotes(key) + " must be a list";
  std::size_t number = 0;
  for (const Json& element : root[key]) {
    ++number;
    const std::string reason = read(element);
    if (reason.empty()) continue;
    std::string type;
    if (element.is_object() && element.contains("type") && element["type"].is_string()) {
      type = " (" + element["type"].get<std::string>() + ")";
    }
    return std::string(name) + " " + std::to_string(number) + type + ": " + reason;
  }
  return "";
}

std::string readRoot(const Json& root, Sheet& sheet) {
  if (!root.is_object()) return "a drawing is an object: {\"entities\": [...]}";
  std::string reason =
      whyUnknownKey(root, {"current_layer", "layers", "entities", "view", "systems", "cells"});
  Drawing& drawing = sheet.drawing;
  if (!reason.empty()) return reason;
  reason =
      readAll(root, "layers", "layer", [&](const Json& json) { return readLayer(json, drawing); });
  if (!reason.empty()) return reason;
  if (root.contains("current_layer")) {
    const Json& name = root["current_layer"];
    if (!name.is_string() || name.get<std::string>().empty()) {
      return R"("current_layer" must be the name of a layer)";
    }
    drawing.setCurrentLayer(name.get<std::string>());
  }
  reason = readAll(root, "entities", "entity",
                   [&](const Json& json) { return readEntity(json, drawing); });
  if (!reason.empty()) return reason;
  if (root.contains("view")) {
    const std::vector<double> v = readNumbers(root["view"], 4, 4);
    if (v.empty() || !(v[0] < v[2]) || !(v[1] < v[3])) {
      return R"("view" must be four numbers: left, bottom, right, top)";
    }
    drawing.setView(Box{v[0], v[1], v[2], v[3]});
  }
  if (root.contains("systems")) reason = readSystems(root["systems"], sheet.context);
  if (reason.empty() && root.contains("cells")) {
    reason = readCells(root["cells"], sheet.context);
    if (!reason.empty()) reason = "cells: " + reason;
  }
  return reason;
}

// --- Writing ----------------------------------------------------------------------------------

bool isWorld(const client::PlanarSystem& s) {
  const client::PlanarSystem world;
  return s.origin_x == world.origin_x && s.origin_y == world.origin_y && s.a == world.a &&
         s.b == world.b && s.c == world.c && s.d == world.d && s.z_scale == world.z_scale &&
         s.z_offset == world.z_offset;
}

Json planeJson(const client::PlanarSystem& s) {
  const auto pair = [](double x, double y) { return Json::array({numberJson(x), numberJson(y)}); };
  return {{"origin", pair(s.origin_x, s.origin_y)},
          {"x_axis", pair(s.a, s.b)},
          {"y_axis", pair(s.c, s.d)}};
}

Json systemsJson(const client::CoordContext& context) {
  Json systems = Json::object();
  for (std::size_t n = 0; n < context.systems.size(); ++n) {
    const client::PlanarSystem& system = context.systems[n];
    if (isWorld(system)) continue;
    Json json = planeJson(system);
    json["z_scale"] = numberJson(system.z_scale);
    json["z_offset"] = numberJson(system.z_offset);
    systems[std::to_string(n)] = std::move(json);
  }
  return systems;
}

// One line for each element, as a person would write it.
void appendArray(std::string& text, const char* key, const std::vector<Json>& elements) {
  text += "  \"" + std::string(key) + "\": [";
  const char* separator = "\n    ";
  for (const Json& element : elements) {
    text += separator;
    text += dumped(element);
    separator = ",\n    ";
  }
  text += elements.empty() ? "]" : "\n  ]";
}

}  // namespace

namespace {

// No object of a drawing has nearly as many; finding a key takes as long as there are keys.
constexpr std::size_t kKeyCountMax = 100;

// Thrown while a text is read: without it the reader would go on to the end, and look through all
// keys that it has kept at the end of each value that it has not.
struct TooManyKeys {};

// Told of each event while a text is read.
class KeyCounter {
 public:
  bool operator()(int /*depth*/, Json::parse_event_t event, const Json& /*parsed*/) {
    if (event == Json::parse_event_t::object_start) counts_.push_back(0);
    if (event == Json::parse_event_t::object_end) counts_.pop_back();
    if (event == Json::parse_event_t::key && ++counts_.back() > kKeyCountMax) throw TooManyKeys();
    return true;
  }

 private:
  std::vector<std::size_t> counts_;  // Of the objects that are open.
};

}  // namespace

Sheet emptySheet() { return {.drawing = {}, .context = defaultContext()}; }

std::optional<Sheet> readSheet(std::string_view text, std::string& error) {
  Sheet sheet = emptySheet();
  try {
    error = readRoot(Json::parse(text, KeyCounter()), sheet);
  } catch (const TooManyKeys&) {
    error = "an object has more than " + std::to_string(kKeyCountMax) + " keys";
  } catch (const Json::parse_error& failure) {
    const std::string_view before = text.substr(0, failure.byte == 0 ? 0 : failure.byte - 1);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const std::size_t column = before.size() - (before.rfind('\n') + 1) + 1;
    error = "line " + std::to_string(line) + ", column " + std::to_string(column) + ": no JSON: ";
    const std::string what = failure.what();
    const std::size_t reason = what.find("- ");
    error += reason == std::string::npos ? "cannot be read" : what.substr(reason + 2);
  } catch (const Json::exception&) {
    error = "no JSON: a number is too large";
  }
  if (!error.empty()) return std::nullopt;
  return sheet;
}

std::string writeSheet(const Sheet& sheet) {
  const Drawing& drawing = sheet.drawing;
  std::string text = "{\n  \"current_layer\": " + dumped(drawing.currentLayer()) + ",\n";
  std::vector<Json> layers;
  for (const Layer& layer : drawing.layers()) {
    layers.push_back(
        {{"name", layer.name}, {"colour", layer.colour}, {"visible", layer.is_visible}});
    if (layer.line_type != kContinuous) layers.back()["line_type"] = layer.line_type;
    if (layer.line_weight != kWeightDefault) layers.back()["line_weight"] = layer.line_weight;
  }
  appendArray(text, "layers", layers);
  text += ",\n";
  std::vector<Json> entities;
  for (const Entity& entity : drawing.entities()) entities.push_back(entityJson(entity));
  appendArray(text, "entities", entities);
  if (const auto& view = drawing.view()) {
    text +=
        ",\n  \"view\": " + dumped(Json::array({numberJson(view->left), numberJson(view->bottom),
                                                numberJson(view->right), numberJson(view->top)}));
  }
  text += ",\n  \"systems\": " + dumped(systemsJson(sheet.context));
  Json cells = {{"size", numberJson(sheet.context.cell_size)}};
  cells.update(planeJson(sheet.context.cell_plane));
  text += ",\n  \"cells\": " + dumped(cells) + "\n}\n";
  return text;
}

std::string writeEntity(const Entity& entity) { return dumped(entityJson(entity)); }

}  // namespace lisp_worker::console
