// One function for each command, and a table of them with the line that :help shows. A command
// works on a copy of the drawing, which takes its place if all went well.

#include "console/commands.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>
#include <utility>

#include "console/colour.h"
#include "console/command_input.h"
#include "console/line_style.h"
#include "console/polyline.h"
#include "console/polyline_input.h"
#include "console/shape.h"
#include "explain/evaluation.h"
#include "lisp_worker/client/number_text.h"

namespace lisp_worker::console {

using client::Datum;
using client::DatumList;
using client::Point;

namespace {

Datum pointDatum(const Point& point) { return client::point(point.x, point.y, point.z); }

DatumList groupsOf(const char* type, const Point& at) {
  return {makeGroup(kTypeGroup, client::string(type)), makeGroup(kPointGroup, pointDatum(at))};
}

DatumList circleGroups(const Point& centre, double radius) {
  DatumList groups = groupsOf("CIRCLE", centre);
  groups.push_back(makeGroup(kSizeGroup, client::number(radius)));
  return groups;
}

// Every command works on a copy of the drawing, and reports what it has done or leaves the reason
// why it could not in its input.
class CommandRun {
 public:
  CommandRun(Drawing& drawing, CommandInput& input) : drawing_(drawing), input_(input) {}

  std::string line();
  std::string polyline();
  std::string hatch();
  std::string circle();
  std::string arc();
  std::string point();
  std::string text();
  std::string move();
  std::string copy();
  std::string rotate();
  std::string scale();
  std::string mirror();
  std::string erase();
  std::string layer();
  std::string zoom();

 private:
  using Handles = std::vector<std::string>;

  // Points up to Enter or the word C, which closes; at least `count_min`.
  std::vector<Point> takePoints(std::size_t count_min, bool& closes);
  std::string add(const std::vector<DatumList>& entities);
  std::optional<Handles> takeSelection();
  std::string transformAll(const char* done, const Handles& handles, const Similarity& mapping);
  Handles copyAll(const Handles& handles, const Similarity& mapping);
  std::string setLayerOption();
  std::string setLayerLook(std::string_view option);

