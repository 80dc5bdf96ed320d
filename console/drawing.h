// A drawing in memory: entities with handles, and layers.

#ifndef CONSOLE_DRAWING_H_
#define CONSOLE_DRAWING_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "client/datum.h"
#include "console/entity.h"

namespace console {

class Drawing {
 public:
  // Adds an entity with these groups and returns its new handle: E1, E2 and so on, never used
  // again. An entity without a layer gets the current one. Empty when the groups make no entity,
  // with the reason in `refusal`.
  std::optional<std::string> add(const client::Datum& groups, std::string& refusal);

  // Gives the entity that group -1 names the other groups. Its type stays. False when that is
  // not possible, with the reason in `refusal`.
  bool modify(const client::Datum& groups, std::string& refusal);

  // False when there is no such entity.
  bool erase(std::string_view handle);

  // Null when there is no such entity. The pointer holds until the drawing changes.
  [[nodiscard]] const Entity* find(std::string_view handle) const;

  // In the order in which they were added.
  [[nodiscard]] const std::vector<Entity>& entities() const { return entities_; }

  // Where entities without a layer go; "0" at first.
  [[nodiscard]] const std::string& currentLayer() const { return current_layer_; }
  void setCurrentLayer(std::string_view layer) { current_layer_ = layer; }

 private:
  std::vector<Entity> entities_;
  std::string current_layer_ = "0";
  std::uint64_t next_handle_ = 1;
};

// What ENTGET answers: the groups with the handle's in front.
[[nodiscard]] client::Datum entityData(const Entity& entity);

struct EntityChange {
  enum class Kind : std::uint8_t { Added, Changed, Erased };

  Kind kind = Kind::Added;
  Entity entity;  // As it is now; as it was, when erased.

  friend bool operator==(const EntityChange&, const EntityChange&) = default;
};

// What makes `after` differ from `before`, an earlier state of the same drawing: changed and added
// entities in their order, then erased ones.
[[nodiscard]] std::vector<EntityChange> compareDrawings(const Drawing& before,
                                                        const Drawing& after);

}  // namespace console

#endif  // CONSOLE_DRAWING_H_
