// Programs and statements: definitions, assignments, loops. program_expressions.cc has what they
// are made of, program_limits.cc the programs around a limit. `fuel` bounds the size of a tree:
// each level passes on less.

#include "testing/generators/program_generator.h"

#include <cctype>

#include "testing/generators/scope_generator.h"
#include "testing/generators/text_generator.h"

namespace lisp_worker::testing_support {
namespace {

constexpr int kLoopDepthMax = 2;
constexpr int kCallArityMax = 3;

constexpr const char* kHostNames[] = {"GETPOINT", "GETCORNER", "GETDIST", "SSGET",
                                      "ENTGET",   "ENTMOD",    "ENTMAKE", "ENTMAKEX",
                                      "COMMAND",  "COMMAND-S", "OSNAP"};

}  // namespace

const std::vector<std::string>& ProgramGenerator::variableNames() {
  static const std::vector<std::string> kNames = {"A", "B", "C", "N", "I", "J", "P", "Q",
                                                  "L", "M", "S", "X", "Y", "T", "U"};
  return kNames;
}

const std::vector<std::string>& ProgramGenerator::functionNames() {
  static const std::vector<std::string> kNames = {"F", "G",  "H",    "K",        "R",
                                                  "+", "1+", "LIST", "GETPOINT", "IF"};
  return kNames;
}

std::string ProgramGenerator::variable(Sort sort) {
  static constexpr const char* kNumbers[] = {"A", "B", "C", "N", "I"};
  static constexpr const char* kPoints[] = {"P", "Q"};
  static constexpr const char* kLists[] = {"L", "M"};
  if (random_.chance(1, 40)) return symbol(random_.pick(variableNames()));
  switch (sort) {
    case Sort::Number:
      return symbol(random_.pick(kNumbers));
    case Sort::Point:
      return symbol(random_.pick(kPoints));
    case Sort::List:
      return symbol(random_.pick(kLists));
    case Sort::SelectionSet:
      return symbol("S");
    default:
      return symbol(random_.chance(1, 2) ? "X" : "Y");
  }
}

ProgramGenerator::Sort ProgramGenerator::sortOf(const std::string& variable_name) const {
  switch (variable_name[0]) {
    case 'P':
    case 'Q':
      return Sort::Point;
    case 'L':
    case 'M':
      return Sort::List;
    case 'S':
      return Sort::SelectionSet;
    case 'X':
    case 'Y':
    case 'T':
    case 'U':
      return Sort::Any;
    default:
      return Sort::Number;
  }
}

// The name of a function that gives this sort of value.
std::string ProgramGenerator::functionFor(Sort sort) {
  if (sort == Sort::Number) return random_.chance(1, 2) ? "F" : "G";
  return sort == Sort::List ? "H" : "K";
}

ProgramGenerator::Sort ProgramGenerator::anySort() {
  static constexpr Sort kSorts[] = {Sort::Number, Sort::Truth,        Sort::Point,
                                    Sort::List,   Sort::SelectionSet, Sort::Text};
  return random_.pick(kSorts);
}

std::string ProgramGenerator::symbol(std::string_view name) {
  std::string text(name);
  if (random_.chance(1, 10)) {
    for (char& letter : text) {
      letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    }
  }
  return text;
}

std::string ProgramGenerator::blank() {
  static constexpr const char* kBlanks[] = {"\n", "  ", "\t", "\r\n", " \x1a ", " ; (note \"\n"};
  return random_.chance(1, 30) ? random_.pick(kBlanks) : " ";
}

std::string ProgramGenerator::form(std::string_view name,
                                   const std::vector<std::string>& arguments) {
  std::string text = "(" + symbol(name);
  for (const std::string& argument : arguments) text += blank() + argument;
  return text + ")";
}

// --- Programs ---------------------------------------------------------------------------------

std::string ProgramGenerator::program() {
  switch (random_.below(60)) {
    case 0:
      return generateSoup(random_);
    case 1:
      return "'(" + generateSoup(random_) + ")";
    case 2:
    case 3:
      return tokenProgram();
    case 4:
    case 5:
      return nestedProgram();
    case 6:
    case 7:
      return recursiveProgram();
    case 8:
    case 9:
    case 10:
    case 11:
      return contextProgram();
    case 12:
    case 13:
    case 14:
    case 15:
    case 16:
    case 17:
      return ScopeGenerator(random_).program();
    case 18:
      return random_.chance(1, 3) ? endlessProgram() : "";
    case 19:
      return random_.chance(1, 3) ? stepLimitProgram() : " ; nothing\n\x1a";
    default:
      return ordinaryProgram();
  }
}

std::string ProgramGenerator::ordinaryProgram() {
  std::string text;
  if (random_.chance(1, 4)) text += bindings();
  const int count = random_.between(1, 5);
  for (int i = 0; i < count; ++i) {
    const int fuel = random_.between(2, 6);
    text += random_.chance(1, 2) ? statement(fuel) : expression(anySort(), fuel);
    text += random_.chance(1, 3) ? "\n" : blank();
  }
  const int fuel = random_.between(2, 6);
  text += expression(Sort::Any, fuel);
  return random_.chance(1, 150) ? text + " '" : text;
}

std::string ProgramGenerator::bindings() {
  std::vector<std::string> pairs;
  for (const std::string& name : variableNames()) {
    if (name == "T" || name == "U" || random_.chance(1, 12)) continue;
    pairs.push_back(symbol(name));
    pairs.push_back(constant(sortOf(name)));
  }
  std::string text = form("SETQ", pairs) + "\n";
  for (int i = random_.between(0, 3); i > 0; --i) text += definition(3) + "\n";
  return text;
}

// --- Statements -------------------------------------------------------------------------------

std::string ProgramGenerator::statement(int fuel) {
  if (random_.chance(1, 25)) return mistake(fuel - 1);
  if (fuel <= 0) return assignment(0);
  switch (random_.below(12)) {
    case 0:
    case 1:
    case 2:
      return definition(fuel - 1);
    case 3:
    case 4:
      return random_.chance(1, 3) ? listLoop() : countedLoop(fuel - 1);
    case 5:
      return hostCall(random_.pick(kHostNames), fuel - 1);
    case 6:
      return form("IF", {expression(Sort::Truth, fuel - 1), statement(fuel - 1)});
    case 7:
      return form("PROGN", {statement(fuel - 1), statement(fuel - 1)});
    default:
      return assignment(fuel);
  }
}

std::string ProgramGenerator::assignment(int fuel) {
  std::vector<std::string> pairs;
  const int count = random_.chance(1, 4) ? random_.between(2, 3) : 1;
  for (int i = 0; i < count; ++i) {
    const std::string name = random_.pick(variableNames());
    pairs.push_back(symbol(name));
    pairs.push_back(expression(sortOf(name), fuel - 1));
  }
  return form("SETQ", pairs);
}

std::string ProgramGenerator::definition(int fuel) {
  static constexpr Sort kSorts[] = {Sort::Number, Sort::Number, Sort::List, Sort::Any};
  Sort sort = random_.pick(kSorts);
  std::string name = functionFor(sort);
  if (random_.chance(1, 25)) {
    name = random_.pick(functionNames());
    sort = name == "LIST" ? Sort::List : Sort::Number;
  }

  std::vector<std::string> parameters;
  std::string parameter_list;
  const int parameter_count = name == "1+"  ? 1
                              : name == "+" ? 2
                                            : random_.between(0, kCallArityMax);
  for (int i = 0; i < parameter_count; ++i) {
    parameters.push_back(random_.pick(variableNames()));
    parameter_list += symbol(parameters.back()) + " ";
  }
  std::vector<std::string> body;
  if (random_.chance(1, 2)) parameter_list += locals(body);
  if (random_.chance(1, 60)) parameter_list += random_.chance(1, 2) ? " nil" : " \"P\"";

  const int statement_count = random_.between(0, 2);
  for (int i = 0; i < statement_count; ++i) body.push_back(statement(fuel - 1));
  body.push_back(expression(sort, fuel));

  std::vector<std::string> arguments = {symbol(name), "(" + parameter_list + ")"};
  arguments.insert(arguments.end(), body.begin(), body.end());
  parameters_[name] = parameters;
  return form("DEFUN", arguments);
}

// The slash and the locals after it; what gives them values is appended to `body`.
std::string ProgramGenerator::locals(std::vector<std::string>& body) {
  std::string text = "/";
  for (int i = random_.between(0, 3); i > 0; --i) {
    // More slashes change nothing; a parameter's name may come again.
    const std::string local = random_.chance(1, 30) ? "/" : random_.pick(variableNames());
    text += " " + symbol(local);
    if (local != "/" && random_.chance(3, 4)) {
      body.push_back(form("SETQ", {symbol(local), constant(sortOf(local))}));
    }
  }
  // So many that they are worth treating otherwise.
  if (random_.chance(1, 5)) {
    for (int i = random_.between(6, 20); i > 0; --i) {
      text +=
          " " + (random_.chance(1, 4) ? random_.pick(variableNames()) : "Z" + std::to_string(i));
    }
  }
  return text;
}

std::string ProgramGenerator::countedLoop(int fuel) {
  if (loop_depth_ >= kLoopDepthMax) return assignment(fuel);
  const char* counter = loop_depth_ == 0 ? "I" : "J";
  ++loop_depth_;
  const std::string limit = std::to_string(random_.between(0, 5));
  std::vector<std::string> parts = {form("<", {symbol(counter), limit})};
  const std::string step = form("SETQ", {symbol(counter), form("1+", {symbol(counter)})});
  const bool step_first = random_.chance(1, 3);
  if (step_first) parts.push_back(step);
  const int count = random_.between(0, 2);
  for (int i = 0; i < count; ++i) parts.push_back(statement(fuel - 1));
  if (!step_first) parts.push_back(step);
  if (random_.chance(1, 2)) parts.push_back(expression(Sort::Number, fuel - 1));
  --loop_depth_;
  return form("PROGN", {form("SETQ", {symbol(counter), "0"}), form("WHILE", parts)});
}

// Builds and takes apart lists, long enough to be more than one piece, and compares them.
std::string ProgramGenerator::listLoop() {
  static constexpr const char* kSteps[] = {"(SETQ L (CONS I L))",
                                           "(SETQ M (CONS I M))",
                                           "(SETQ L (CDR L))",
                                           "(SETQ M (CDR M) L (CONS (CAR M) L))",
                                           "(SETQ L (CONS (CAR L) (CDR L)))",
                                           "(SETQ M (CONS (LIST I) (CDR L)) L (CDR L))",
                                           "(SETQ L (LIST L M))",
                                           "(SETQ S (CONS '$KVSEL (CONS I (CDR S))))",
                                           "(SETQ X (CONS (SSNAME S I) X))",
                                           "(SETQ Y (LENGTH L))",
                                           "(SETQ Y (EQUAL L M))",
                                           "(SETQ P (CONS I P))",
                                           "(IF (EQUAL L M) (SETQ X 'SAME))"};
  if (loop_depth_ > 0) return random_.pick(kSteps);
  std::string text = "(PROGN (SETQ I 0) ";
  if (random_.chance(1, 3)) text += "(SETQ L NIL M NIL S NIL) ";
  text += "(WHILE (< I " + std::to_string(random_.between(1, random_.chance(1, 3) ? 50 : 9)) + ")";
  for (int i = random_.between(1, 4); i > 0; --i) {
    text += " ";
    text += random_.pick(kSteps);
  }
  return text + " (SETQ I (1+ I))) (LIST (EQUAL L M) (EQUAL L (CONS (CAR L) (CDR L)))))";
}

}  // namespace lisp_worker::testing_support
