#include "console/commands.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

namespace console {

using client::asList;
using client::asString;
using client::Datum;
using client::DatumList;

namespace {

std::string commandName(std::string_view typed) {
  std::string name(typed);
  std::transform(name.begin(), name.end(), name.begin(), [](char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  });
  return name;
}

// Adds all of `entities` or none. "added E1 E2", or the reason.
std::string addAll(Drawing& drawing, const std::vector<DatumList>& entities) {
  Drawing changed = drawing;
  std::string done = "added";
  for (const DatumList& groups : entities) {
    std::string refusal;
    const auto handle = changed.add(client::list(groups), refusal);
    if (!handle) return "nothing done: " + refusal;
    done += " " + *handle;
  }
  drawing = std::move(changed);
  return done;
}

std::string runLine(Drawing& drawing, const DatumList& points) {
  if (points.size() < 2) return "nothing done: a line needs two points";
  std::vector<DatumList> lines;
  for (std::size_t n = 0; n + 1 < points.size(); ++n) {
    lines.push_back({makeGroup(kTypeGroup, client::string("LINE")),
                     makeGroup(kPointGroup, points[n]), makeGroup(kEndPointGroup, points[n + 1])});
  }
  return addAll(drawing, lines);
}

std::string runCircle(Drawing& drawing, const DatumList& arguments) {
  if (arguments.size() != 2) return "nothing done: a circle needs a centre and a radius";
  return addAll(drawing,
                {{makeGroup(kTypeGroup, client::string("CIRCLE")),
                  makeGroup(kPointGroup, arguments[0]), makeGroup(kSizeGroup, arguments[1])}});
}

std::string runPoint(Drawing& drawing, const DatumList& points) {
  if (points.empty()) return "nothing done: no point";
  std::vector<DatumList> entities;
  for (const Datum& point : points) {
    entities.push_back(
        {makeGroup(kTypeGroup, client::string("POINT")), makeGroup(kPointGroup, point)});
  }
  return addAll(drawing, entities);
}

std::string runErase(Drawing& drawing, const DatumList& arguments) {
  DatumList handles;
  for (const Datum& argument : arguments) {
    const DatumList* const set = asList(argument);
    if (set == nullptr) {
      handles.push_back(argument);
    } else if (!set->empty()) {
      std::copy(std::next(set->begin()), set->end(), std::back_inserter(handles));
    }
  }
  std::string done;
  for (const Datum& datum : handles) {
    const auto handle = asString(datum);
    if (handle && drawing.erase(*handle)) done += " " + std::string(*handle);
  }
  return done.empty() ? "nothing done: nothing to erase" : "erased" + done;
}

std::string runLayer(Drawing& drawing, const DatumList& arguments) {
  const auto name = arguments.empty() ? std::nullopt : asString(arguments.back());
  if (!name) return "nothing done: a layer needs a name";
  drawing.setCurrentLayer(*name);
  return "the current layer is " + std::string(*name);
}

struct Command {
  std::string_view name;
  std::string (*run)(Drawing& drawing, const DatumList& arguments);
};

constexpr std::array<Command, 5> kCommands = {{{"LINE", runLine},
                                               {"CIRCLE", runCircle},
                                               {"POINT", runPoint},
                                               {"ERASE", runErase},
                                               {"LAYER", runLayer}}};

}  // namespace

std::string runCommand(Drawing& drawing, const DatumList& arguments) {
  DatumList given;
  std::copy_if(arguments.begin(), arguments.end(), std::back_inserter(given),
               [](const Datum& argument) { return asString(argument) != ""; });
  const auto typed = given.empty() ? std::nullopt : asString(given.front());
  if (!typed) return "nothing done: no command";
  const std::string name = commandName(*typed);
  const auto command = std::find_if(kCommands.begin(), kCommands.end(),
                                    [&name](const Command& known) { return known.name == name; });
  if (command == kCommands.end()) return "nothing done: unknown command " + name;
  given.erase(given.begin());
  return command->run(drawing, given);
}

}  // namespace console
