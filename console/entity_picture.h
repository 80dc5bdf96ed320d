// Entities as elements of SVG. Each carries its handle in the attribute data-handle, and says its
// handle, type and layer when the pointer rests on it.

#ifndef CONSOLE_ENTITY_PICTURE_H_
#define CONSOLE_ENTITY_PICTURE_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "console/drawing.h"
#include "console/panel.h"

namespace lisp_worker::console {

// The effect of a program on an entity.
enum class Mark : std::uint8_t { None, Added, Changed, Erased };

// The entity's shape in its colour, for an element of the class "drawing". Empty when nothing of it
// lies near the panel.
[[nodiscard]] std::string entityElement(const Panel& panel, const Drawing& drawing,
                                        const Entity& entity);

// True when the entity is visible and not all of it lies outside of the window.
[[nodiscard]] bool isShown(const Panel& panel, const Drawing& drawing, const Entity& entity,
                           const std::optional<Box>& window);

// A broad band along the entity, to lie below it; empty without a mark.
[[nodiscard]] std::string markElement(const Panel& panel, const Entity& entity, Mark mark);

// The attributes of such a band. The kinds differ in colour, in width and in their dashes.
[[nodiscard]] std::string markStyle(Mark mark);

// The attributes of a line of this width and these dashes, in millimetres of paper.
[[nodiscard]] std::string lineStyle(const Panel& panel, double line_width,
                                    const std::vector<double>& dashes);

// The rules of style that the elements on panels like this one need, and those of bands.
[[nodiscard]] std::string entityRules(const Panel& panel);
[[nodiscard]] std::string markRules();

}  // namespace lisp_worker::console

#endif  // CONSOLE_ENTITY_PICTURE_H_
