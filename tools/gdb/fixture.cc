// A program with one of everything that the printers of gdb know, for tools/gdb/check_printers.

#include <cstddef>
#include <optional>
#include <string>
#include <utility>

#include "lisp/environment.h"
#include "lisp/list.h"
#include "lisp/reader.h"
#include "lisp/symbol.h"
#include "lisp/user_function.h"
#include "lisp/value.h"

namespace {

lisp::LispValue read(const char* text) {
  std::string error;
  return lisp::parseProgram(text, &error).value_or(lisp::nil());
}

lisp::LispValue cons(lisp::LispValue element, lisp::LispValue list) {
  return lisp::LispValue::adopt(lisp::prepend(element.release(), list.release()));
}

// The debugger stops here.
[[gnu::noinline]] void stop(const lisp::LispValue& nothing, const lisp::LispValue& flat,
                            const lisp::LispValue& linked, const lisp::LispValue& deep,
                            const lisp::RawValue& raw, const lisp::Run* run, const lisp::Run* built,
                            const lisp::Text* text, const lisp::Symbol* symbol,
                            const lisp::UserFunction* function,
                            const lisp::Environment& environment,
                            const lisp::Environment& no_environment) {
  asm volatile("" ::"r"(&nothing), "r"(&flat), "r"(&linked), "r"(&deep) : "memory");
  asm volatile("" ::"r"(&raw), "r"(run), "r"(built), "r"(text), "r"(symbol) : "memory");
  asm volatile("" ::"r"(function), "r"(&environment), "r"(&no_environment) : "memory");
}

}  // namespace

int main() {
  const lisp::LispValue flat = read("(1 2.5 X nil \"a\\\"b\" ())");
  const lisp::LispValue linked = cons(lisp::number(7), read("(8 9)"));
  const lisp::LispValue deep = read("(1 (2 (3 (4 (5)))))");
  const lisp::LispValue text = lisp::string("text");
  const lisp::LispValue name = lisp::symbol("NAME");
  auto* const function = new lisp::UserFunction(read("(DEFUN F (A / B) (LIST A B))"));
  lisp::Environment environment;
  lisp::Symbol& symbol = lisp::symbolOf(name.raw());
  environment.set(symbol, {flat.raw(), nullptr});
  // As many names as need two levels of nodes.
  for (int i = 0; i < 20; ++i) {
    const lisp::LispValue other = lisp::symbol("N" + std::to_string(i));
    environment.set(lisp::symbolOf(other.raw()), {lisp::number(i).raw(), nullptr});
  }
  const lisp::LispValue function_name = lisp::symbol("F");
  environment.set(lisp::symbolOf(function_name.raw()),
                  {lisp::RawValue::of(lisp::Tag::Unbound), function});
  stop(lisp::nil(), flat, linked, deep, text.raw(), &lisp::runOf(flat.raw()),
       &lisp::runOf(linked.raw()), &lisp::textOf(text.raw()), &symbol, function, environment,
       lisp::Environment());
  lisp::releaseFunction(function);
  return 0;
}
