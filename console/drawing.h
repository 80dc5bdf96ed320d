// A drawing in memory: entities with handles, and layers.

#ifndef CONSOLE_DRAWING_H_
#define CONSOLE_DRAWING_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "client/datum.h"
#include "console/entity.h"
#include "console/shape.h"

namespace console {

// The colour of layer "0": black on paper. Other layers that nobody gives a colour take blue, red,
// green, magenta, cyan and yellow in turn, so that they can be told apart.
inline constexpr int kDefaultColour = 7;

struct Layer {
  std::string name;
  int colour = kDefaultColour;  // 1 to 255.
  bool is_visible = true;       // Entities of other layers are neither shown nor picked.

  friend bool operator==(const Layer&, const Layer&) = default;
};

class Drawing {
 public:
  // Adds an entity with these groups and returns its new handle: E1, E2 and so on, never used
  // again. An entity without a layer gets the current one; a layer that there is not yet is made.
  // Empty when the groups make no entity, with the reason in `refusal`.
  std::optional<std::string> add(const client::Datum& groups, std::string& refusal);

  // Gives the entity that group -1 names the other groups. Its type stays. False when that is
  // not possible, with the reason in `refusal`.
  bool modify(const client::Datum& groups, std::string& refusal);

  // The same with a handle that the entity has brought with it, such as one of a file: E and a
  // number, not in use.
  bool addNamed(std::string_view handle, const client::Datum& groups, std::string& refusal);

  // Moves, turns, scales or mirrors the entity. False when there is no such entity.
  bool transform(std::string_view handle, const Similarity& mapping);

  // False when there is no such entity.
  bool erase(std::string_view handle);

  // Null when there is no such entity. The pointer holds until the drawing changes.
  [[nodiscard]] const Entity* find(std::string_view handle) const;

  // In the order in which they were added.
  [[nodiscard]] const std::vector<Entity>& entities() const { return entities_; }

  // In the order in which they were made. Layer "0" is always there.
  [[nodiscard]] const std::vector<Layer>& layers() const { return layers_; }
  // The layer of that name, made if there is none yet. The reference holds until the next is made.
  Layer& layer(std::string_view name);
  [[nodiscard]] const Layer* findLayer(std::string_view name) const;

  // Where entities without a layer go; "0" at first. Setting it makes the layer.
  [[nodiscard]] const std::string& currentLayer() const { return current_layer_; }
  void setCurrentLayer(std::string_view name);

  // Whether the entity's layer is visible.
  [[nodiscard]] bool isVisible(const Entity& entity) const;
  // The entity's own colour, or its layer's: 1 to 255.
  [[nodiscard]] int colourOf(const Entity& entity) const;

  // The handles that were selected last; some may be gone.
  [[nodiscard]] const std::vector<std::string>& previousSelection() const { return previous_; }
  void setPreviousSelection(std::vector<std::string> handles) { previous_ = std::move(handles); }

  // What a picture shows: a part of the drawing, or all of it when empty.
  [[nodiscard]] const std::optional<Box>& view() const { return view_; }
  void setView(std::optional<Box> view) { view_ = view; }

  // The handle that the next entity gets is E and this number.
  [[nodiscard]] std::uint64_t nextHandle() const { return next_handle_; }

 private:
  std::vector<Entity> entities_;
  std::vector<Layer> layers_ = {{"0", kDefaultColour, true}};
  std::string current_layer_ = "0";
  std::vector<std::string> previous_;
  std::optional<Box> view_;
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
