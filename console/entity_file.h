// Entities as the objects of drawing files.

#ifndef CONSOLE_ENTITY_FILE_H_
#define CONSOLE_ENTITY_FILE_H_

#include <string>

#include "console/drawing.h"
#include "console/json_parts.h"

namespace lisp_worker::console {

// Adds the entity to the drawing. Returns the mistake, or an empty text.
[[nodiscard]] std::string readEntity(const Json& json, Drawing& drawing);

// The inverse of readEntity.
[[nodiscard]] Json entityJson(const Entity& entity);

}  // namespace lisp_worker::console

#endif  // CONSOLE_ENTITY_FILE_H_