  Drawing& drawing_;
  CommandInput& input_;
};

// "moved E1 E2", with a count in the place of handles that are too many to read.
std::string listed(const char* done, const std::vector<std::string>& handles) {
  constexpr std::size_t kListedMax = 20;
  std::string text = done;
  for (std::size_t n = 0; n < handles.size() && n < kListedMax; ++n) text += " " + handles[n];
  if (handles.size() > kListedMax) {
    text += " and " + std::to_string(handles.size() - kListedMax) + " more";
  }
  return text;
}

double distanceOf(const Point& from, const Point& to) {
  return std::hypot(to.x - from.x, to.y - from.y);
}

std::vector<Point> CommandRun::takePoints(std::size_t count_min, bool& closes) {
  std::vector<Point> points;
  closes = false;
  while (points.size() < count_min || !input_.takeEnter()) {
    if (points.size() > 2 && input_.takeWord("C", "CLOSE")) {
      closes = true;
      break;
    }
    const auto point = input_.takePoint(points.empty() ? "a point" : "another point");
    if (!point) break;
    points.push_back(*point);
  }
  return points;
}

std::string CommandRun::add(const std::vector<DatumList>& entities) {
  Handles handles;
  for (const DatumList& groups : entities) {
    std::string refusal;
    const auto handle = drawing_.add(client::list(groups), refusal);
    if (!handle) {
      input_.fail(refusal);
      return "";
    }
    handles.push_back(*handle);
  }
  return listed("added", handles);
}

std::string CommandRun::line() {
  bool closes = false;
  std::vector<Point> points = takePoints(2, closes);
  if (closes) points.push_back(points.front());
  std::vector<DatumList> lines;
  for (std::size_t n = 1; n < points.size(); ++n) {
    DatumList groups = groupsOf("LINE", points[n - 1]);
    groups.push_back(makeGroup(kEndPointGroup, pointDatum(points[n])));
    lines.push_back(std::move(groups));
  }
  return add(lines);
}

// The groups of the vertices. A bulge of 0 has none.
void appendVertices(const VertexChain& chain, DatumList& groups) {
  for (const Vertex& vertex : chain.vertices) {
    groups.push_back(makeGroup(kPointGroup, pointDatum(vertex.at)));
    if (vertex.bulge != 0) groups.push_back(makeGroup(kBulgeGroup, client::number(vertex.bulge)));
  }
}

std::string CommandRun::polyline() {
  const auto chain = takePolyline(input_);
  if (!chain) return "";
  DatumList groups = {makeGroup(kTypeGroup, client::string("POLYLINE")),
                      makeGroup(kClosedGroup, client::number(chain->is_closed ? 1 : 0))};
  appendVertices(*chain, groups);
  return add({groups});
}

std::string CommandRun::hatch() {
  DatumList groups = {makeGroup(kTypeGroup, client::string("HATCH"))};
  const char* const pattern = input_.takeWord("SOLID")  ? "SOLID"
                              : input_.takeWord("LINE") ? "LINE"
                              : input_.takeWord("NET")  ? "NET"
                                                        : nullptr;
  if (pattern == nullptr) {
    input_.failAtNext("needs SOLID, LINE or NET" +
                      (input_.atEnd() ? "" : ", not " + input_.next()));
    return "";
  }
  groups.push_back(makeGroup(kPatternGroup, client::string(pattern)));
  if (std::string_view(pattern) != "SOLID") {
    const auto distance = input_.takeNumber("a distance of its lines, in millimetres of paper");
    const auto angle = distance ? input_.takeAngle("an angle of its lines") : std::nullopt;
    if (!angle) return "";
    groups.push_back(makeGroup(kPatternDistanceGroup, client::number(*distance)));
    groups.push_back(makeGroup(kPatternAngleGroup, client::number(*angle)));
  }
  const auto handles = takeSelection();
  if (!handles) return "";
  for (const std::string& handle : *handles) {
    const auto chain = closedChainOf(*drawing_.find(handle));
    if (!chain) {
      input_.fail(handle + " encloses nothing: it needs circles and closed polylines");
      return "";
    }
    if (handles->size() > 1) {
      groups.push_back(
          makeGroup(kOutlineGroup, client::number(static_cast<double>(chain->vertices.size()))));
    }
    appendVertices(*chain, groups);
  }
  return add({groups});
}

std::string CommandRun::circle() {
  if (input_.takeWord("2P")) {
    const auto p = input_.takePoint("an end of a diameter");
    const auto q = p ? input_.takePoint("its other end") : std::nullopt;
    if (!q) return "";
    return add(
        {circleGroups({(p->x + q->x) / 2, (p->y + q->y) / 2, p->z}, distanceOf(*p, *q) / 2)});
  }
  if (input_.takeWord("3P")) {
    const auto p = input_.takePoint("a point on the circle");
    const auto q = p ? input_.takePoint("a second point on the circle") : std::nullopt;
    const auto r = q ? input_.takePoint("a third point on the circle") : std::nullopt;
    if (!r) return "";
    const auto centre = centreOf(*p, *q, *r);
    if (!centre) {
      input_.fail("three points on a line make no circle");
      return "";
    }
    return add({circleGroups(*centre, distanceOf(*centre, *p))});
  }
  const auto centre = input_.takePoint("a centre");
  if (!centre) return "";
  const double factor = input_.takeWord("D", "DIAMETER") ? 0.5 : 1;
  const auto size = input_.takeDistance("a radius", *centre);
  return size ? add({circleGroups(*centre, *size * factor)}) : "";
}

std::string CommandRun::arc() {
  std::optional<Point> centre;
  std::optional<Point> start;
  std::optional<Point> end;
  if (input_.takeWord("C", "CENTER")) {
    centre = input_.takePoint("a centre");
    start = centre ? input_.takePoint("a start") : std::nullopt;
    end = start ? input_.takePoint("an end") : std::nullopt;
    if (!end) return "";
  } else {
    start = input_.takePoint("a start");
    const auto between = start ? input_.takePoint("a point on the arc") : std::nullopt;
    end = between ? input_.takePoint("an end") : std::nullopt;
    if (!end) return "";
    centre = centreOf(*start, *between, *end);
    if (!centre) {
      input_.fail("three points on a line make no arc");
      return "";
    }
    const double turn = (between->x - start->x) * (end->y - start->y) -
                        (between->y - start->y) * (end->x - start->x);
    if (turn < 0) std::swap(start, end);  // An arc is kept against the clock.
  }
  DatumList groups = groupsOf("ARC", *centre);
  groups.push_back(makeGroup(kSizeGroup, client::number(distanceOf(*centre, *start))));
  groups.push_back(makeGroup(kStartAngleGroup, client::number(directionOf(*centre, *start))));
  groups.push_back(makeGroup(kEndAngleGroup, client::number(directionOf(*centre, *end))));
  return add({groups});
}

std::string CommandRun::point() {
  bool closes = false;
  std::vector<DatumList> entities;
  for (const Point& at : takePoints(1, closes)) entities.push_back(groupsOf("POINT", at));
  return add(entities);
}

std::string CommandRun::text() {
  double alignment = 0;
  if (input_.takeWord("J", "JUSTIFY")) {
    if (input_.takeWord("C", "CENTER")) {
      alignment = 1;
    } else if (input_.takeWord("R", "RIGHT")) {
      alignment = 2;
    } else if (!input_.takeWord("L", "LEFT")) {
      input_.failAtNext("needs L, C or R after J" +
                        (input_.atEnd() ? "" : ", not " + input_.next()));
      return "";
    }
  }
  const auto at = input_.takePoint("a place");
  if (!at) return "";
  const auto height = input_.takeDistance("a height", *at);
  if (!height) return "";
  if (!(*height > 0)) {
    input_.fail("needs a height above 0");
    return "";
  }
  const auto angle = input_.takeAngle("an angle");
  if (!angle) return "";
  const auto words = input_.takeText("a text");
  if (!words) return "";
  DatumList groups = groupsOf("TEXT", *at);
  groups.push_back(makeGroup(kSizeGroup, client::number(*height)));
  groups.push_back(makeGroup(kTextGroup, client::string(*words)));
  if (*angle != 0) groups.push_back(makeGroup(kStartAngleGroup, client::number(*angle)));
  if (alignment != 0) groups.push_back(makeGroup(kAlignmentGroup, client::number(alignment)));
  return add({groups});
}

std::optional<CommandRun::Handles> CommandRun::takeSelection() {
  auto handles = input_.takeSelection(drawing_);
  if (handles) drawing_.setPreviousSelection(*handles);
  return handles;
}

std::string CommandRun::transformAll(const char* done, const Handles& handles,
                                     const Similarity& mapping) {
  // All of them or none: far enough away, a number is none.
  for (const std::string& handle : handles) {
    const std::string reason =
        whyNoEntity(client::list(transformed(drawing_.find(handle)->groups, mapping)));
    if (reason.empty()) continue;
    input_.fail("makes no entity of " + handle + ": " + reason);
    return "";
  }
  for (const std::string& handle : handles) drawing_.transform(handle, mapping);
  return listed(done, handles);
}

CommandRun::Handles CommandRun::copyAll(const Handles& handles, const Similarity& mapping) {
  Handles copies;
  for (const std::string& handle : handles) {
    std::string refusal;
    const auto copy =
        drawing_.add(client::list(transformed(drawing_.find(handle)->groups, mapping)), refusal);
    if (copy) copies.push_back(*copy);
  }
  return copies;
}

std::string CommandRun::move() {
  const auto handles = takeSelection();
  const auto from = handles ? input_.takePoint("a base point") : std::nullopt;
  const auto to = from ? input_.takePoint("a second point") : std::nullopt;
  return to ? transformAll("moved", *handles, translation(to->x - from->x, to->y - from->y)) : "";
}

std::string CommandRun::copy() {
  const auto handles = takeSelection();
  const auto from = handles ? input_.takePoint("a base point") : std::nullopt;
  auto to = from ? input_.takePoint("a second point") : std::nullopt;
  Handles copies;
  while (to) {
    const Handles made = copyAll(*handles, translation(to->x - from->x, to->y - from->y));
    copies.insert(copies.end(), made.begin(), made.end());
    to = input_.atPoint() ? input_.takePoint("a second point") : std::nullopt;
  }
  return listed("added copies", copies);
}

std::string CommandRun::rotate() {
  const auto handles = takeSelection();
  const auto centre = handles ? input_.takePoint("a centre") : std::nullopt;
  const auto angle = centre ? input_.takeAngle("an angle") : std::nullopt;
  return angle ? transformAll("rotated", *handles, rotation(*centre, *angle)) : "";
}

std::string CommandRun::scale() {
  const auto handles = takeSelection();
  const auto centre = handles ? input_.takePoint("a centre") : std::nullopt;
  const auto factor = centre ? input_.takeNumber("a factor") : std::nullopt;
  if (!factor) return "";
  if (!(*factor > 0)) {
    input_.fail("needs a factor above 0");
    return "";
  }
  return transformAll("scaled", *handles, scaling(*centre, *factor));
}

std::string CommandRun::mirror() {
  const auto handles = takeSelection();
  const auto from = handles ? input_.takePoint("a point of the mirror line") : std::nullopt;
  const auto to = from ? input_.takePoint("a second point of the mirror line") : std::nullopt;
  if (!to) return "";
  if (distanceOf(*from, *to) == 0) {
    input_.fail("two equal points make no mirror line");
    return "";
  }
  const Similarity mapping = reflection(*from, *to);
  if (input_.takeWord("Y", "YES")) return transformAll("mirrored", *handles, mapping);
  if (!input_.takeWord("N", "NO")) input_.takeEnter();
  return listed("added mirrored", copyAll(*handles, mapping));
}

std::string CommandRun::erase() {
  const auto handles = takeSelection();
  if (!handles) return "";
  for (const std::string& handle : *handles) drawing_.erase(handle);
  return listed("erased", *handles);
}

std::vector<std::string> splitNames(std::string_view names) {
  std::vector<std::string> split;
  for (std::size_t begin = 0; begin <= names.size();) {
    const std::size_t end = std::min(names.find(',', begin), names.size());
    if (end != begin) split.emplace_back(names.substr(begin, end - begin));
    begin = end + 1;
  }
  return split;
}

// The inputs behind the options C, L and LW of LAYER: a colour, a line type or a line weight, and
// the layers that take it.
std::string CommandRun::setLayerLook(std::string_view option) {
  const auto fail = [this](const std::string& needed) {
    input_.failAtNext("needs " + needed + (input_.atEnd() ? "" : ", not " + input_.next()));
    return "";
  };
  Layer look;
  std::string done;
  if (option == "C") {
    const auto colour = input_.atEnd() ? std::nullopt : readColour(input_.next());
    if (!colour) return fail("a colour, 1 to 255 or a name such as red");
    input_.takeAny();
    look.colour = *colour;
    done = "colour " + std::to_string(*colour);
  } else if (option == "L") {
    const bool is_known = !input_.atEnd() && dashesOf(input_.nextText());
    if (!is_known) return fail("a line type: " + knownLineTypes());
    look.line_type = upperCase(input_.nextText());
    input_.takeAny();
    done = "line type " + look.line_type;
  } else {
    const auto weight = input_.takeNumber("a line weight in millimetres");
    if (!weight) return "";
    if (!(*weight >= 0 && *weight * 100 <= kWeightMax)) {
      input_.fail("needs a line weight from 0 to 2.11 millimetres");
      return "";
    }
    look.line_weight = static_cast<int>(std::lround(*weight * 100));
    done = "line weight " + client::printNumber(look.line_weight / 100.0);
  }
  const auto names = input_.takeText("names of layers");
  if (!names) return "";
  const auto layers = names->empty() ? std::vector{drawing_.currentLayer()} : splitNames(*names);
  for (const std::string& name : layers) {
    Layer layer = drawing_.layer(name);
    if (option == "C") layer.colour = look.colour;
    if (option == "L") layer.line_type = look.line_type;
    if (option == "LW") layer.line_weight = look.line_weight;
    drawing_.setLayer(std::move(layer));
  }
  return done + " for " + (names->empty() ? drawing_.currentLayer() : *names);
}

// One option of LAYER.
std::string CommandRun::setLayerOption() {
  if (input_.takeWord("N", "NEW")) {
    const auto names = input_.takeText("names of layers");
    if (!names) return "";
    for (const std::string& name : splitNames(*names)) drawing_.layer(name);
    return "layer " + *names;
  }
  if (input_.takeWord("C", "COLOR") || input_.takeWord("COLOUR")) return setLayerLook("C");
  if (input_.takeWord("L", "LTYPE")) return setLayerLook("L");
  if (input_.takeWord("LW", "LWEIGHT")) return setLayerLook("LW");
  const bool turns_on = input_.takeWord("ON");
  if (turns_on || input_.takeWord("OFF")) {
    const auto names = input_.takeText("names of layers");
    if (!names) return "";
    for (const std::string& name : splitNames(*names)) {
      Layer layer = drawing_.layer(name);
      layer.is_visible = turns_on;
      drawing_.setLayer(std::move(layer));
    }
    return *names + (turns_on ? " on" : " off");
  }
  if (!input_.takeWord("M", "MAKE") && !input_.takeWord("S", "SET")) {
    input_.failAtNext("needs M, S or N and a name, C, L or LW and a look, ON or OFF" +
                      (input_.atEnd() ? "" : ", not " + input_.next()));
    return "";
  }
  const auto name = input_.takeText("a name");
  if (!name || name->empty()) {
    if (name) input_.fail("needs a name");
    return "";
  }
  drawing_.setCurrentLayer(*name);
  return "the current layer is " + *name;
}

std::string CommandRun::layer() {
  std::string done;
  do {
    const std::string step = setLayerOption();
    if (step.empty()) return "";
    done += (done.empty() ? "" : ", ") + step;
  } while (!input_.takeEnter());
  return done;
}

std::string CommandRun::zoom() {
  if (input_.takeWord("E", "EXTENTS") || input_.takeWord("A", "ALL")) {
    drawing_.setView(std::nullopt);
    return "the view is the whole drawing";
  }
  Box box;
  if (input_.takeWord("W", "WINDOW")) {
    const auto corner = input_.takePoint("a corner");
    const auto opposite = corner ? input_.takePoint("the opposite corner") : std::nullopt;
    if (!opposite) return "";
    box = boxBetween(*corner, *opposite);
  } else if (input_.takeWord("C", "CENTER")) {
    const auto centre = input_.takePoint("a centre");
    const auto height = centre ? input_.takeNumber("a height") : std::nullopt;
    if (!height) return "";
    const double half = *height / 2;
    box = boxBetween({centre->x - half, centre->y - half, 0},
                     {centre->x + half, centre->y + half, 0});
  } else {
    input_.failAtNext("needs E, A, W or C" + (input_.atEnd() ? "" : ", not " + input_.next()));
    return "";
  }
  if (!(box.width() > 0 && box.height() > 0)) {
    input_.fail("needs a view that is not empty");
    return "";
  }
  drawing_.setView(box);
  return "the view is set";
}

struct Command {
  std::string_view name;
  std::string (CommandRun::*run)();
  std::string_view summary;
};

constexpr std::array kCommands = {
    Command{"LINE", &CommandRun::line, R"(LINE point point... [C] "")"},
    Command{"PLINE", &CommandRun::polyline,
            R"(PLINE point [A arcs|L lines] point... [S on-arc point] [C] "")"},
    Command{"CIRCLE", &CommandRun::circle, "CIRCLE centre radius | centre D diameter | 2P | 3P"},
    Command{"ARC", &CommandRun::arc, "ARC point point point | C centre start end"},
    Command{"POINT", &CommandRun::point, R"(POINT point... "")"},
    Command{"TEXT", &CommandRun::text, "TEXT [J L|C|R] point height angle text"},
    Command{"HATCH", &CommandRun::hatch,
            R"(HATCH SOLID selection "" | LINE|NET distance angle selection "")"},
    Command{"MOVE", &CommandRun::move, R"(MOVE selection "" from to)"},
    Command{"COPY", &CommandRun::copy, R"(COPY selection "" from to [to...] "")"},
    Command{"ROTATE", &CommandRun::rotate, R"(ROTATE selection "" centre angle)"},
    Command{"SCALE", &CommandRun::scale, R"(SCALE selection "" centre factor)"},
    Command{"MIRROR", &CommandRun::mirror, R"(MIRROR selection "" point point [Y|N])"},
    Command{"ERASE", &CommandRun::erase, R"(ERASE selection "")"},
    Command{"LAYER", &CommandRun::layer,
            R"(LAYER [M|N|S name] [C colour|L line-type|LW mm names] [ON|OFF names] "")"},
    Command{"ZOOM", &CommandRun::zoom, "ZOOM E|A | W corner corner | C centre height"},
};

// Commands of other command lines, and the way to the same here.
struct ForeignCommand {
  std::string_view name;
  std::string_view instead;
};

constexpr std::array kForeignCommands = {
    ForeignCommand{"RECTANG", "PLINE with four corners and \"C\" draws a rectangle"},
    ForeignCommand{"RECTANGLE", "PLINE with four corners and \"C\" draws a rectangle"},
    ForeignCommand{"POLYGON", "PLINE through points of POLAR, and \"C\", draws a polygon"},
    ForeignCommand{"DTEXT", "TEXT writes a text"},
    ForeignCommand{"MTEXT", "TEXT writes a line of text"},
    ForeignCommand{"BHATCH", "HATCH fills what is selected"},
    ForeignCommand{"ARRAY", "COPY in a WHILE makes an array, with ROTATE a round one"},
    ForeignCommand{"OFFSET", "SCALE of a COPY makes a parallel circle; compute other outlines"},
    ForeignCommand{"DIMLINEAR", "LINE and TEXT draw a dimension, as in examples/30_dimension.lsp"},
    ForeignCommand{"DONUT", "two times CIRCLE, and HATCH SOLID, draw a ring"},
    ForeignCommand{"ELLIPSE", "PLINE through computed points draws an ellipse"},
    ForeignCommand{"FILLET", "PLINE with A draws a rounded corner"},
    ForeignCommand{"DELETE", "ERASE takes entities away"},
    ForeignCommand{"REGEN", "leave it out: nothing has to be drawn anew"},
    ForeignCommand{"REDRAW", "leave it out: nothing has to be drawn anew"},
    ForeignCommand{"SETVAR", "leave it out: there are no settings"},
    ForeignCommand{"UNDO", "leave it out: a program that fails leaves nothing behind"},
    ForeignCommand{"INSERT", "there are no blocks: load a library that draws the part"},
};

std::string_view insteadOf(std::string_view command) {
  const auto* const found =
      std::find_if(kForeignCommands.begin(), kForeignCommands.end(),
                   [command](const ForeignCommand& known) { return known.name == command; });
  return found == kForeignCommands.end() ? std::string_view() : found->instead;
}

// `before` is the command that has just got all that it takes; empty when there was none.
std::string runNext(Drawing& drawing, CommandInput& input, std::string_view before) {
  if (input.nextText().empty()) {
    input.failAtNext(before.empty() ? "needs the name of a command, not " + input.next()
                                    : "takes no more, and " + input.next() + " names no command");
    return "";
  }
  const auto typed = input.takeText("the name of a command");
  // Other command lines know prefixes: the name in any language, the command's own definition.
  const std::string capitals = upperCase(*typed);
  const std::string name =
      capitals.substr(std::min(capitals.find_first_not_of("_.-'"), capitals.size()));
  const auto command = std::find_if(kCommands.begin(), kCommands.end(),
                                    [&name](const Command& known) { return known.name == name; });
  if (command == kCommands.end()) {
    input.setCommand((before.empty() ? "" : std::string(before) + " takes no more, and ") +
                     "there is no command " + capitals);
    std::vector<std::string> names;
    std::string listed;
    for (const Command& known : kCommands) {
      names.emplace_back(known.name);
      listed += " " + names.back();
    }
    const auto near = explain::similarNames(name, names);
    const std::string_view instead = insteadOf(name);
    input.fail((!instead.empty() ? std::string(instead) + "; "
                : near.empty()   ? ""
                                 : "did you mean " + near.front() + "? ") +
               "this host knows" + listed);
    return "";
  }
  input.setCommand(name);
  Drawing changed = drawing;
  std::string done = (CommandRun(changed, input).*command->run)();
  if (input.error().empty()) drawing = std::move(changed);
  return done;
}

}  // namespace

std::vector<std::string_view> commandSummaries() {
  std::vector<std::string_view> summaries;
  for (const Command& command : kCommands) summaries.push_back(command.summary);
  return summaries;
}

bool isCommand(std::string_view name) {
  return std::any_of(kCommands.begin(), kCommands.end(),
                     [name](const Command& command) { return command.name == name; });
}

CommandResult runCommand(Drawing& drawing, const DatumList& arguments) {
  CommandInput input(arguments);
  input.setCommand("COMMAND");
  std::string done;
  do {
    while (!input.atEnd() && input.takeEnter()) {
    }
    if (input.atEnd()) break;
    const std::string before = input.isBehindEnter() ? "" : input.command();
    const std::string step = runNext(drawing, input, before);
    if (!input.error().empty()) {
      return {(done.empty() ? "nothing done: " : done + "; then nothing: ") + input.error(), false,
              input.failedArgument()};
    }
    done += (done.empty() ? "" : "; ") + step;
  } while (!input.atEnd());
  if (done.empty()) return {"nothing done: no command", false};
  return {done, true};
}

}  // namespace lisp_worker::console
