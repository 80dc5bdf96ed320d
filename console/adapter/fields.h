// The fields of a request's arguments, with their types checked.

#ifndef CONSOLE_ADAPTER_FIELDS_H_
#define CONSOLE_ADAPTER_FIELDS_H_

#include <cstdint>
#include <string>

#include "console/json_parts.h"

namespace lisp_worker::console {

// Reads fields of one object. The first mistake is kept, and what is read after it does not matter.
// A field that is null is one that is not there.
class Fields {
 public:
  // Both must outlive it. Something that is not an object has no fields.
  Fields(const Json& object, std::string& error) : object_(object), error_(error) {}

  // All of them.
  [[nodiscard]] const Json& object() const { return object_; }
  [[nodiscard]] bool has(const char* key) const { return find(key) != nullptr; }
  [[nodiscard]] std::string text(const char* key, const std::string& otherwise = "");
  // Also refuses an empty text, and a field that is missing.
  [[nodiscard]] std::string neededText(const char* key);
  // From 0 to 2^31 - 1.
  [[nodiscard]] std::int64_t number(const char* key, std::int64_t otherwise);
  [[nodiscard]] std::int64_t neededNumber(const char* key);
  [[nodiscard]] bool flag(const char* key, bool otherwise = false);
  // Of objects, of texts, or one object. An empty one where there is none.
  [[nodiscard]] const Json& objects(const char* key);
  [[nodiscard]] const Json& texts(const char* key);
  [[nodiscard]] const Json& object(const char* key);

 private:
  [[nodiscard]] const Json* find(const char* key) const;
  void blame(const char* key, const char* wanted);

  const Json& object_;
  std::string& error_;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_ADAPTER_FIELDS_H_
