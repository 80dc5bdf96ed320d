#include "console/drawing.h"

#include <algorithm>
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

}  // namespace

std::optional<std::string> Drawing::add(const Datum& groups, std::string& refusal) {
  refusal = whyNoEntity(groups);
  if (!refusal.empty()) return std::nullopt;
  Entity entity{"E" + std::to_string(next_handle_++), withoutHandle(*client::asList(groups))};
  if (findGroup(entity.groups, kLayerGroup) == nullptr) {
    entity.groups.push_back(makeGroup(kLayerGroup, client::string(current_layer_)));
  }
  entities_.push_back(std::move(entity));
  return entities_.back().handle;
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
  return true;
}

bool Drawing::erase(std::string_view handle) {
  return std::erase_if(entities_, hasHandle(handle)) != 0;
}

const Entity* Drawing::find(std::string_view handle) const {
  const auto entity = std::find_if(entities_.begin(), entities_.end(), hasHandle(handle));
  return entity == entities_.end() ? nullptr : &*entity;
}

Datum entityData(const Entity& entity) {
  DatumList groups = {makeGroup(kHandleGroup, client::string(entity.handle))};
  groups.insert(groups.end(), entity.groups.begin(), entity.groups.end());
  return client::list(std::move(groups));
}

std::vector<EntityChange> compareDrawings(const Drawing& before, const Drawing& after) {
  std::vector<EntityChange> changes;
  for (const Entity& entity : after.entities()) {
    const Entity* const earlier = before.find(entity.handle);
    if (earlier == nullptr) {
      changes.push_back({EntityChange::Kind::Added, entity});
    } else if (*earlier != entity) {
      changes.push_back({EntityChange::Kind::Changed, entity});
    }
  }
  for (const Entity& entity : before.entities()) {
    if (after.find(entity.handle) == nullptr) {
      changes.push_back({EntityChange::Kind::Erased, entity});
    }
  }
  return changes;
}

}  // namespace console
