#include "console/entity.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <utility>

#include "client/answer_text.h"
#include "client/number_text.h"

namespace console {

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

constexpr std::array<TypeRule, 6> kTypeRules = {{
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
}};

const TypeRule* findTypeRule(std::string_view type) {
  const auto rule = std::find_if(kTypeRules.begin(), kTypeRules.end(),
                                 [type](const TypeRule& r) { return r.type == type; });
  return rule == kTypeRules.end() ? nullptr : &*rule;
}

bool isWholeFrom(int lowest, int highest, const Datum& value) {
  const double x = asNumber(value).value_or(lowest - 1);
  return x >= lowest && x <= highest && x == std::floor(x);
}

std::string whyBadValue(int code, const Datum& value) {
  switch (code) {
    case kTypeGroup:
    case kTextGroup:
      return asString(value) ? "" : "needs a string";
    case kLayerGroup:
      return asString(value).value_or("").empty() ? "needs a string that is not empty" : "";
    case kPointGroup:
    case kEndPointGroup:
      return isPoint(value) ? "" : "needs a point";
    case kSizeGroup:
      return asNumber(value).value_or(0) > 0 ? "" : "needs a number above 0";
    case kStartAngleGroup:
    case kEndAngleGroup:
      return asNumber(value) ? "" : "needs a number";
    case kColourGroup:
      return isWholeFrom(1, kColourByLayer, value) ? "" : "needs a colour from 1 to 256";
    case kClosedGroup:
      return isWholeFrom(0, 1, value) ? "" : "needs 0 or 1";
    case kAlignmentGroup:
      return isWholeFrom(0, 2, value) ? "" : "needs 0, 1 or 2";
    default:
      return "";
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

std::string whyNoEntity(const Datum& datum) {
  const DatumList* const groups = asList(datum);
  if (groups == nullptr) return "an entity is a list of groups";
  for (const Datum& group : *groups) {
    if (!groupCode(group)) return "a group is a list of a code and a value";
  }
  const std::string type(findStringGroup(*groups, kTypeGroup));
  const TypeRule* const rule = findTypeRule(type);
  if (rule == nullptr) return type.empty() ? "no type: (0 TYPE)" : "unknown type: " + type;
  for (const GroupRule& required : rule->groups) {
    if (required.name != nullptr && findGroup(*groups, required.code) == nullptr) {
      return type + " needs a group " + std::to_string(required.code) + ", " + required.name;
    }
  }
  for (const int code :
       {kLayerGroup, kTextGroup, kPointGroup, kEndPointGroup, kSizeGroup, kStartAngleGroup,
        kEndAngleGroup, kColourGroup, kClosedGroup, kAlignmentGroup}) {
    for (const Datum& group : *groups) {
      if (groupCode(group) != code) continue;
      const std::string reason = whyBadValue(code, asList(group)->back());
      if (!reason.empty()) return "group " + std::to_string(code) + " " + reason;
      if (type != "POLYLINE" || code != kPointGroup) break;  // Of the others the first counts.
    }
  }
  if (type == "POLYLINE" && findPoints(*groups, kPointGroup).size() < 2) {
    return "POLYLINE needs two groups 10, through";
  }
  // ENTGET must be able to hand everything back.
  const char* const unwritable = client::whyUnwritable(datum);
  return unwritable == nullptr ? "" : unwritable;
}

std::string describeEntity(const Entity& entity) {
  const std::string_view type = findStringGroup(entity.groups, kTypeGroup);
  std::string line = entity.handle + " " + std::string(type) + " on layer " +
                     std::string(findStringGroup(entity.groups, kLayerGroup));
  const TypeRule* const rule = findTypeRule(type);
  if (rule == nullptr) return line;
  if (type == "POLYLINE") {
    line +=
        findNumberGroup(entity.groups, kClosedGroup, 0) == 1 ? ": closed, through" : ": through";
    for (const Datum& group : entity.groups) {
      if (groupCode(group) == kPointGroup) line += " " + displayValue(asList(group)->back());
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

}  // namespace console
