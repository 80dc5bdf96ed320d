// Entities lie in a map by a place that only grows, so their order is that of their making. A
// second map leads from a handle's number to the place, a third from a layer's name to its record.
// All are versioned maps (console/versioned_map.h), which makes a copy free.

#include "console/drawing.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <functional>
#include <iterator>
#include <utility>

#include "console/command_input.h"
#include "console/polyline.h"

namespace lisp_worker::console {

using client::Datum;
using client::DatumList;

namespace {

// The groups that the drawing keeps of a list that makes an entity.
DatumList withoutHandle(const DatumList& groups) {
  DatumList kept;
  kept.reserve(groups.size() + 1);  // There may be a layer to add.
  for (const Datum& group : groups) {
    if (!isGroupOf(group, kHandleGroup)) kept.push_back(group);
  }
  return kept;
}

// The groups of an entity with those of a change in the place of the ones with their codes, all of
// a code where its first one was; new codes come last. The handle's group is left out. The vertices
// of a chain are replaced as one, because their groups belong together in their order.
DatumList replaced(const DatumList& own, const DatumList& change) {
  const bool has_chains = hasChains(own);
  const auto code_of = [has_chains](const Datum& group) {
    return has_chains && isVertexGroup(group) ? kPointGroup : *groupCode(group);
  };
  const auto has = [&code_of](const DatumList& groups, double code) {
    return std::any_of(groups.begin(), groups.end(),
                       [&](const Datum& group) { return code_of(group) == code; });
  };
  DatumList groups;
  const auto append = [&](const DatumList& from, double code) {
    std::copy_if(from.begin(), from.end(), std::back_inserter(groups),
                 [&](const Datum& group) { return code_of(group) == code; });
  };
  for (const Datum& group : own) {
    const double code = code_of(group);
    if (!has(change, code)) {
      groups.push_back(group);
    } else if (!has(groups, code)) {
      append(change, code);
    }
  }
  for (const Datum& group : change) {
    const double code = code_of(group);
    if (code != kHandleGroup && !has(groups, code)) append(change, code);
  }
  return groups;
}

// The number of a handle such as E7; empty for other texts.
std::optional<std::uint64_t> handleNumber(std::string_view handle) {
  constexpr std::size_t kDigitsMax = 15;
  if (handle.size() < 2 || handle.size() > kDigitsMax + 1 || !handle.starts_with('E') ||
      handle[1] == '0') {
    return std::nullopt;
  }
  std::uint64_t number = 0;
  for (const char c : handle.substr(1)) {
    if (c < '0' || c > '9') return std::nullopt;
    number = number * 10 + static_cast<std::uint64_t>(c - '0');
  }
  return number;
}

}  // namespace

Drawing::Drawing() : previous_(std::make_shared<const std::vector<std::string>>()) {
  setLayer({"0", kDefaultColour, true});
}

std::optional<std::string> Drawing::add(const Datum& groups, std::string& refusal) {
  std::string handle = "E" + std::to_string(next_handle_);
  if (!addNamed(handle, groups, refusal)) return std::nullopt;
  return handle;
}

bool Drawing::addNamed(std::string_view handle, const Datum& groups, std::string& refusal) {
  refusal = whyNoEntity(groups);
  if (!refusal.empty()) return false;
  const auto number = handleNumber(handle);
  if (!number) {
    refusal = "no handle: " + std::string(handle) + "; a handle is E and a number, as E7";
    return false;
  }
  if (places_.find(*number) != nullptr) {
    refusal = "the handle " + std::string(handle) + " is taken";
    return false;
  }
  next_handle_ = std::max(next_handle_, *number + 1);
  Entity entity{std::string(handle), withoutHandle(*client::asList(groups))};
  if (findGroup(entity.groups, kLayerGroup) == nullptr) {
    entity.groups.push_back(makeGroup(kLayerGroup, client::string(current_layer_)));
  }
  layer(findStringGroup(entity.groups, kLayerGroup));
  places_.set(*number, next_place_);
  entities_.set(next_place_++, std::make_shared<const Entity>(std::move(entity)));
  return true;
}

bool Drawing::modify(const Datum& groups, std::string& refusal) {
  const DatumList* const given = client::asList(groups);
  if (given == nullptr || !std::all_of(given->begin(), given->end(), isGroup)) {
    refusal = whyNoEntity(groups);
    return false;
  }
  const std::string_view handle = findStringGroup(*given, kHandleGroup);
  const auto place = placeOf(handle);
  if (!place) {
    refusal = handle.empty() ? "no handle: (-1 HANDLE)" : "no entity " + std::string(handle);
    return false;
  }
  const DatumList& own = at(*place).groups;
  if (findGroup(*given, kTypeGroup) != nullptr &&
      findStringGroup(*given, kTypeGroup) != findStringGroup(own, kTypeGroup)) {
    refusal = "the type of an entity cannot change";
    return false;
  }
  if (hasChains(own) && findGroup(*given, kPointGroup) == nullptr &&
      std::any_of(given->begin(), given->end(), isVertexGroup)) {
    refusal = "bulges and outlines change with all vertices: give the groups 10 too";
    return false;
  }
  DatumList changed = replaced(own, *given);
  refusal = whyNoEntity(client::list(changed));
  if (!refusal.empty()) return false;
  layer(findStringGroup(changed, kLayerGroup));
  replace(*place, std::move(changed));
  return true;
}

void Drawing::replace(std::uint64_t place, DatumList groups) {
  entities_.set(place, std::make_shared<const Entity>(Entity{at(place).handle, std::move(groups)}));
}

bool Drawing::transform(std::string_view handle, const Similarity& mapping) {
  const auto place = placeOf(handle);
  if (!place) return false;
  replace(*place, transformed(at(*place).groups, mapping));
  return true;
}

bool Drawing::erase(std::string_view handle) {
  const auto place = placeOf(handle);
  if (!place) return false;
  entities_.erase(*place);
  places_.erase(*handleNumber(handle));
  return true;
}

std::optional<std::uint64_t> Drawing::placeOf(std::string_view handle) const {
  const auto number = handleNumber(handle);
  const std::uint64_t* const place = number ? places_.find(*number) : nullptr;
  if (place == nullptr) return std::nullopt;
  return *place;
}

const Entity* Drawing::find(std::string_view handle) const {
  const auto place = placeOf(handle);
  return place ? &at(*place) : nullptr;
}

// A key of layer_at_ for the name: the first behind its hash that no other layer has.
std::uint64_t Drawing::layerKey(std::string_view name) const {
  constexpr std::uint64_t kMask = VersionedMap<std::uint64_t>::kKeyEnd - 1;
  std::uint64_t key = std::hash<std::string_view>()(name) & kMask;
  for (;;) {
    const std::uint64_t* const layer = layer_at_.find(key);
    if (layer == nullptr || layers_.find(*layer)->name == name) return key;
    key = (key + 1) & kMask;
  }
}

std::vector<Layer> Drawing::layers() const {
  std::vector<Layer> all;
  for (std::size_t n = 0; n < layers_.size(); ++n) all.push_back(*layers_.find(n));
  return all;
}

const Layer* Drawing::findLayer(std::string_view name) const {
  const std::uint64_t* const layer = layer_at_.find(layerKey(name));
  return layer == nullptr ? nullptr : layers_.find(*layer);
}

const Layer& Drawing::layer(std::string_view name) {
  if (const Layer* const known = findLayer(name)) return *known;
  constexpr std::array kColoursInTurn = {5, 1, 3, 6, 4, 2};
  const int colour = kColoursInTurn[(layers_.size() - 1) % kColoursInTurn.size()];
  setLayer({std::string(name), colour, true});
  return *findLayer(name);
}

void Drawing::setLayer(Layer layer) {
  const std::uint64_t key = layerKey(layer.name);
  const std::uint64_t* const known = layer_at_.find(key);
  const std::uint64_t number = known == nullptr ? layers_.size() : *known;
  layer_at_.set(key, number);
  layers_.set(number, std::move(layer));
}

void Drawing::setCurrentLayer(std::string_view name) {
  layer(name);
  current_layer_ = name;
}

void Drawing::setPreviousSelection(std::vector<std::string> handles) {
  previous_ = std::make_shared<const std::vector<std::string>>(std::move(handles));
}

bool Drawing::isVisible(const Entity& entity) const {
  const Layer* const layer = findLayer(findStringGroup(entity.groups, kLayerGroup));
  return layer == nullptr || layer->is_visible;
}

int Drawing::colourOf(const Entity& entity) const {
  const double own = findNumberGroup(entity.groups, kColourGroup, kColourByLayer);
  if (own != kColourByLayer) return static_cast<int>(own);
  const Layer* const layer = findLayer(findStringGroup(entity.groups, kLayerGroup));
  return layer == nullptr ? kDefaultColour : layer->colour;
}

std::vector<double> Drawing::dashesFor(const Entity& entity) const {
  const std::string_view own = findStringGroup(entity.groups, kLineTypeGroup);
  const Layer* const layer = findLayer(findStringGroup(entity.groups, kLayerGroup));
  auto dashes = own.empty() || upperCase(own) == kTypeByLayer ? std::nullopt : dashesOf(own);
  if (!dashes && layer != nullptr) dashes = dashesOf(layer->line_type);
  std::vector<double> scaled = dashes.value_or(std::vector<double>());
  for (double& dash : scaled) dash *= findNumberGroup(entity.groups, kLineScaleGroup, 1);
  return scaled;
}

double Drawing::lineWidthOf(const Entity& entity) const {
  const double own = findNumberGroup(entity.groups, kLineWeightGroup, kWeightByLayer);
  if (own != kWeightByLayer) return lineWidth(static_cast<int>(own));
  const Layer* const layer = findLayer(findStringGroup(entity.groups, kLayerGroup));
  return lineWidth(layer == nullptr ? kWeightDefault : layer->line_weight);
}

Box extentsOf(const Drawing& drawing) {
  Box box;
  for (const Entity& entity : drawing.entities()) {
    if (drawing.isVisible(entity)) box.include(boundsOf(entity));
  }
  return box;
}

Datum entityData(const Entity& entity) {
  DatumList groups = {makeGroup(kHandleGroup, client::string(entity.handle))};
  groups.insert(groups.end(), entity.groups.begin(), entity.groups.end());
  return client::list(std::move(groups));
}

std::string_view nameOf(EntityChange::Kind kind) {
  switch (kind) {
    case EntityChange::Kind::Added:
      return "added";
    case EntityChange::Kind::Changed:
      return "changed";
    case EntityChange::Kind::Erased:
      return "erased";
  }
  return "";
}

std::vector<EntityChange> compareDrawings(const Drawing& before, const Drawing& after) {
  std::vector<EntityChange> changes;
  std::vector<EntityChange> erased;
  const auto visit = [&](std::uint64_t /*place*/, const std::shared_ptr<const Entity>* earlier,
                         const std::shared_ptr<const Entity>* later) {
    if (earlier != nullptr && later != nullptr && **earlier == **later) return;
    if (earlier == nullptr) {
      changes.push_back({EntityChange::Kind::Added, **later});
    } else if (later == nullptr) {
      erased.push_back({EntityChange::Kind::Erased, **earlier});
    } else {
      changes.push_back({EntityChange::Kind::Changed, **later});
    }
  };
  EntityList::Map::compare(before.entities_, after.entities_, visit);
  changes.insert(changes.end(), std::make_move_iterator(erased.begin()),
                 std::make_move_iterator(erased.end()));
  return changes;
}

bool operator==(const Drawing& a, const Drawing& b) {
  bool is_same = a.current_layer_ == b.current_layer_ && a.view_ == b.view_ &&
                 a.next_handle_ == b.next_handle_ && *a.previous_ == *b.previous_ &&
                 a.entities_.size() == b.entities_.size() && a.layers_.size() == b.layers_.size();
  if (!is_same) return false;
  VersionedMap<Layer>::compare(
      a.layers_, b.layers_, [&is_same](std::uint64_t, const Layer* one, const Layer* other) {
        is_same = is_same && one != nullptr && other != nullptr && *one == *other;
      });
  EntityList::Map::compare(a.entities_, b.entities_,
                           [&is_same](std::uint64_t, const std::shared_ptr<const Entity>* one,
                                      const std::shared_ptr<const Entity>* other) {
                             is_same =
                                 is_same && one != nullptr && other != nullptr && **one == **other;
                           });
  return is_same;
}

}  // namespace lisp_worker::console
