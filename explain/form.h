// Programs as forms that know where they stand in the text.

#ifndef EXPLAIN_FORM_H_
#define EXPLAIN_FORM_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "explain/reference.h"
#include "explain/source.h"
#include "lisp/value.h"

namespace explain {

struct Form {
  lisp::LispValue value;
  std::size_t begin = 0;  // Bytes of the text; for 'X from the apostrophe on.
  std::size_t end = 0;
  std::size_t line = 1;
  std::vector<Form> items;       // Of a list. 'X has two: the apostrophe, as QUOTE, and X.
  const Entry* entry = nullptr;  // Of a list: what the name in front is, unless it is defined.

  [[nodiscard]] bool isList() const { return value.kind() == lisp::ValueKind::List; }
  [[nodiscard]] bool isSymbol() const { return value.kind() == lisp::ValueKind::Symbol; }
  // The name of a symbol; otherwise empty.
  [[nodiscard]] std::string_view name() const;
  // The name in front of a list; empty when there is none.
  [[nodiscard]] std::string_view operatorName() const;
};

// Why a text cannot be read.
struct ReadFault {
  std::string message;    // The worker's own.
  std::size_t begin = 0;  // The place that a person should look at: the list or string that lacks
  std::size_t end = 0;    // its end, the parenthesis that is too many.
  std::string hint;       // What speaks for that place; may be empty.
  bool says_what_to_write = false;  // The hint does.
  // True when more text could make it whole; then the place where the innermost open list or string
  // begins.
  bool is_unfinished = false;
  std::size_t open_at = 0;
};

struct Reading {
  lisp::LispValue value;    // All forms of the text as one list, unless there is a fault.
  std::vector<Form> forms;  // The same.
  std::optional<ReadFault> fault;
};

// Reads as the worker reads a program.
[[nodiscard]] Reading readForms(const Source& source);

}  // namespace explain

#endif  // EXPLAIN_FORM_H_
