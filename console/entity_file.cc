// One table (kKeyRules) says which key of a file is which group of an entity, for reading and for
// writing. The vertices of polylines and hatches, whose order matters, have functions of their own.

#include "console/entity_file.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "console/polyline.h"
#include "lisp_worker/client/answer_text.h"

namespace lisp_worker::console {

using client::Datum;
using client::DatumList;

namespace {

constexpr std::array<std::string_view, 3> kAlignments = {"left", "centre", "right"};

// The key of a group in a file. The key of a point says
// what it is in this type of entity.
struct KeyRule {
  std::string_view type;  // Empty for all types.
  std::string_view key;
  int code;
};

constexpr KeyRule kKeyRules[] = {
    {"", "layer", kLayerGroup},
    {"", "colour", kColourGroup},
    {"", "line_type", kLineTypeGroup},
    {"", "line_scale", kLineScaleGroup},
    {"", "line_weight", kLineWeightGroup},
    {"POINT", "at", kPointGroup},
    {"LINE", "from", kPointGroup},
    {"LINE", "to", kEndPointGroup},
    {"CIRCLE", "centre", kPointGroup},
    {"CIRCLE", "radius", kSizeGroup},
    {"ARC", "centre", kPointGroup},
    {"ARC", "radius", kSizeGroup},
    {"ARC", "start_angle", kStartAngleGroup},
    {"ARC", "end_angle", kEndAngleGroup},
    {"POLYLINE", "points", kPointGroup},
    {"POLYLINE", "bulges", kBulgeGroup},
    {"POLYLINE", "closed", kClosedGroup},
    {"TEXT", "at", kPointGroup},
    {"TEXT", "height", kSizeGroup},
    {"TEXT", "text", kTextGroup},
    {"TEXT", "angle", kStartAngleGroup},
    {"TEXT", "align", kAlignmentGroup},
    {"HATCH", "pattern", kPatternGroup},
    {"HATCH", "outlines", kPointGroup},
    {"HATCH", "distance", kPatternDistanceGroup},
    {"HATCH", "angle", kPatternAngleGroup},
};

bool appliesTo(const KeyRule& rule, std::string_view type) {
  return rule.type.empty() || rule.type == type;
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
      auto point = readPointDatum(value);
      if (!point) return key + " must be a point: two or three numbers";
      groups.push_back(makeGroup(rule.code, std::move(*point)));
      return "";
    }
    case kLayerGroup:
    case kTextGroup:
    case kPatternGroup:
    case kLineTypeGroup:
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

// The points of a chain, and their bulges as a list of as many numbers; null where a vertex has
// none. Returns the mistake, or an empty text.
std::string readChain(const Json& points, const Json& bulges, DatumList& groups) {
  if (!points.is_array()) return "\"points\" must be a list of points";
  if (!bulges.is_null() && (!bulges.is_array() || bulges.size() != points.size())) {
    return "\"bulges\" must be a list of as many numbers as there are points";
  }
  for (std::size_t n = 0; n < points.size(); ++n) {
    auto point = readPointDatum(points[n]);
    if (!point) return "\"points\" must be a list of points: two or three numbers each";
    groups.push_back(makeGroup(kPointGroup, std::move(*point)));
    if (bulges.is_null() || bulges[n].is_null()) continue;
    if (!bulges[n].is_number()) return "\"bulges\" must be numbers, or null";
    groups.push_back(makeGroup(kBulgeGroup, client::number(bulges[n].get<double>())));
  }
  return "";
}

Json valueAt(const Json& object, const char* key) {
  return object.contains(key) ? object[key] : Json();
}

// The vertices of a polyline, or the outlines of a hatch.
std::string readChains(const Json& json, DatumList& groups) {
  if (!json.contains("outlines")) {
    return readChain(json["points"], valueAt(json, "bulges"), groups);
  }
  const Json& outlines = json["outlines"];
  const char* const wrong =
      "\"outlines\" must be a list of objects with \"points\" and perhaps \"bulges\"";
  if (!outlines.is_array()) return wrong;
  for (const Json& outline : outlines) {
    if (!outline.is_object() || !outline.contains("points") || !outline["points"].is_array()) {
      return wrong;
    }
    std::string reason = whyUnknownKey(outline, {"points", "bulges"});
    if (!reason.empty()) return reason;
    if (outlines.size() > 1) {
      groups.push_back(
          makeGroup(kOutlineGroup, client::number(static_cast<double>(outline["points"].size()))));
    }
    reason = readChain(outline["points"], valueAt(outline, "bulges"), groups);
    if (!reason.empty()) return reason;
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

}  // namespace

std::string readEntity(const Json& json, Drawing& drawing) {
  if (!json.is_object()) return "must be an object";
  if (!json.contains("type")) return R"(needs a "type")";
  if (!json["type"].is_string()) return "\"type\" must be a text, not " + dumped(json["type"]);
  const std::string type = json["type"].get<std::string>();
  if (!isType(type)) return "unknown type " + inQuotes(type) + "; known are" + knownTypes();
  DatumList groups = {makeGroup(kTypeGroup, client::string(type))};
  std::string handle;
  std::string keys = "type handle layer colour line_type line_scale line_weight";
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
      // The bulges belong to the points and come with them.
      if (key == "points" || key == "outlines") {
        reason = readChains(json, groups);
      } else if (key != "bulges") {
        reason = readKey(*rule, value, groups);
      }
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

namespace {

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
    case kPatternGroup:
    case kLineTypeGroup:
      return std::string(*client::asString(value));
    case kClosedGroup:
      return *client::asNumber(value) == 1;
    case kAlignmentGroup:
      return std::string(kAlignments[static_cast<std::size_t>(*client::asNumber(value))]);
    default:
      return numberJson(*client::asNumber(value));
  }
}

// The groups of vertices as readChains takes them.
void appendChains(const Entity& entity, Json& json) {
  const bool is_hatch = findStringGroup(entity.groups, kTypeGroup) == "HATCH";
  std::vector<Json> chains;
  for (const Datum& group : entity.groups) {
    const Datum& value = client::asList(group)->back();
    const bool is_point = isGroupOf(group, kPointGroup);
    const bool begins = is_hatch && isGroupOf(group, kOutlineGroup);
    if (begins || (is_point && chains.empty())) chains.push_back({{"points", Json::array()}});
    if (is_point) chains.back()["points"].push_back(pointJson(value));
    if (!isGroupOf(group, kBulgeGroup)) continue;
    Json& bulges = chains.back()["bulges"];
    while (bulges.size() + 1 < chains.back()["points"].size()) bulges.push_back(nullptr);
    bulges.push_back(numberJson(*client::asNumber(value)));
  }
  for (Json& chain : chains) {
    if (!chain.contains("bulges")) continue;
    while (chain["bulges"].size() < chain["points"].size()) chain["bulges"].push_back(nullptr);
  }
  if (is_hatch) {
    json["outlines"] = chains;
  } else {
    json.update(chains.front());
  }
}

}  // namespace

Json entityJson(const Entity& entity) {
  const std::string type(findStringGroup(entity.groups, kTypeGroup));
  Json json = {{"handle", entity.handle}, {"type", type}};
  Json other = Json::array();
  const bool has_chains = hasChains(entity.groups);
  bool has_vertices = false;
  for (const Datum& group : entity.groups) {
    if (has_chains && isVertexGroup(group)) {
      if (!has_vertices) appendChains(entity, json);
      has_vertices = true;
      continue;
    }
    const DatumList& parts = *client::asList(group);
    const double code = *client::asNumber(parts.front());
    if (code == kTypeGroup) continue;
    const auto* const rule = std::find_if(
        std::begin(kKeyRules), std::end(kKeyRules),
        [&](const KeyRule& known) { return appliesTo(known, type) && known.code == code; });
    if (rule == std::end(kKeyRules)) {
      other.push_back({numberJson(code), client::printDatum(parts.back())});
    } else if (!json.contains(rule->key)) {
      json[std::string(rule->key)] = valueJson(*rule, parts.back());
    }
  }
  if (!other.empty()) json["other"] = std::move(other);
  return json;
}

}  // namespace lisp_worker::console
