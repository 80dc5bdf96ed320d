// Entities of the drawing, as lists of groups.
//
// A group is a list of two: a code that says what it is, and the value. The dialect has no dotted
// pairs, so (8 "HOLES") is written where other dialects write (8 . "HOLES"), and a point is a list
// of its own, (10 (5 5 0)). The codes:
//
//   -1  handle, a string; ENTGET puts it first, ENTMOD finds the entity by it
//    0  type, a string: POINT, LINE, CIRCLE, ARC, POLYLINE, TEXT or HATCH
//    8  layer, a string
//    1  text            10  point: place, start or centre     11  point: end of a line
//   40  radius or height, above 0      50, 51  start and end of an arc, in radians, against the
//                                              clock; 50 of a text its direction
//   62  colour, 1 to 255; 256, or no such group, is the layer's
//    6  line type, a string     48  its scale     370  line weight, in hundredths of a millimetre
//   42  bulge of the arc that begins at the vertex before it (console/polyline.h)
//    2  pattern of a hatch      93  begins an outline of so many vertices     52  angle of its
//    lines
//   41  distance between them, in millimetres of paper
//   70  1 for a closed polyline        72  a text begins at its point (0, or no such group), is
//                                          centred on it (1) or ends there (2)
//
// A polyline or hatch has a group 10 for each of its two or more vertices. Groups that would change
// how an entity looks, and that the console does not draw, are refused unless they have no effect.
// Groups with other codes are kept and not looked at. docs/ENTITIES.md has all of this for users.

#ifndef CONSOLE_ENTITY_H_
#define CONSOLE_ENTITY_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lisp_worker/client/coordinates.h"
#include "lisp_worker/client/datum.h"

namespace lisp_worker::console {

inline constexpr int kHandleGroup = -1;
inline constexpr int kTypeGroup = 0;
inline constexpr int kTextGroup = 1;
inline constexpr int kPatternGroup = 2;
inline constexpr int kLineTypeGroup = 6;
inline constexpr int kLayerGroup = 8;
inline constexpr int kPointGroup = 10;
inline constexpr int kEndPointGroup = 11;
inline constexpr int kSizeGroup = 40;
inline constexpr int kPatternDistanceGroup = 41;
inline constexpr int kBulgeGroup = 42;
inline constexpr int kLineScaleGroup = 48;
inline constexpr int kStartAngleGroup = 50;
inline constexpr int kEndAngleGroup = 51;
inline constexpr int kPatternAngleGroup = 52;
inline constexpr int kColourGroup = 62;
inline constexpr int kClosedGroup = 70;
inline constexpr int kAlignmentGroup = 72;
inline constexpr int kOutlineGroup = 93;
inline constexpr int kLineWeightGroup = 370;

// The colour number that means the layer's.
inline constexpr int kColourByLayer = 256;

struct Entity {
  std::string handle;
  client::DatumList groups;  // Without the handle's.

  friend bool operator==(const Entity&, const Entity&) = default;
};

[[nodiscard]] client::Datum makeGroup(int code, client::Datum value);

// The code of a group; empty when `datum` is none.
[[nodiscard]] std::optional<double> groupCode(const client::Datum& datum);
[[nodiscard]] bool isGroup(const client::Datum& datum);

// True when `datum` is a group with that code.
[[nodiscard]] bool isGroupOf(const client::Datum& datum, int code);

// The value of the first group with `code`; null when there is none. A pointer into `groups`.
[[nodiscard]] const client::Datum* findGroup(const client::DatumList& groups, int code);

// The string in the first group with `code`; empty when there is none. A view into `groups`.
[[nodiscard]] std::string_view findStringGroup(const client::DatumList& groups, int code);

// The number in the first group with `code`; `otherwise` when there is none.
[[nodiscard]] double findNumberGroup(const client::DatumList& groups, int code, double otherwise);

// A point of two or three finite coordinates; empty when `datum` is none.
[[nodiscard]] std::optional<client::Point> readPoint(const client::Datum& datum);

// The points of all groups with `code`, in their order.
[[nodiscard]] std::vector<client::Point> findPoints(const client::DatumList& groups, int code);

// True for a list of two or three finite numbers.
[[nodiscard]] bool isPoint(const client::Datum& datum);

// The reason why `datum` is not a group, for a person; empty when it is one.
[[nodiscard]] std::string whyNoGroup(const client::Datum& datum);

// The reason why `datum` cannot be the groups of an entity, for a person; empty when it can.
[[nodiscard]] std::string whyNoEntity(const client::Datum& datum);

// The groups of an entity of this type, with their units and defaults; empty for an unknown type.
[[nodiscard]] std::string typeReference(std::string_view type);

// The types, and the groups of one that other types do not have, or mean otherwise; with an empty
// type those of every entity.
struct GroupNote {
  std::string_view code;
  std::string_view meaning;
  std::string_view otherwise;  // Without such a group.
};
[[nodiscard]] std::vector<std::string_view> entityTypes();
[[nodiscard]] std::vector<GroupNote> groupsOf(std::string_view type);

// The same for all types, with the rules that all of them share.
[[nodiscard]] std::string entityReference();

// One line for a person: "E1 CIRCLE on layer HOLES: centre (5 5 0), radius 3", with numbers
// rounded to a millionth.
[[nodiscard]] std::string describeEntity(const Entity& entity);

}  // namespace lisp_worker::console

#endif  // CONSOLE_ENTITY_H_
