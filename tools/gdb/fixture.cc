// A program with one of everything that the printers of gdb know, for tools/gdb/check_printers. It
// stops once with values, and once in the middle of a run, where bindings are shadowed.

#include <cstddef>
#include <optional>
#include <string>
#include <utility>

#include "lisp/builtin.h"
#include "lisp/environment.h"
#include "lisp/interpreter.h"
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
  return lisp::LispValue::adopt(lisp::prepend(element.take(), list.take()));
}

// The debugger stops here.
[[gnu::noinline]] void stop(const lisp::LispValue& nothing, const lisp::LispValue& flat,
                            const lisp::LispValue& linked, const lisp::LispValue& deep,
                            const lisp::RawValue& raw, const lisp::Chunk* chunk,
                            const lisp::Chunk* built, const lisp::Text* text,
                            const lisp::Symbol* symbol, const lisp::UserFunction* function,
                            const lisp::Environment& environment,
                            const lisp::Environment& no_environment) {
  asm volatile("" ::"r"(&nothing), "r"(&flat), "r"(&linked), "r"(&deep) : "memory");
  asm volatile("" ::"r"(&raw), "r"(chunk), "r"(built), "r"(text), "r"(symbol) : "memory");
  asm volatile("" ::"r"(function), "r"(&environment), "r"(&no_environment) : "memory");
}

// The debugger stops here, too.
[[gnu::noinline]] void stopInRun(const lisp::Chunk* form) {
  asm volatile("" ::"r"(form) : "memory");
}

const lisp::Chunk* evaluated_form = nullptr;

lisp::Result look(lisp::Interpreter& /*interpreter*/, const lisp::BuiltinCall& /*call*/) {
  stopInRun(evaluated_form);
  return lisp::nil();
}

constexpr lisp::Builtin kLook{"LOOK", look};

void runAndStop() {
  lisp::installBuiltins(lisp::coreBuiltins());
  lisp::installBuiltins({&kLook, 1});
  const lisp::Environment environment;
  lisp::Interpreter interpreter(environment, nullptr, nullptr);
  interpreter.start({});
  const lisp::LispValue form = read("(< X 4)");
  evaluated_form = &lisp::chunkOf(form.raw());
  const lisp::LispValue program =
      read("(PROGN (SETQ X 0) (DEFUN G () (SETQ X 9) (LOOK)) (DEFUN F (X) (G) X))");
  interpreter.evaluate(program, 0).drop();
  // A form has its shape from the second evaluation on.
  for (int i = 0; i < 2; ++i) interpreter.evaluate(form, 0).drop();
  interpreter.evaluate(read("(F 1)"), 0).drop();
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
  stop(lisp::nil(), flat, linked, deep, text.raw(), &lisp::chunkOf(flat.raw()),
       &lisp::chunkOf(linked.raw()), &lisp::textOf(text.raw()), &symbol, function, environment,
       lisp::Environment());
  lisp::releaseFunction(function);
  runAndStop();
  return 0;
}
