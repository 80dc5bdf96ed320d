#include "console/drawing.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <utility>

namespace console {

using client::Datum;
using client::DatumList;

namespace {

auto hasHandle(std::string_view handle) {
  return [handle](const Entity& entity) { return entity.handle == handle; };
}

// The groups that the drawing keeps of a list that makes an entity.
DatumList withoutHandle(const DatumList& groups) {
  DatumList kept;
  for (const Datum& group : groups) {
    if (findGroup({group}, kHandleGroup) == nullptr) kept.push_back(group);
  }
  return kept;
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

std::optional<std::string> Drawing::add(const Datum& groups, std::string& refusal) {
  const std::string handle = "E" + std::to_string(next_handle_);
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
  if (*number < next_handle_ && find(handle) != nullptr) {
    refusal = "the handle " + std::string(handle) + " is taken";
    return false;
  }
  next_handle_ = std::max(next_handle_, *number + 1);
  Entity entity{std::string(handle), withoutHandle(*client::asList(groups))};
  if (findGroup(entity.groups, kLayerGroup) == nullptr) {
    entity.groups.push_back(makeGroup(kLayerGroup, client::string(current_layer_)));
  }
  layer(findStringGroup(entity.groups, kLayerGroup));
  entities_.push_back(std::move(entity));
  return true;
}

bool Drawing::modify(const Datum& groups, std::string& refusal) {
  refusal = whyNoEntity(groups);
  if (!refusal.empty()) return false;
  const DatumList& given = *client::asList(groups);
  const std::string_view handle = findStringGroup(given, kHandleGroup);
  const auto entity = std::find_if(entities_.begin(), entities_.end(), hasHandle(handle));
  if (entity == entities_.end()) {
    refusal = handle.empty() ? "no handle: (-1 HANDLE)" : "no entity " + std::string(handle);
    return false;
  }
  if (findStringGroup(given, kTypeGroup) != findStringGroup(entity->groups, kTypeGroup)) {
    refusal = "the type of an entity cannot change";
    return false;
  }
  if (findGroup(given, kLayerGroup) == nullptr) {
    refusal = "no layer: (8 LAYER)";
    return false;
  }
  entity->groups = withoutHandle(given);
  layer(findStringGroup(entity->groups, kLayerGroup));
  return true;
}

bool Drawing::transform(std::string_view handle, const Similarity& mapping) {
  const auto entity = std::find_if(entities_.begin(), entities_.end(), hasHandle(handle));
  if (entity == entities_.end()) return false;
  entity->groups = transformed(entity->groups, mapping);
  return true;
}

bool Drawing::erase(std::string_view handle) {
  return std::erase_if(entities_, hasHandle(handle)) != 0;
}

const Entity* Drawing::find(std::string_view handle) const {
  const auto entity = std::find_if(entities_.begin(), entities_.end(), hasHandle(handle));
  return entity == entities_.end() ? nullptr : &*entity;
}

Layer& Drawing::layer(std::string_view name) {
  const auto known = std::find_if(layers_.begin(), layers_.end(),
                                  [name](const Layer& layer) { return layer.name == name; });
  if (known != layers_.end()) return *known;
  constexpr std::array kColoursInTurn = {5, 1, 3, 6, 4, 2};
  const int colour = kColoursInTurn[(layers_.size() - 1) % kColoursInTurn.size()];
  return layers_.emplace_back(Layer{std::string(name), colour, true});
}

const Layer* Drawing::findLayer(std::string_view name) const {
  const auto known = std::find_if(layers_.begin(), layers_.end(),
                                  [name](const Layer& layer) { return layer.name == name; });
  return known == layers_.end() ? nullptr : &*known;
}

void Drawing::setCurrentLayer(std::string_view name) {
  layer(name);
  current_layer_ = name;
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

Datum entityData(const Entity& entity) {
  DatumList groups = {makeGroup(kHandleGroup, client::string(entity.handle))};
  groups.insert(groups.end(), entity.groups.begin(), entity.groups.end());
  return client::list(std::move(groups));
}

std::vector<EntityChange> compareDrawings(const Drawing& before, const Drawing& after) {
  std::map<std::string_view, const Entity*> earlier_ones;
  for (const Entity& entity : before.entities()) earlier_ones[entity.handle] = &entity;
  std::vector<EntityChange> changes;
  for (const Entity& entity : after.entities()) {
    const auto earlier = earlier_ones.find(entity.handle);
    if (earlier == earlier_ones.end()) {
      changes.push_back({EntityChange::Kind::Added, entity});
      continue;
    }
    if (*earlier->second != entity) changes.push_back({EntityChange::Kind::Changed, entity});
    earlier_ones.erase(earlier);
  }
  for (const Entity& entity : before.entities()) {
    if (earlier_ones.contains(entity.handle)) {
      changes.push_back({EntityChange::Kind::Erased, entity});
    }
  }
  return changes;
}

}  // namespace console
