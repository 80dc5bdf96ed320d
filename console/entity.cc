// Tables of the types, of the groups that each must have, and of the groups that cannot be drawn.
// Checks, descriptions and the reference for users come from them.

#include "console/entity.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <utility>

#include "console/command_input.h"
#include "console/line_style.h"
#include "console/polyline.h"
#include "console/shape.h"
#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/number_text.h"

namespace lisp_worker::console {

using client::asList;
using client::asNumber;
using client::asString;
using client::Datum;
using client::DatumList;

namespace {

// A group that a type of entity must have, and its name for a person.
struct GroupRule {
  int code;
  const char* name;
};

struct TypeRule {
  std::string_view type;
  std::array<GroupRule, 4> groups;  // As many as have a name.
};

constexpr std::array<TypeRule, 7> kTypeRules = {{
    {"POINT", {{{kPointGroup, "at"}}}},
    {"LINE", {{{kPointGroup, "from"}, {kEndPointGroup, "to"}}}},
    {"CIRCLE", {{{kPointGroup, "centre"}, {kSizeGroup, "radius"}}}},
    {"ARC",
     {{{kPointGroup, "centre"},
       {kSizeGroup, "radius"},
       {kStartAngleGroup, "from angle"},
       {kEndAngleGroup, "to angle"}}}},
    {"POLYLINE", {{{kPointGroup, "through"}}}},
    {"TEXT", {{{kPointGroup, "at"}, {kSizeGroup, "height"}, {kTextGroup, "text"}}}},
    {"HATCH", {{{kPatternGroup, "pattern"}, {kPointGroup, "outline"}}}},
}};

const TypeRule* findTypeRule(std::string_view type) {
  const auto rule = std::find_if(kTypeRules.begin(), kTypeRules.end(),
                                 [type](const TypeRule& r) { return r.type == type; });
  return rule == kTypeRules.end() ? nullptr : &*rule;
}

// A group that changes how an entity looks, and that is not drawn.
struct UndrawnGroup {
  int code;
  std::string_view type;      // Empty for every type.
  std::string_view harmless;  // The values without effect, as text; several between blanks.
  std::string_view what;
};

constexpr std::array<UndrawnGroup, 9> kUndrawnGroups = {{
    {39, "", "0", "a thickness is not drawn"},
    {210, "", "(0 0 1)", "only entities in the x y plane are drawn"},
    {40, "POLYLINE", "0", "widths are not drawn: give a line weight, group 370"},
    {41, "POLYLINE", "0", "widths are not drawn: give a line weight, group 370"},
    {43, "POLYLINE", "0", "widths are not drawn: give a line weight, group 370"},
    {41, "TEXT", "1", "letters of another width are not drawn"},
    {51, "TEXT", "0", "slanted letters are not drawn"},
    {71, "TEXT", "0", "mirrored texts are not drawn"},
    {73, "TEXT", "0", "texts stand on their points only"},
}};

bool hasSize(std::string_view type) { return type == "CIRCLE" || type == "ARC" || type == "TEXT"; }

bool isHarmless(std::string_view harmless, const Datum& value) {
  const auto text = client::printDatum(value);
  for (std::size_t at = harmless.find(text); at != std::string_view::npos;
       at = harmless.find(text, at + 1)) {
    const std::size_t end = at + text.size();
    if ((at == 0 || harmless[at - 1] == ' ') && (end == harmless.size() || harmless[end] == ' ')) {
      return true;
    }
  }
  return false;
}

// The reason why a group cannot be drawn as it says; empty when it can, or has no effect.
std::string whyUndrawn(std::string_view type, double code, const Datum& value) {
  for (const UndrawnGroup& group : kUndrawnGroups) {
    const bool is_meant = group.code == code && (group.type.empty() || group.type == type);
    if (!is_meant || isHarmless(group.harmless, value)) continue;
    return "group " + std::to_string(group.code) + ": " + std::string(group.what);
  }
  // Angles of programs that count on may be a turn too large, but not many.
  constexpr double kAngleMax = 4 * kPi;
  const bool is_angle = (type == "ARC" && (code == kStartAngleGroup || code == kEndAngleGroup)) ||
                        (type == "TEXT" && code == kStartAngleGroup) ||
                        (type == "HATCH" && code == kPatternAngleGroup);
  const auto angle = is_angle ? asNumber(value) : std::nullopt;
  if (!angle || std::fabs(*angle) <= kAngleMax) return "";
  return "group " + std::to_string(static_cast<int>(code)) + " is in radians, and " +
         client::printNumber(*angle) + " is more than two turns; " + client::printNumber(*angle) +
         " degrees are " + client::printNumber(std::round(*angle / 180 * kPi * 1e6) / 1e6) +
         " radians";
}

bool isWholeFrom(int lowest, int highest, const Datum& value) {
  const double x = asNumber(value).value_or(lowest - 1);
  return x >= lowest && x <= highest && x == std::floor(x);
}

constexpr std::array<std::string_view, 3> kPatterns = {"SOLID", "LINE", "NET"};
constexpr double kPatternDistanceMin = 0.5;  // Closer lines are a blot.
constexpr double kPatternDistanceMax = 1000;

std::string whyBadLineType(const Datum& value) {
  const auto name = asString(value);
  if (name && (upperCase(*name) == kTypeByLayer || dashesOf(*name))) return "";
  return "needs a line type: BYLAYER " + knownLineTypes();
}

// Of the groups that mean something in some types only.
std::string whyBadValueIn(std::string_view type, int code, const Datum& value) {
  const double number = asNumber(value).value_or(std::nan(""));
  if (code == kSizeGroup && !hasSize(type)) return "";
  if (code == kSizeGroup) return number > 0 ? "" : "needs a number above 0";
  if (code == kBulgeGroup && (type == "POLYLINE" || type == "HATCH")) {
    return std::isfinite(number) ? "" : "needs a number";
  }
  if (type != "HATCH") return "";
  switch (code) {
    case kPatternGroup: {
      const auto name = asString(value).value_or("");
      return std::find(kPatterns.begin(), kPatterns.end(), name) != kPatterns.end()
                 ? ""
                 : "needs SOLID, LINE or NET";
    }
    case kPatternDistanceGroup:
      return number >= kPatternDistanceMin && number <= kPatternDistanceMax
                 ? ""
                 : "needs a distance from 0.5 to 1000 millimetres of paper";
    case kPatternAngleGroup:
      return std::isfinite(number) ? "" : "needs a number";
    default:
      return "";
  }
}

std::string whyBadValue(std::string_view type, int code, const Datum& value) {
  switch (code) {
    case kTypeGroup:
    case kTextGroup:
      return asString(value) ? "" : "needs a string";
    case kLayerGroup:
      return asString(value).value_or("").empty() ? "needs a string that is not empty" : "";
    case kPointGroup:
    case kEndPointGroup:
      return isPoint(value) ? "" : "needs a point";
    case kStartAngleGroup:
    case kEndAngleGroup:
      return asNumber(value) ? "" : "needs a number";
    case kLineTypeGroup:
      return whyBadLineType(value);
    case kLineScaleGroup: {
      const double scale = asNumber(value).value_or(0);
      return scale >= 0.01 && scale <= 100 ? "" : "needs a scale from 0.01 to 100";
    }
    case kLineWeightGroup:
      return isWholeFrom(kWeightDefault, kWeightMax, value)
                 ? ""
                 : "needs hundredths of a millimetre, 0 to 211, or -1 for the layer's weight";
    case kColourGroup:
      return isWholeFrom(1, kColourByLayer, value) ? "" : "needs a colour from 1 to 256";
    case kClosedGroup:
      return isWholeFrom(0, 1, value) ? "" : "needs 0 or 1";
    case kAlignmentGroup:
      return isWholeFrom(0, 2, value) ? "" : "needs 0, 1 or 2";
    default:
      return whyBadValueIn(type, code, value);
  }
}

double roundedForDisplay(double value) {
  constexpr double kStep = 1e6;
  const double rounded = std::round(value * kStep) / kStep;
  return std::isfinite(rounded) ? rounded + 0.0 : value;  // Adding 0 turns -0 into 0.
}

std::string displayValue(const Datum& value) {
  if (const auto x = asNumber(value)) return client::printNumber(roundedForDisplay(*x));
  const DatumList* const elements = asList(value);
  if (elements == nullptr) return client::printDatum(value);
  std::string text = "(";
  for (const Datum& element : *elements) {
    if (&element != elements->data()) text += ' ';
    text += displayValue(element);
  }
  return text + ')';
}

}  // namespace

Datum makeGroup(int code, Datum value) {
  return client::list({client::number(code), std::move(value)});
}

std::optional<double> groupCode(const Datum& datum) {
  const DatumList* const parts = asList(datum);
  if (parts == nullptr || parts->size() != 2) return std::nullopt;
  return asNumber(parts->front());
}

bool isGroup(const Datum& datum) { return groupCode(datum).has_value(); }

bool isGroupOf(const Datum& datum, int code) { return groupCode(datum) == code; }

const Datum* findGroup(const DatumList& groups, int code) {
  for (const Datum& group : groups) {
    if (groupCode(group) == code) return &asList(group)->back();
  }
  return nullptr;
}

std::string_view findStringGroup(const DatumList& groups, int code) {
  const Datum* const value = findGroup(groups, code);
  return value == nullptr ? std::string_view() : asString(*value).value_or(std::string_view());
}

double findNumberGroup(const DatumList& groups, int code, double otherwise) {
  const Datum* const value = findGroup(groups, code);
  return value == nullptr ? otherwise : asNumber(*value).value_or(otherwise);
}

std::optional<client::Point> readPoint(const Datum& datum) {
  if (!isPoint(datum)) return std::nullopt;
  const DatumList& parts = *asList(datum);
  return client::Point{*asNumber(parts[0]), *asNumber(parts[1]),
                       parts.size() == 3 ? *asNumber(parts[2]) : 0};
}

std::vector<client::Point> findPoints(const DatumList& groups, int code) {
  std::vector<client::Point> points;
  for (const Datum& group : groups) {
    if (groupCode(group) != code) continue;
    if (const auto point = readPoint(asList(group)->back())) points.push_back(*point);
  }
  return points;
}

bool isPoint(const Datum& datum) {
  const DatumList* const parts = asList(datum);
  return parts != nullptr && (parts->size() == 2 || parts->size() == 3) &&
         std::all_of(parts->begin(), parts->end(), [](const Datum& part) {
           const auto coordinate = asNumber(part);
           return coordinate && std::isfinite(*coordinate);
         });
}

namespace {

// A group as other hosts write it, with a point or without its list around a point, and as it is
// written here. Empty for anything else.
std::string spellingOfGroup(const Datum& datum) {
  const DatumList* const parts = asList(datum);
  if (parts == nullptr || parts->size() < 3 || !asNumber(parts->front())) return "";
  DatumList rest(parts->begin() + 1, parts->end());
  const bool is_dotted = client::printDatum(rest.front()) == "." && rest.size() == 2;
  const bool is_point = isPoint(client::list(rest));
  if (!is_dotted && !is_point) return "";
  const Datum value = is_dotted ? rest.back() : client::list(std::move(rest));
  return ": " + displayValue(client::list({parts->front(), value})) + ", not " +
         displayValue(datum) + (is_point ? "; LIST makes it, not CONS" : "");
}

std::string whyNoType(const std::string& type) {
  if (type.empty()) return "no type: (0 TYPE)";
  std::string capitals = type;
  for (char& c : capitals) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return "unknown type: " + type +
         (findTypeRule(capitals) == nullptr ? "" : "; it is written " + capitals);
}

}  // namespace

std::string whyNoGroup(const Datum& datum) {
  return groupCode(datum) ? "" : "a group is a list of a code and a value" + spellingOfGroup(datum);
}

std::string whyNoEntity(const Datum& datum) {
  const DatumList* const groups = asList(datum);
  if (groups == nullptr) return "an entity is a list of groups";
  for (const Datum& group : *groups) {
    if (std::string reason = whyNoGroup(group); !reason.empty()) return reason;
  }
  const std::string type(findStringGroup(*groups, kTypeGroup));
  const TypeRule* const rule = findTypeRule(type);
  if (rule == nullptr) return whyNoType(type);
  for (const GroupRule& required : rule->groups) {
    if (required.name != nullptr && findGroup(*groups, required.code) == nullptr) {
      return type + " needs a group " + std::to_string(required.code) + ", " + required.name;
    }
  }
  for (const int code : {kLayerGroup, kTextGroup, kPatternGroup, kPointGroup, kEndPointGroup,
                         kSizeGroup, kPatternDistanceGroup, kBulgeGroup, kStartAngleGroup,
                         kEndAngleGroup, kPatternAngleGroup, kColourGroup, kLineTypeGroup,
                         kLineScaleGroup, kLineWeightGroup, kClosedGroup, kAlignmentGroup}) {
    for (const Datum& group : *groups) {
      if (groupCode(group) != code) continue;
      const std::string reason = whyBadValue(type, code, asList(group)->back());
      if (!reason.empty()) return "group " + std::to_string(code) + " " + reason;
      if (!hasChains(*groups) || !isVertexGroup(group)) break;  // Of the others the first counts.
    }
  }
  if (type == "POLYLINE" && findPoints(*groups, kPointGroup).size() < 2) {
    return "POLYLINE needs two groups 10, through";
  }
  if (hasChains(*groups)) {
    std::string reason = whyNoChains(*groups);
    if (!reason.empty()) return reason;
  }
  for (const Datum& group : *groups) {
    std::string reason = whyUndrawn(type, *groupCode(group), asList(group)->back());
    if (!reason.empty()) return reason;
  }
  // ENTGET must be able to hand everything back.
  const char* const unwritable = client::whyUnwritable(datum);
  return unwritable == nullptr ? "" : unwritable;
}

namespace {

struct GroupHelp {
  std::string_view type;  // Empty for every type.
  std::string_view code;
  std::string_view meaning;
  std::string_view otherwise;  // Without such a group.
};

constexpr std::array<GroupHelp, 29> kGroupHelp = {{
    {"", "0", "the type, a text", "needed"},
    {"", "8", "the layer, a text that is not empty", "the current layer"},
    {"", "62", "the colour, 1 to 255, or 256 for the layer's", "256"},
    {"", "6", "the line type, such as \"DASHED\" or \"CENTER\"", "\"BYLAYER\""},
    {"", "48", "as many times as long are its dashes, 0.01 to 100", "1"},
    {"", "370", "the line weight in hundredths of a millimetre, 0 to 211", "-1, the layer's"},
    {"POINT", "10", "where it is, a point", "needed"},
    {"LINE", "10", "where it begins, a point", "needed"},
    {"LINE", "11", "where it ends, a point", "needed"},
    {"CIRCLE", "10", "the centre, a point", "needed"},
    {"CIRCLE", "40", "the radius, above 0", "needed"},
    {"ARC", "10", "the centre, a point", "needed"},
    {"ARC", "40", "the radius, above 0", "needed"},
    {"ARC", "50", "where it begins, in radians from the x axis, against the clock", "needed"},
    {"ARC", "51", "where it ends, in radians, against the clock from its beginning", "needed"},
    {"POLYLINE", "10", "a vertex, a point; two of these groups or more, in their order", "needed"},
    {"POLYLINE", "42", "behind a vertex: the bulge of the arc to the next one", "0, a line"},
    {"POLYLINE", "70", "1 when it is closed", "0, open"},
    {"TEXT", "10", "where it stands, a point", "needed"},
    {"TEXT", "40", "the height of its capitals, above 0", "needed"},
    {"TEXT", "1", "the text; %%c %%d %%p draw signs: diameter, degrees, plus or minus", "needed"},
    {"TEXT", "50", "its direction, in radians, against the clock", "0, to the right"},
    {"TEXT", "72", "it begins at its point (0), is centred on it (1) or ends there (2)", "0"},
    {"HATCH", "2", "the pattern: \"SOLID\", \"LINE\" or \"NET\"", "needed"},
    {"HATCH", "10", "a vertex of an outline; two of these groups or more", "needed"},
    {"HATCH", "42", "behind a vertex: the bulge of the arc to the next one", "0, a line"},
    {"HATCH", "93", "an outline begins, of so many vertices; one inside another is a hole", "one"},
    {"HATCH", "41", "the distance of its lines in millimetres of paper, 0.5 to 1000", "3"},
    {"HATCH", "52", "the angle of its lines, in radians", "a half of a right angle"},
}};

constexpr std::string_view kCommonHelp =
    "A group is a list of a code and a value: (40 3). A point is a list of two or three numbers "
    "of\n"
    "its own: (10 (5 5 0)). Lengths are in the units of the drawing, angles in radians; only the\n"
    "inputs of COMMAND are in degrees. ENTGET adds the group -1, the handle, a text such as "
    "\"E7\";\n"
    "ENTMOD finds the entity by it and changes the groups that are named. A bulge is the tangent "
    "of\n"
    "a quarter of the arc's angle, above 0 against the clock: 1 is half a circle. Dashes, weights\n"
    "and patterns have their lengths on paper, at every scale. Line types are\n";

std::string groupLines(std::string_view type) {
  constexpr std::size_t kCodeWidth = 5;
  constexpr std::size_t kMeaningWidth = 72;
  std::string text;
  for (const GroupHelp& group : kGroupHelp) {
    if (group.type != type || group.code.empty()) continue;
    std::string line = "  " + std::string(group.code);
    line.resize(2 + kCodeWidth, ' ');
    line += group.meaning;
    line.resize(std::max(line.size() + 2, 2 + kCodeWidth + kMeaningWidth), ' ');
    text += line + std::string(group.otherwise) + "\n";
  }
  for (const UndrawnGroup& group : kUndrawnGroups) {
    if (group.type != type) continue;
    std::string line = "  " + std::to_string(group.code);
    line.resize(2 + kCodeWidth, ' ');
    text += line + "refused, except " + std::string(group.harmless) + ": " +
            std::string(group.what) + "\n";
  }
  return text;
}

}  // namespace

std::string typeReference(std::string_view type) {
  if (findTypeRule(type) == nullptr) return "";
  return std::string(type) + ", an entity, by its groups:\n" + groupLines(type) +
         "and as every entity:\n" + groupLines("");
}

std::vector<std::string_view> entityTypes() {
  std::vector<std::string_view> types;
  for (const TypeRule& rule : kTypeRules) types.push_back(rule.type);
  return types;
}

std::vector<GroupNote> groupsOf(std::string_view type) {
  std::vector<GroupNote> groups;
  for (const GroupHelp& group : kGroupHelp) {
    if (group.type == type) groups.push_back({group.code, group.meaning, group.otherwise});
  }
  return groups;
}

std::string entityReference() {
  std::string text(kCommonHelp);
  text += knownLineTypes() + ".\n";
  text += "\nEvery entity\n" + groupLines("");
  for (const TypeRule& rule : kTypeRules) {
    text += "\n" + std::string(rule.type) + "\n" + groupLines(rule.type);
  }
  return text;
}

std::string describeEntity(const Entity& entity) {
  const std::string_view type = findStringGroup(entity.groups, kTypeGroup);
  std::string line = entity.handle + " " + std::string(type) + " on layer " +
                     std::string(findStringGroup(entity.groups, kLayerGroup));
  const TypeRule* const rule = findTypeRule(type);
  if (rule == nullptr) return line;
  if (hasChains(entity.groups)) {
    const bool is_closed = findNumberGroup(entity.groups, kClosedGroup, 0) == 1;
    line += type == "HATCH"
                ? ": " + std::string(findStringGroup(entity.groups, kPatternGroup)) + ", inside"
            : is_closed ? ": closed, through"
                        : ": through";
    for (const Datum& group : entity.groups) {
      const Datum& value = asList(group)->back();
      const bool is_arc = isGroupOf(group, kBulgeGroup) && asNumber(value) != 0;
      const bool is_next = isGroupOf(group, kOutlineGroup) && !line.ends_with("inside");
      if (is_next) line += " and";
      if (is_arc) line += " bulge";
      if (is_arc || isGroupOf(group, kPointGroup)) line += " " + displayValue(value);
    }
    return line;
  }
  const char* separator = ": ";
  for (const GroupRule& group : rule->groups) {
    if (group.name == nullptr) continue;
    line += separator;
    line += group.name;
    line += " " + displayValue(*findGroup(entity.groups, group.code));
    separator = ", ";
  }
  return line;
}

}  // namespace lisp_worker::console
