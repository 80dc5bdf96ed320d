// One table (kKeyRules) says which key of a file is which group of an entity, for reading and for
// writing. Reading stops at the first fault and says where it is.

#include "console/drawing_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "console/contexts.h"
#include "lisp_worker/client/answer_text.h"

namespace lisp_worker::console {

using client::Datum;
using client::DatumList;
using Json = nlohmann::ordered_json;

namespace {

constexpr std::array<std::string_view, 3> kAlignments = {"left", "centre", "right"};

// The key of a group in a file. Several keys may stand for one group: that of a point says what it
// is in this type of entity.
struct KeyRule {
  std::string_view type;  // Empty for all types.
  std::string_view key;
  int code;
};

constexpr KeyRule kKeyRules[] = {
    {"", "layer", kLayerGroup},           {"", "colour", kColourGroup},
    {"POINT", "at", kPointGroup},         {"LINE", "from", kPointGroup},
    {"LINE", "to", kEndPointGroup},       {"CIRCLE", "centre", kPointGroup},
    {"CIRCLE", "radius", kSizeGroup},     {"ARC", "centre", kPointGroup},
    {"ARC", "radius", kSizeGroup},        {"ARC", "start_angle", kStartAngleGroup},
    {"ARC", "end_angle", kEndAngleGroup}, {"POLYLINE", "points", kPointGroup},
    {"POLYLINE", "closed", kClosedGroup}, {"TEXT", "at", kPointGroup},
    {"TEXT", "height", kSizeGroup},       {"TEXT", "text", kTextGroup},
    {"TEXT", "angle", kStartAngleGroup},  {"TEXT", "align", kAlignmentGroup},
};

bool appliesTo(const KeyRule& rule, std::string_view type) {
  return rule.type.empty() || rule.type == type;
}

std::string inQuotes(std::string_view text) { return '"' + std::string(text) + '"'; }

std::string dumped(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// --- Reading ----------------------------------------------------------------------------------

// The mistake of an object that has a key besides these; otherwise empty.
std::string whyUnknownKey(const Json& object, std::initializer_list<std::string_view> known) {
  for (const auto& [key, value] : object.items()) {
    if (std::find(known.begin(), known.end(), key) != known.end()) continue;
    std::string message = "unknown key " + inQuotes(key) + "; known are";
    for (const std::string_view name : known) message += " " + std::string(name);
    return message;
  }
  return "";
}

// Between 2 and `size_max` numbers; empty for anything else.
std::vector<double> readNumbers(const Json& json, std::size_t size_min, std::size_t size_max) {
  std::vector<double> numbers;
  if (!json.is_array() || json.size() < size_min || json.size() > size_max) return numbers;
  for (const Json& part : json) {
    if (!part.is_number()) return {};
    numbers.push_back(part.get<double>());
  }
  return numbers;
}

std::optional<Datum> readPointDatum(const Json& json) {
  const std::vector<double> numbers = readNumbers(json, 2, 3);
  if (numbers.empty()) return std::nullopt;
  DatumList parts;
  for (const double part : numbers) parts.push_back(client::number(part));
  return client::list(std::move(parts));
}

// Appends the group or groups that `value` means. Returns the mistake, or an empty text.
std::string readKey(const KeyRule& rule, const Json& value, DatumList& groups) {
  const std::string key = inQuotes(rule.key);
  switch (rule.code) {
    case kPointGroup:
    case kEndPointGroup: {
      if (rule.key != "points") {
        auto point = readPointDatum(value);
        if (!point) return key + " must be a point: two or three numbers";
        groups.push_back(makeGroup(rule.code, std::move(*point)));
        return "";
      }
      if (!value.is_array()) return key + " must be a list of points";
      for (const Json& element : value) {
        auto point = readPointDatum(element);
        if (!point) return key + " must be a list of points: two or three numbers each";
        groups.push_back(makeGroup(rule.code, std::move(*point)));
      }
      return "";
    }
    case kLayerGroup:
    case kTextGroup:
      if (!value.is_string()) return key + " must be a text";
      groups.push_back(makeGroup(rule.code, client::string(value.get<std::string>())));
      return "";
    case kClosedGroup:
      if (!value.is_boolean()) return key + " must be true or false";
      groups.push_back(makeGroup(rule.code, client::number(value.get<bool>() ? 1 : 0)));
      return "";
    case kAlignmentGroup: {
      const auto* const known = std::find(kAlignments.begin(), kAlignments.end(),
                                          value.is_string() ? value.get<std::string>() : "");
      if (known == kAlignments.end()) return key + R"( must be "left", "centre" or "right")";
      groups.push_back(
          makeGroup(rule.code, client::number(static_cast<double>(known - kAlignments.begin()))));
      return "";
    }
    default:
      if (!value.is_number()) return key + " must be a number";
      groups.push_back(makeGroup(rule.code, client::number(value.get<double>())));
      return "";
  }
}

std::string readOtherGroups(const Json& value, DatumList& groups) {
  constexpr const char* kWrong = R"("other" must be a list of [code, "value as LISP writes it"])";
  if (!value.is_array()) return kWrong;
  for (const Json& pair : value) {
    if (!pair.is_array() || pair.size() != 2 || !pair[0].is_number() || !pair[1].is_string()) {
      return kWrong;
    }
    auto datum = client::readDatum(pair[1].get<std::string>(), nullptr);
    if (!datum) return kWrong;
    groups.push_back(client::list({client::number(pair[0].get<double>()), std::move(*datum)}));
  }
  return "";
}

// Null for a key that entities of this type do not have.
const KeyRule* ruleFor(const std::string& type, const std::string& key) {
  const auto* const rule = std::find_if(
      std::begin(kKeyRules), std::end(kKeyRules),
      [&](const KeyRule& known) { return appliesTo(known, type) && known.key == key; });
  return rule == std::end(kKeyRules) ? nullptr : rule;
}

bool isType(const std::string& type) {
  return !type.empty() && std::any_of(std::begin(kKeyRules), std::end(kKeyRules),
                                      [&](const KeyRule& rule) { return rule.type == type; });
}

std::string knownTypes() {
  std::string types;
  std::string_view last;
  for (const KeyRule& rule : kKeyRules) {
    if (rule.type != last) types += " " + std::string(rule.type);
    last = rule.type;
  }
  return types;
}

std::string readEntity(const Json& json, Drawing& drawing) {
  if (!json.is_object()) return "must be an object";
  if (!json.contains("type")) return R"(needs a "type")";
  if (!json["type"].is_string()) return "\"type\" must be a text, not " + dumped(json["type"]);
  const std::string type = json["type"].get<std::string>();
  if (!isType(type)) return "unknown type " + inQuotes(type) + "; known are" + knownTypes();
  DatumList groups = {makeGroup(kTypeGroup, client::string(type))};
  std::string handle;
  std::string keys = "type handle layer colour";
  for (const auto& [key, value] : json.items()) {
    if (key == "type") continue;
    std::string reason;
    if (key == "handle") {
      if (!value.is_string()) return R"("handle" must be a text)";
      handle = value.get<std::string>();
    } else if (key == "other") {
      reason = readOtherGroups(value, groups);
    } else {
      const KeyRule* const rule = ruleFor(type, key);
      if (rule == nullptr) {
        for (const KeyRule& known : kKeyRules) {
          if (known.type == type) keys += " " + std::string(known.key);
        }
        return type + " has no key " + inQuotes(key) + "; it has " + keys + " other";
      }
      reason = readKey(*rule, value, groups);
    }
    if (!reason.empty()) return reason;
  }
  std::string refusal;
  const Datum datum = client::list(std::move(groups));
  if (handle.empty()) {
    if (drawing.add(datum, refusal)) return "";
  } else if (drawing.addNamed(handle, datum, refusal)) {
    return "";
  }
  for (const KeyRule& rule : kKeyRules) {
    const std::string group = "group " + std::to_string(rule.code);
    if (appliesTo(rule, type) && refusal.find(group) != std::string::npos) {
      refusal += " (the key " + inQuotes(rule.key) + ")";
      break;
    }
  }
  return refusal;
}

std::string readLayer(const Json& json, Drawing& drawing) {
  if (!json.is_object()) return "must be an object";
  std::string unknown = whyUnknownKey(json, {"name", "colour", "visible"});
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

// Whole numbers without a point, as a person would write them.
Json numberJson(double number) {
  constexpr double kWholeMax = 1e15;
  const bool is_negative_zero = number == 0 && std::signbit(number);
  if (std::fabs(number) <= kWholeMax && number == std::floor(number) && !is_negative_zero) {
    return static_cast<std::int64_t>(number);
  }
  return number;
}

Json pointJson(const Datum& datum) {
  Json json = Json::array();
  for (const Datum& part : *client::asList(datum)) {
    json.push_back(numberJson(*client::asNumber(part)));
  }
  return json;
}

Json valueJson(const KeyRule& rule, const Datum& value) {
  switch (rule.code) {
    case kPointGroup:
    case kEndPointGroup:
      return pointJson(value);
    case kLayerGroup:
    case kTextGroup:
      return std::string(*client::asString(value));
    case kClosedGroup:
      return *client::asNumber(value) == 1;
    case kAlignmentGroup:
      return std::string(kAlignments[static_cast<std::size_t>(*client::asNumber(value))]);
    default:
      return numberJson(*client::asNumber(value));
  }
}

Json entityJson(const Entity& entity) {
  const std::string type(findStringGroup(entity.groups, kTypeGroup));
  Json json = {{"handle", entity.handle}, {"type", type}};
  Json other = Json::array();
  for (const Datum& group : entity.groups) {
    const DatumList& parts = *client::asList(group);
    const double code = *client::asNumber(parts.front());
    if (code == kTypeGroup) continue;
    const auto* const rule = std::find_if(
        std::begin(kKeyRules), std::end(kKeyRules),
        [&](const KeyRule& known) { return appliesTo(known, type) && known.code == code; });
    if (rule == std::end(kKeyRules)) {
      other.push_back({numberJson(code), client::printDatum(parts.back())});
    } else if (rule->key == "points") {
      json["points"].push_back(pointJson(parts.back()));
    } else if (!json.contains(rule->key)) {
      json[std::string(rule->key)] = valueJson(*rule, parts.back());
    }
  }
  if (!other.empty()) json["other"] = std::move(other);
  return json;
}

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

// Told of each event while a text is read; leaves out the keys that are too many.
class KeyCounter {
 public:
  bool operator()(int /*depth*/, Json::parse_event_t event, const Json& /*parsed*/) {
    if (event == Json::parse_event_t::object_start) counts_.push_back(0);
    if (event == Json::parse_event_t::object_end) counts_.pop_back();
    if (event != Json::parse_event_t::key || ++counts_.back() <= kKeyCountMax) return true;
    has_too_many_ = true;
    return false;
  }

  [[nodiscard]] bool hasTooMany() const { return has_too_many_; }

 private:
  std::vector<std::size_t> counts_;  // Of the objects that are open.
  bool has_too_many_ = false;
};

}  // namespace

Sheet emptySheet() { return {.drawing = {}, .context = defaultContext()}; }

std::optional<Sheet> readSheet(std::string_view text, std::string& error) {
  Sheet sheet = emptySheet();
  try {
    KeyCounter counter;
    const Json root = Json::parse(text, std::ref(counter));
    error = counter.hasTooMany()
                ? "an object has more than " + std::to_string(kKeyCountMax) + " keys"
                : readRoot(root, sheet);
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

}  // namespace lisp_worker::console
