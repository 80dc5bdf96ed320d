// A drawing in memory: entities with handles, and layers.
//
// A copy costs nothing, and comparing or going back to it costs what has changed since. So whoever
// may have to take something back keeps a copy.

#ifndef CONSOLE_DRAWING_H_
#define CONSOLE_DRAWING_H_

#include <compare>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/entity.h"
#include "console/line_style.h"
#include "console/shape.h"
#include "console/versioned_map.h"
#include "lisp_worker/client/datum.h"

namespace lisp_worker::console {

// The colour of layer "0": black on paper. Other layers that nobody gives a colour take blue, red,
// green, magenta, cyan and yellow in turn, so that they can be told apart.
inline constexpr int kDefaultColour = 7;

struct Layer {
  std::string name;
  int colour = kDefaultColour;  // 1 to 255.
  bool is_visible = true;       // Entities of other layers are neither shown nor picked.
  std::string line_type = std::string(kContinuous);  // Never BYLAYER.
  int line_weight = kWeightDefault;                  // -3, or hundredths of a millimetre.

  friend bool operator==(const Layer&, const Layer&) = default;
};

// The entities of a drawing in the order in which they were added. A view; it holds until the
// drawing changes.
class EntityList {
 public:
  using Map = VersionedMap<std::shared_ptr<const Entity>>;

  class Iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Entity;
    using difference_type = std::ptrdiff_t;
    using pointer = const Entity*;
    using reference = const Entity&;

    Iterator() = default;
    Iterator(const Map& map, Map::Entry entry) : map_(&map), entry_(entry) {}

    reference operator*() const { return **entry_.value; }
    pointer operator->() const { return entry_.value->get(); }
    Iterator& operator++() {
      entry_ = map_->firstFrom(entry_.key + 1);
      return *this;
    }
    Iterator operator++(int) {
      Iterator earlier = *this;
      ++*this;
      return earlier;
    }
    // Its place in the order, as Drawing::placeOf.
    [[nodiscard]] std::uint64_t place() const { return entry_.key; }
    friend bool operator==(const Iterator& a, const Iterator& b) {
      return a.entry_.key == b.entry_.key;
    }

   private:
    const Map* map_ = nullptr;
    Map::Entry entry_;
  };
  using iterator = Iterator;
  using const_iterator = Iterator;
  using value_type = Entity;

  explicit EntityList(const Map& map) : map_(&map) {}

  [[nodiscard]] Iterator begin() const { return {*map_, map_->firstFrom(0)}; }
  [[nodiscard]] Iterator end() const { return {*map_, {}}; }
  [[nodiscard]] std::size_t size() const { return map_->size(); }
  [[nodiscard]] bool empty() const { return map_->size() == 0; }
  [[nodiscard]] const Entity& back() const { return **map_->last().value; }

 private:
  const Map* map_;
};

class Drawing {
 public:
  Drawing();

  // Adds an entity with these groups and returns its new handle: E1, E2 and so on, never used
  // again. An entity without a layer gets the current one; a layer that there is not yet is made.
  // Empty when the groups make no entity, with the reason in `refusal`.
  std::optional<std::string> add(const client::Datum& groups, std::string& refusal);

  // Gives the entity that group -1 names the other groups, in the place of those that it has with
  // their codes; what is not named stays, and so does the type. False when that is not possible,
  // with the reason in `refusal`.
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
  [[nodiscard]] EntityList entities() const { return EntityList(entities_); }

  // The entity's place in that order: earlier ones have lower places. Empty for an unknown handle.
  // `at` needs a place that there is.
  [[nodiscard]] std::optional<std::uint64_t> placeOf(std::string_view handle) const;
  [[nodiscard]] const Entity& at(std::uint64_t place) const { return **entities_.find(place); }

  // In the order in which they were made. Layer "0" is always there.
  [[nodiscard]] std::vector<Layer> layers() const;
  // The layer of that name, made if there is none yet. The reference holds until a layer changes.
  const Layer& layer(std::string_view name);
  // Null when there is no such layer. The pointer holds until a layer changes.
  [[nodiscard]] const Layer* findLayer(std::string_view name) const;
  // Gives the layer of that name, which is made if there is none yet, what `layer` says.
  void setLayer(Layer layer);

  // The layer of entities that name none; "0" at first. Setting it makes the layer.
  [[nodiscard]] const std::string& currentLayer() const { return current_layer_; }
  void setCurrentLayer(std::string_view name);

  // True when the entity's layer is visible.
  [[nodiscard]] bool isVisible(const Entity& entity) const;
  // The entity's own colour, or its layer's: 1 to 255.
  [[nodiscard]] int colourOf(const Entity& entity) const;
  // The entity's own dashes, or its layer's, as dashesOf, with the entity's scale.
  [[nodiscard]] std::vector<double> dashesFor(const Entity& entity) const;
  // The width of the entity's lines in millimetres of paper.
  [[nodiscard]] double lineWidthOf(const Entity& entity) const;

  // The handles that were selected last; some may be gone.
  [[nodiscard]] const std::vector<std::string>& previousSelection() const { return *previous_; }
  void setPreviousSelection(std::vector<std::string> handles);

  // The part of the drawing that a picture shows; all of it when empty.
  [[nodiscard]] const std::optional<Box>& view() const { return view_; }
  void setView(std::optional<Box> view) { view_ = view; }

  // The handle that the next entity gets is E and this number.
  [[nodiscard]] std::uint64_t nextHandle() const { return next_handle_; }

  // Compares everything, the next handle and the last selection included. The cost depends on what
  // differs between two versions of one drawing, not on their size.
  friend bool operator==(const Drawing& a, const Drawing& b);

 private:
  friend std::vector<struct EntityChange> compareDrawings(const Drawing& before,
                                                          const Drawing& after);

  [[nodiscard]] std::uint64_t layerKey(std::string_view name) const;
  void replace(std::uint64_t place, client::DatumList groups);

  EntityList::Map entities_;              // By place.
  VersionedMap<std::uint64_t> places_;    // Of entities, by the numbers in their handles.
  VersionedMap<Layer> layers_;            // By the order in which they were made.
  VersionedMap<std::uint64_t> layer_at_;  // Keys of layers_, by layerKey.
  std::string current_layer_ = "0";
  std::shared_ptr<const std::vector<std::string>> previous_;
  std::optional<Box> view_;
  std::uint64_t next_handle_ = 1;
  std::uint64_t next_place_ = 0;
};

// The box around everything that is visible; empty when nothing is.
[[nodiscard]] Box extentsOf(const Drawing& drawing);

// The answer to ENTGET: the groups, with the handle's in front.
[[nodiscard]] client::Datum entityData(const Entity& entity);

struct EntityChange {
  enum class Kind : std::uint8_t { Added, Changed, Erased };

  Kind kind = Kind::Added;
  Entity entity;  // As it is now; as it was, when erased.

  friend bool operator==(const EntityChange&, const EntityChange&) = default;
};

// "added", "changed" or "erased".
[[nodiscard]] std::string_view nameOf(EntityChange::Kind kind);

// The changes from `before`, an earlier state of the same drawing, to `after`: changed and added
// entities in their order, then erased ones. The cost depends on the changes alone.
[[nodiscard]] std::vector<EntityChange> compareDrawings(const Drawing& before,
                                                        const Drawing& after);

}  // namespace lisp_worker::console

#endif  // CONSOLE_DRAWING_H_
