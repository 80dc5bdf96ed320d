// A table of names, and functions for what no pattern can tell. A row's usage is matched with the
// form item by item: each parameter takes one form, "..." the rest. `instead` is then written with
// these forms' texts in place of the parameters, so the advice is in the program's own words.

#include "explain/habits.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <vector>

#include "explain/reference.h"

namespace explain {
namespace {

// --- Texts of the program --------------------------------------------------------------------

std::string_view rawText(const Form& form, const Source& source) {
  return source.text().substr(form.begin, form.end - form.begin);
}

// On one line; what is too long for that is shortened.
std::string asOneLine(std::string_view raw) {
  constexpr std::size_t kSizeMax = 120;
  if (raw.find('\n') != std::string_view::npos && raw.find(';') != std::string_view::npos) {
    return "...";  // A comment would swallow what follows.
  }
  std::string text;
  for (const char c : raw) {
    const bool is_blank = c == '\n' || c == '\r' || c == '\t' || c == ' ';
    if (is_blank && !text.empty() && text.back() == ' ') continue;
    text += is_blank ? ' ' : c;
  }
  return text.size() <= kSizeMax ? text : "...";
}

std::string textOf(const Form& form, const Source& source) {
  return asOneLine(rawText(form, source));
}

// The forms from `first` on, as they stand one after the other.
std::string textFrom(const std::vector<Form>& items, std::size_t first, const Source& source) {
  std::string text;
  for (std::size_t n = first; n < items.size(); ++n) {
    text += (text.empty() ? "" : " ") + textOf(items[n], source);
  }
  return text;
}

// The same as one form.
std::string asOneForm(const std::vector<Form>& items, std::size_t first, const Source& source) {
  if (first >= items.size()) return "nil";
  const std::string text = textFrom(items, first, source);
  return first + 1 == items.size() ? text : "(PROGN " + text + ")";
}

bool isDefault(const Form& form) {
  return form.name() == "T" || form.name() == "ELSE" || form.name() == "OTHERWISE";
}

// --- Forms that no pattern can tell ------------------------------------------------------------

std::string insteadOfCond(const Form& form, const Source& source) {
  std::string front;
  std::string back;
  for (std::size_t n = 1; n < form.items.size(); ++n) {
    const std::vector<Form>& clause = form.items[n].items;
    if (clause.empty()) return "";
    if (isDefault(clause.front())) return front + asOneForm(clause, 1, source) + back;
    const std::string condition = textOf(clause.front(), source);
    const bool is_last = n + 1 == form.items.size();
    if (clause.size() == 1) {
      front += (is_last ? "" : "(OR ") + condition + (is_last ? "" : " ");
    } else {
      front += "(IF " + condition + " " + asOneForm(clause, 1, source) + (is_last ? "" : " ");
    }
    if (!is_last || clause.size() > 1) back += ")";
  }
  return front + back;
}

std::string asConstant(const Form& key, const Source& source) {
  return (key.isSymbol() || key.isList() ? "'" : "") + textOf(key, source);
}

std::string insteadOfCase(const Form& form, const Source& source) {
  if (form.items.size() < 3) return "";
  const std::string key = textOf(form.items[1], source);
  std::string front;
  std::string back;
  for (std::size_t n = 2; n < form.items.size(); ++n) {
    const std::vector<Form>& clause = form.items[n].items;
    if (clause.size() < 2) return "";
    const std::string body = asOneForm(clause, 1, source);
    if (isDefault(clause.front())) return front + body + back;
    std::string condition;
    if (clause.front().isList()) {
      for (const Form& each : clause.front().items) {
        condition += " (EQUAL " + key + " " + asConstant(each, source) + ")";
      }
      condition = "(OR" + condition + ")";
    } else {
      condition = "(EQUAL " + key + " " + asConstant(clause.front(), source) + ")";
    }
    front += "(IF " + condition + " " + body + (n + 1 == form.items.size() ? "" : " ");
    back += ")";
  }
  return front + back;
}

std::string insteadOfLet(const Form& form, const Source& source) {
  if (form.items.size() < 3 || !form.items[1].isList()) return "";
  std::string text = "(SETQ";
  for (const Form& binding : form.items[1].items) {
    const bool is_pair = binding.items.size() == 2;
    if (!is_pair && !binding.isSymbol()) return "";
    text +=
        is_pair ? " " + textFrom(binding.items, 0, source) : " " + textOf(binding, source) + " nil";
  }
  return text + ") " + textFrom(form.items, 2, source) +
         "; in a function, make the variables its locals: (DEFUN F (... / A B) ...)";
}

std::string insteadOfDefine(const Form& form, const Source& source) {
  if (form.items.size() < 3) return "";
  const Form& target = form.items[1];
  if (!target.isList()) {
    return "(SETQ " + textOf(target, source) + " " + asOneForm(form.items, 2, source) + ")";
  }
  if (target.items.empty()) return "";
  return "(DEFUN " + textOf(target.items.front(), source) + " (" +
         textFrom(target.items, 1, source) + ") " + textFrom(form.items, 2, source) + ")";
}

// (LOAD "lib.lsp")
std::string insteadOfLoad(const Form& form, const Source& source) {
  const bool has_name =
      form.items.size() >= 2 && form.items[1].value.kind() == lisp::ValueKind::String;
  if (!has_name) return "";
  std::string name = textOf(form.items[1], source);
  name = name.substr(1, name.size() - 2);
  return ";@ load " + name +
         " in a line of its own, above the program, in the place of this; or run it with --load " +
         name;
}

constexpr std::string_view kNoTexts =
    "there are no functions over texts: keep what you need as a list of numbers or whole texts";
constexpr std::string_view kNoKinds =
    "no function tells the kind of a value: the program knows what it has put where";
constexpr std::string_view kNoOutput = "programs have no output; its value is what it was given";
constexpr std::string_view kLists =
    "or put ;@ load examples/lib/lists.lsp above the program, which defines it";
constexpr std::string_view kOnlyLists =
    "put ;@ load examples/lib/lists.lsp above the program, which defines it";
constexpr std::string_view kWalk = "walk the list in a WHILE, with CAR and CDR";
constexpr std::string_view kNumberText =
    "COMMAND \"TEXT\" takes a number as its text; texts cannot be joined";
constexpr std::string_view kNoPrompt =
    "programs have no output: leave it out, or put it into the question of a GETPOINT";
constexpr std::string_view kNoExit =
    "a program ends with its last form: put what may be left out into an IF";
constexpr std::string_view kNoSettings =
    "there are no settings to ask for or to change: leave it out";
constexpr std::string_view kNoSet =
    "SSGET alone makes selection sets: keep the handles in a list, COMMAND takes them one by one";
constexpr std::string_view kPartialEntity =
    "ENTMOD changes the groups that it gets and keeps the others: "
    "(ENTMOD (LIST (LIST -1 HANDLE) '(8 \"WALLS\")))";
constexpr std::string_view kNoRoot =
    "there is none; (DISTANCE '(0 0) (LIST A B)) is the root of A*A + B*B";

constexpr std::array kHabits = {
    // Numbers.
    Habit{"(ABS X)", "(IF (< X 0) (- X) X)", kLists},
    Habit{"(MIN A B)", "(IF (< B A) B A)", kLists},
    Habit{"(MAX A B)", "(IF (> B A) B A)", kLists},
    Habit{"(ZEROP X)", "(= X 0)"},
    Habit{"(MINUSP X)", "(< X 0)"},
    Habit{"(PLUSP X)", "(> X 0)"},
    Habit{"(INCF NAME)", "(SETQ NAME (1+ NAME))"},
    Habit{"(DECF NAME)", "(SETQ NAME (1- NAME))"},
    Habit{"(FLOAT X)", "X", "every number has a fraction"},
    Habit{"(MOD A B)", "(PROGN (SETQ R A) (WHILE (>= R B) (SETQ R (- R B))) R)",
          "for A of 0 and more"},
    Habit{"(REM A B)", "(PROGN (SETQ R A) (WHILE (>= R B) (SETQ R (- R B))) R)",
          "for A of 0 and more"},
    Habit{"(FIX X)", "(PROGN (SETQ R 0) (WHILE (<= (1+ R) X) (SETQ R (1+ R))) R)",
          "for X of 0 and more"},
    Habit{"(FLOOR X)", "(PROGN (SETQ R 0) (WHILE (<= (1+ R) X) (SETQ R (1+ R))) R)",
          "for X of 0 and more"},
    Habit{"(ROUND X)", "(PROGN (SETQ R 0) (WHILE (<= (+ R 0.5) X) (SETQ R (1+ R))) R)",
          "for X of 0 and more"},
    Habit{"(SQRT X)", "", kNoRoot},
    Habit{"(EXPT X N)", "", "multiply in a WHILE; (* X X) is the square"},
    Habit{"(SIN A)", "(CAR (CDR (POLAR '(0 0) A 1)))"},
    Habit{"(COS A)", "(CAR (POLAR '(0 0) A 1))"},
    Habit{"(TAN A)", "(/ (CAR (CDR (POLAR '(0 0) A 1))) (CAR (POLAR '(0 0) A 1)))"},
    Habit{"(ATAN Y X)", "(ANGLE '(0 0) (LIST X Y))"},
    // Comparison.
    Habit{"(EQL A B)", "(EQUAL A B)"},
    Habit{"(EQUALP A B)", "(EQUAL A B)"},
    Habit{"(STRING= A B)", "(EQUAL A B)"},
    Habit{"(== A B)", "(EQUAL A B)"},
    Habit{"(!= A B)", "(/= A B)", "(NOT (EQUAL A B)) for what is not a number"},
    Habit{"(<> A B)", "(/= A B)", "(NOT (EQUAL A B)) for what is not a number"},
    // Lists.
    Habit{"(FIRST LIST)", "(CAR LIST)"},
    Habit{"(REST LIST)", "(CDR LIST)"},
    Habit{"(SECOND LIST)", "(CAR (CDR LIST))"},
    Habit{"(THIRD LIST)", "(CAR (CDR (CDR LIST)))"},
    Habit{"(CADR LIST)", "(CAR (CDR LIST))", kLists},
    Habit{"(CADDR LIST)", "(CAR (CDR (CDR LIST)))", kLists},
    Habit{"(CDDR LIST)", "(CDR (CDR LIST))"},
    Habit{"(CAAR LIST)", "(CAR (CAR LIST))"},
    Habit{"(CDAR LIST)", "(CDR (CAR LIST))"},
    Habit{"(CADAR LIST)", "(CAR (CDR (CAR LIST)))"},
    Habit{"(NTH N LIST)", "", kOnlyLists},
    Habit{"(REVERSE LIST)", "", kOnlyLists},
    Habit{"(APPEND A B)", "",
          "put ;@ load examples/lib/lists.lsp above the program, which defines it for two lists"},
    Habit{"(MEMBER ITEM LIST)", "", kOnlyLists},
    Habit{"(ASSOC KEY GROUPS)", "", kOnlyLists},
    Habit{"(LAST LIST)", "", "walk to it in a WHILE, with CAR and CDR"},
    Habit{"(PUSH ITEM NAME)", "(SETQ NAME (CONS ITEM NAME))"},
    Habit{"(POP NAME)", "(SETQ NAME (CDR NAME))", "(CAR NAME) before it is what is taken off"},
    Habit{"(VECTOR ...)", "(LIST ...)"},
    Habit{"(ATOM X)", "", kNoKinds},
    Habit{"(LISTP X)", "", kNoKinds},
    Habit{"(NUMBERP X)", "", kNoKinds},
    Habit{"(STRINGP X)", "", kNoKinds},
    Habit{"(SYMBOLP X)", "", kNoKinds},
    Habit{"(CONSP X)", "", kNoKinds},
    // Variables and functions.
    Habit{"(SET NAME VALUE)", "(SETQ NAME VALUE)"},
    Habit{"(SETF NAME VALUE)", "(SETQ NAME VALUE)"},
    Habit{"(DEFVAR NAME VALUE)", "(SETQ NAME VALUE)", "", true},
    Habit{"(DEFPARAMETER NAME VALUE)", "(SETQ NAME VALUE)", "", true},
    Habit{"(DEFINE (F X) BODY)", "", "functions are made with DEFUN, variables with SETQ", true,
          insteadOfDefine},
    Habit{"(LET ((A 1)) BODY)", "",
          "assign the variables with SETQ, or make them locals of a function", true, insteadOfLet},
    Habit{"(LET* ((A 1)) BODY)", "",
          "assign the variables with SETQ, or make them locals of a function", true, insteadOfLet},
    Habit{"(LAMBDA (X) BODY)", "", "define a function with DEFUN, and call it by its name", true},
    Habit{"(FUNCALL NAME ...)", "(NAME ...)"},
    Habit{"(APPLY NAME LIST)", "", "call the function by its name, and write each argument"},
    Habit{"(EVAL FORM)", "", "write the form itself where it is to be evaluated"},
    Habit{"(MAPCAR F LIST)", "", kWalk},
    Habit{"(MAPC F LIST)", "", kWalk},
    Habit{"(LOAD FILE)", "",
          "a line ;@ load FILE above the program, or --load FILE, loads a library", false,
          insteadOfLoad},
    Habit{"(EXIT)", "", kNoExit},
    Habit{"(QUIT)", "", kNoExit},
    Habit{"(GETVAR NAME)", "", kNoSettings},
    Habit{"(SETVAR NAME VALUE)", "", kNoSettings},
    // Forms.
    Habit{"(COND (TEST BODY) (T BODY))", "", "nest IFs", true, insteadOfCond},
    Habit{"(CASE KEY (VALUE BODY))", "", "nest IFs", true, insteadOfCase},
    Habit{"(WHEN TEST ...)", "(IF TEST (PROGN ...))", "", true},
    Habit{"(UNLESS TEST ...)", "(IF TEST nil (PROGN ...))", "", true},
    Habit{"(BEGIN ...)", "(PROGN ...)"},
    Habit{"(FOREACH X LIST ...)",
          "(SETQ ITEMS LIST) (WHILE (> (LENGTH ITEMS) 0) (SETQ X (CAR ITEMS) ITEMS (CDR ITEMS)) "
          "...)",
          "", true},
    Habit{"(DOLIST (X LIST) ...)",
          "(SETQ ITEMS LIST) (WHILE (> (LENGTH ITEMS) 0) (SETQ X (CAR ITEMS) ITEMS (CDR ITEMS)) "
          "...)",
          "", true},
    Habit{"(DOTIMES (I N) ...)", "(SETQ I 0) (WHILE (< I N) ... (SETQ I (1+ I)))", "", true},
    Habit{"(REPEAT N ...)", "(SETQ I 0) (WHILE (< I N) ... (SETQ I (1+ I)))"},
    Habit{"(LOOP ...)", "(WHILE T ...)", "with a condition that becomes nil in the place of T"},
    Habit{"(DO BINDINGS END ...)", "",
          "count in a WHILE: (SETQ I 0) (WHILE (< I N) ... (SETQ I (1+ I)))", true},
    Habit{"(FOR I N ...)", "(SETQ I 0) (WHILE (< I N) ... (SETQ I (1+ I)))", "", true},
    Habit{"(RETURN VALUE)", "",
          "the last form of a function is its value; end a WHILE by its condition"},
    // Texts and output.
    Habit{"(ITOA N)", "N", kNumberText},
    Habit{"(RTOS X ...)", "X", kNumberText},
    Habit{"(ATOI TEXT)", "", kNoTexts},
    Habit{"(ATOF TEXT)", "", kNoTexts},
    Habit{"(STRLEN TEXT)", "", kNoTexts},
    Habit{"(STRCASE TEXT)", "", kNoTexts},
    Habit{"(PROMPT TEXT)", "", kNoPrompt},
    Habit{"(ALERT TEXT)", "", kNoPrompt},
    Habit{"(STRCAT A B)", "", kNoTexts},
    Habit{"(SUBSTR TEXT START)", "", kNoTexts},
    Habit{"(CONCAT A B)", "", kNoTexts},
    Habit{"(FORMAT ...)", "", kNoTexts},
    Habit{"(PRINT X)", "(PRINC X)", kNoOutput},
    Habit{"(WRITE X)", "(PRINC X)", kNoOutput},
    Habit{"(DISPLAY X)", "(PRINC X)", kNoOutput},
    Habit{"(TERPRI)", "", kNoOutput},
    // Questions to the user.
    Habit{"(GETREAL ...)", "(GETDIST ...)", "it asks for a number by two points or by typing"},
    Habit{"(GETINT ...)", "(GETDIST ...)", "it asks for a number by two points or by typing"},
    Habit{"(GETANGLE BASE ...)", "(ANGLE BASE (GETPOINT BASE ...))"},
    Habit{"(GETSTRING ...)", "", "no host call asks for a text: write it in the program"},
    Habit{"(GETKWORD ...)", "", "no host call asks for a word: write it in the program"},
    Habit{"(INITGET ...)", "", "leave it out, and ask what the answer is: nil is no point"},
    // The drawing.
    Habit{"(ENTLAST)", "(SSNAME (SSGET \"L\") 0)"},
    Habit{"(ENTSEL ...)", "(SSNAME (SSGET) 0)", "SSGET lets the user select"},
    Habit{"(ENTNEXT ...)", "", "SSGET \"X\" finds all entities; SSNAME takes one after the other"},
    Habit{"(ENTDEL HANDLE)", "(COMMAND \"ERASE\" HANDLE \"\")"},
    Habit{"(SUBST NEW OLD GROUPS)", "", kPartialEntity},
    Habit{"(SSADD ...)", "", kNoSet},
    Habit{"(SSDEL ...)", "", kNoSet},
};

// --- Patterns ----------------------------------------------------------------------------------

using Filling = std::map<std::string, std::string, std::less<>>;  // Texts by parameter.

// 'X and #'X where a name is wanted.
std::string_view withoutQuote(std::string_view text) {
  if (text.starts_with("#'")) text.remove_prefix(2);
  if (text.starts_with("'")) text.remove_prefix(1);
  return text;
}

bool matches(const Form& pattern, const Form& form, const Source& source, Filling& filling,
             std::size_t first) {
  const std::vector<Form>& wanted = pattern.items;
  const bool is_open = !wanted.empty() && wanted.back().name() == "...";
  const std::size_t count = wanted.size() - (is_open ? 1 : 0);
  if (is_open ? form.items.size() < count : form.items.size() != count) return false;
  for (std::size_t n = first; n < count; ++n) {
    if (wanted[n].isList()) {
      if (!form.items[n].isList() || !matches(wanted[n], form.items[n], source, filling, 0)) {
        return false;
      }
      continue;
    }
    const std::string name(wanted[n].name());
    const std::string text = textOf(form.items[n], source);
    filling[name] = name == "NAME" ? withoutQuote(text) : text;
  }
  if (is_open) filling["..."] = textFrom(form.items, count, source);
  return true;
}

// `text` with its parameters filled in.
std::string filled(std::string_view text, const Filling& filling) {
  std::string result;
  while (!text.empty()) {
    const std::size_t size = std::min(text.find_first_of("()' "), text.size());
    const auto value = filling.find(text.substr(0, size));
    if (value == filling.end()) {
      result += text.substr(0, size);
    } else if (!value->second.empty()) {
      result += value->second;
    } else if (result.ends_with(' ')) {
      result.pop_back();  // Nothing where "..." stands.
    }
    text.remove_prefix(size);
    if (text.empty()) break;
    result += text.front();
    text.remove_prefix(1);
  }
  return result;
}

std::string adviceFrom(const std::string& instead, const std::string& words) {
  if (instead.empty()) return words;
  return "write " + instead + (words.empty() ? "" : "; " + words);
}

bool mentions(const Form& form, std::string_view name) {
  return form.name() == name ||
         std::any_of(form.items.begin(), form.items.end(),
                     [name](const Form& item) { return mentions(item, name); });
}

// The variables that the texts of habits make get names that the form does not have.
void renameOwn(const Form& form, Filling& filling) {
  for (const char* const own : {"I", "R", "ITEMS"}) {
    std::string name = own;
    while (mentions(form, name)) name += "2";
    filling.try_emplace(own, name);
  }
}

std::string adviceOf(const Habit& habit, const Form& form, const Source& source) {
  if (habit.build != nullptr) {
    const std::string instead = habit.build(form, source);
    return instead.empty() ? std::string(habit.advice) : "write " + instead;
  }
  Filling filling;
  const Source usage("usage", std::string(habit.usage));
  const bool is_usual = matches(readForms(usage).forms.front(), form, source, filling, 1);
  if (!is_usual) filling.clear();
  if (is_usual) renameOwn(form, filling);
  const bool is_name = is_usual && habit.usage.find("NAME") != std::string_view::npos;
  return adviceFrom(filled(habit.instead, filling),
                    is_name ? filled(habit.advice, filling) : std::string(habit.advice));
}

// --- Notations -----------------------------------------------------------------------------------

bool isNumberText(std::string_view text) {
  const bool has_digit = text.find_first_of("0123456789") != std::string_view::npos;
  return has_digit && text.find_first_not_of("0123456789.+-") == std::string_view::npos;
}

// "10,20" gives its two or three numbers; anything else none.
std::vector<std::string_view> coordinatesOf(std::string_view text) {
  std::vector<std::string_view> parts;
  for (;;) {
    const std::size_t comma = std::min(text.find(','), text.size());
    parts.push_back(text.substr(0, comma));
    if (!isNumberText(parts.back())) return {};
    if (comma == text.size()) break;
    text.remove_prefix(comma + 1);
  }
  return parts.size() == 2 || parts.size() == 3 ? parts : std::vector<std::string_view>();
}

std::string asPoint(const std::vector<std::string_view>& coordinates) {
  std::string text;
  for (const std::string_view each : coordinates)
    text += (text.empty() ? "'(" : " ") + std::string(each);
  return text + ")";
}

std::string adviceOnCoordinates(std::string_view text) {
  const std::vector<std::string_view> parts = coordinatesOf(text);
  if (parts.empty()) return "";
  const bool may_be_number = parts.size() == 2 && parts[0].find('.') == std::string_view::npos &&
                             parts[1].find_first_not_of("0123456789") == std::string_view::npos;
  const std::string point = asPoint(parts);
  if (!may_be_number) return "write " + point;
  return "write " + std::string(parts[0]) + "." + std::string(parts[1]) +
         " for a number with a fraction, " + point + " for a point";
}

// A number with something behind it that belongs to no number.
std::string adviceOnNumber(std::string_view text) {
  const std::size_t size = std::min(text.find_first_not_of("0123456789."), text.size());
  if (size == 0 || size == text.size() || !isNumberText(text.substr(0, size))) return "";
  const std::string number(text.substr(0, size));
  std::string_view unit = text.substr(size);
  if (unit.starts_with('/') && isNumberText(unit.substr(1))) {
    return "write (/ " + number + " " + std::string(unit.substr(1)) + ")";
  }
  if (unit == "\xC2\xB0" || unit == "d" || unit == "D" || unit == "deg") {
    return "write (* " + number + " 0.017453292519943295): angles are in radians";
  }
  if (unit == "mm" || unit == "cm" || unit == "m" || unit == "in" || unit == "ft") {
    return "write " + number + ": numbers have no units; the drawing's is meant";
  }
  if (unit == "%") return "write (/ " + number + " 100)";
  return "";
}

// A text between the quotes of a word processor; `text` is from there to the end of the line.
std::string adviceOnQuotes(std::string_view text) {
  constexpr std::array kPairs = {
      std::pair{"\xE2\x80\x9C", "\xE2\x80\x9D"}, std::pair{"\xE2\x80\x9E", "\xE2\x80\x9C"},
      std::pair{"\xC2\xAB", "\xC2\xBB"}, std::pair{"\xE2\x80\x9D", "\xE2\x80\x9D"}};
  for (const auto& [opening, closing] : kPairs) {
    if (!text.starts_with(opening)) continue;
    text.remove_prefix(std::string_view(opening).size());
    const std::string inner(text.substr(0, std::min(text.find(closing), text.size())));
    return "write \"" + inner + "\", with straight quotes";
  }
  for (const std::string_view apostrophe : {"\xE2\x80\x98", "\xE2\x80\x99", "\xC2\xB4"}) {
    if (!text.starts_with(apostrophe)) continue;
    text.remove_prefix(apostrophe.size());
    return "write '" + std::string(text.substr(0, text.find_first_of(" )"))) +
           ", with a straight apostrophe";
  }
  return "";
}

// A command as it is typed at a prompt, CIRCLE 5,5 3: a name and then a point, on a line.
std::string adviceOnCommandLine(std::string_view line) {
  std::vector<std::string_view> words;
  while (!line.empty() && words.size() < 20) {
    const std::size_t size = std::min(line.find(' '), line.size());
    if (size > 0) words.push_back(line.substr(0, size));
    line.remove_prefix(std::min(size + 1, line.size()));
  }
  if (words.size() < 2 || coordinatesOf(words[1]).empty()) return "";
  std::string text = "write (COMMAND \"" + std::string(words.front()) + "\"";
  for (std::size_t n = 1; n < words.size(); ++n) {
    const auto coordinates = coordinatesOf(words[n]);
    if (!coordinates.empty()) {
      text += " " + asPoint(coordinates);
    } else if (isNumberText(words[n])) {
      text += " " + std::string(words[n]);
    } else {
      text += " \"" + std::string(words[n]) + "\"";
    }
  }
  return text + "); \"\" at its end is the Enter key";
}

std::string adviceOnToken(std::string_view text) {
  struct Word {
    std::string_view name;
    std::string_view advice;
  };
  constexpr std::array kWords = {
      Word{"PI", "write 3.141592653589793, or assign it once: (SETQ PI 3.141592653589793)"},
      Word{"TRUE", "write T"},
      Word{"#T", "write T"},
      Word{"FALSE", "write nil"},
      Word{"#F", "write nil"},
      Word{"NULL", "write nil; (NULL X) asks for it"},
      Word{"ELSE", "it is not written: (IF CONDITION THEN ELSE) has both in this order"},
      Word{"THEN", "it is not written: (IF CONDITION THEN ELSE) has both in this order"},
      Word{"`", "make the list of its items: (LIST 'A B) for `(A ,B)"},
      Word{"#|", "begin each line of a comment with a semicolon"},
      Word{"|#", "begin each line of a comment with a semicolon"},
      Word{"#", "write '(...) for a list of constants, ; for a comment"},
      Word{"{", "lists stand between ( and )"},
      Word{"}", "lists stand between ( and )"},
      Word{":=", "write (SETQ NAME VALUE)"},
  };
  std::string upper(text);
  for (char& c : upper) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  for (const Word& word : kWords) {
    if (word.name == upper) return std::string(word.advice);
  }
  if (upper.starts_with("#|") || upper.starts_with("//") || upper.starts_with("/*")) {
    return "begin each line of a comment with a semicolon";
  }
  if (upper.starts_with("#\\") && upper.size() > 2) {
    return "write \"" + std::string(text.substr(2)) + "\": a character is a text";
  }
  if (upper.starts_with(":") && upper.size() > 1) {
    return "write '" + std::string(text.substr(1)) + ": a name that is not evaluated";
  }
  if (upper.starts_with("[") || upper.ends_with("]")) return "lists stand between ( and )";
  const std::size_t equals = text.find('=');
  if (equals != 0 && equals != std::string_view::npos && equals + 1 < text.size()) {
    const std::string_view name = text.substr(0, equals - (text[equals - 1] == ':' ? 1 : 0));
    return "write (SETQ " + std::string(name) + " " + std::string(text.substr(equals + 1)) + ")";
  }
  return "";
}

std::string_view restOfLine(const Form& form, const Source& source) {
  const std::string_view text = source.text().substr(form.begin);
  std::string_view line = text.substr(0, text.find_first_of("\r\n"));
  while (line.ends_with(' ')) line.remove_suffix(1);
  return line;
}

bool beginsItsLine(const Form& form, const Source& source) {
  return source.text()
             .substr(source.lineStart(form.line), form.begin - source.lineStart(form.line))
             .find_first_not_of(" \t") == std::string_view::npos;
}

// "3/4" BOLT": a name between a text and a quote that was to end it.
std::string adviceOnInnerQuote(const Form& form, const Source& source) {
  const std::size_t start = source.lineStart(form.line);
  const std::string_view line = source.line(form.line);
  const std::size_t at = form.begin - start;
  const std::size_t closing = line.find('"', at);
  const std::size_t inner = line.substr(0, at).rfind('"');
  if (closing == line.npos || inner == line.npos || inner == 0) return "";
  const std::size_t opening = line.rfind('"', inner - 1);
  const bool is_one = opening != line.npos && line[closing - 1] != ' ' &&
                      line.substr(inner, closing - inner).find_first_of("()';") == line.npos;
  if (!is_one) return "";
  return "a double quote inside a text is written \\\": " +
         std::string(line.substr(opening, inner - opening)) + "\\" +
         std::string(line.substr(inner, closing - inner)) + "\"";
}

// The name is the first argument of COMMAND.
bool followsCommand(const Form& form, const Source& source) {
  std::string_view before = source.text().substr(0, form.begin);
  while (before.ends_with(' ')) before.remove_suffix(1);
  constexpr std::string_view kCall = "(COMMAND";
  if (before.size() < kCall.size()) return false;
  before = before.substr(before.size() - kCall.size());
  return std::equal(before.begin(), before.end(), kCall.begin(), [](char a, char b) {
    return (a >= 'a' && a <= 'z' ? static_cast<char>(a - 'a' + 'A') : a) == b;
  });
}

std::string adviceOnName(const Form& form, const Source& source) {
  const std::string_view text = rawText(form, source);
  const std::string_view line = restOfLine(form, source);
  const std::string_view after = line.substr(std::min(text.size(), line.size()));
  if (std::string advice = adviceOnInnerQuote(form, source); !advice.empty()) return advice;
  if (followsCommand(form, source)) {
    return "the name of a command is a text: write \"" + std::string(text) + "\"";
  }
  if (text == "#" && after.starts_with("'")) {
    return "write " + std::string(after.substr(0, after.find_first_of(" )", 1))) +
           ": a function is called by its name";
  }
  if (beginsItsLine(form, source)) {
    if (std::string advice = adviceOnCommandLine(line); !advice.empty()) return advice;
    if (after.starts_with(" = ") || after.starts_with(" := ")) {
      return "write (SETQ " + std::string(text) + " " +
             std::string(after.substr(after.find('=') + 2)) + ")";
    }
    if (after.starts_with(' ') && findEntry(form.name()) != nullptr) {
      return "write (" + std::string(line) + "): a call stands in parentheses, its name included";
    }
  }
  if (std::string advice = adviceOnQuotes(line); !advice.empty()) return advice;
  if (std::string advice = adviceOnCoordinates(text); !advice.empty()) return advice;
  if (std::string advice = adviceOnNumber(text); !advice.empty()) return advice;
  return adviceOnToken(text);
}

// (1 + 2), (A = 5): an operator between its arguments.
std::string adviceOnInfix(const Form& form, const Source& source) {
  constexpr std::array<std::string_view, 10> kOperators = {"+",  "-", "*",  "/", "=",
                                                           "/=", "<", "<=", ">", ">="};
  const std::vector<Form>& items = form.items;
  if (items.size() < 3 || items.size() % 2 == 0) return "";
  const std::string_view name = items[1].name();
  if (std::find(kOperators.begin(), kOperators.end(), name) == kOperators.end()) return "";
  std::string text = "(" + std::string(name);
  for (std::size_t n = 0; n < items.size(); ++n) {
    if (n % 2 == 0) text += " " + textOf(items[n], source);
    if (n % 2 == 1 && items[n].name() != name) return "";
  }
  text += ")";
  if (name != "=" || !items[0].isSymbol()) return "write " + text + ": the function comes first";
  return "write " + text + " to compare, (SETQ " + textOf(items[0], source) + " " +
         textOf(items[2], source) + ") to assign";
}

// A special form that is written in a way that another language knows.
std::string adviceOnSpecialForm(const Form& form, const Source& source) {
  const std::vector<Form>& items = form.items;
  if (form.entry->name == "IF" && items.size() > 4) {
    std::vector<Form> branches(items.begin() + 2, items.end());
    std::erase_if(branches,
                  [](const Form& item) { return item.name() == "THEN" || item.name() == "ELSE"; });
    const std::string front = "write (IF " + textOf(items[1], source) + " ";
    if (branches.size() < items.size() - 2) {
      return branches.size() > 2 ? "" : front + textFrom(branches, 0, source) + ")";
    }
    return front + asOneForm(branches, 0, source) +
           ") when all are one branch: several forms of a branch are put into a PROGN";
  }
  if (form.entry->name == "DEFUN" && items.size() > 2 && items[1].isList()) {
    const std::string text = insteadOfDefine(form, source);
    return text.empty() ? "" : "write " + text;
  }
  return "";
}

}  // namespace

std::string_view Habit::name() const { return usage.substr(1, usage.find_first_of(" )") - 1); }

std::span<const Habit> habits() { return kHabits; }

const Habit* findHabit(std::string_view name) {
  const auto* const found = std::find_if(
      kHabits.begin(), kHabits.end(), [name](const Habit& habit) { return habit.name() == name; });
  return found == kHabits.end() ? nullptr : found;
}

std::string describe(const Habit& habit) {
  return std::string(habit.usage) + " is not of this language: " +
         adviceFrom(std::string(habit.instead), std::string(habit.advice));
}

std::string adviceAround(const Form& form, const Source& source) {
  const Habit* const habit = findHabit(form.operatorName());
  if (habit == nullptr || !habit->is_form) return adviceOnInfix(form, source);
  return "it stands in a form that the language does not have, " + std::string(habit->name()) +
         ": " + adviceOf(*habit, form, source);
}

std::string adviceOnHabit(const Form& form, const Source& source) {
  if (form.isSymbol()) return adviceOnName(form, source);
  if (form.items.empty()) return "";
  if (form.entry != nullptr && form.entry->group == Group::SpecialForm) {
    return adviceOnSpecialForm(form, source);
  }
  if (const Habit* const habit = findHabit(form.operatorName())) {
    return adviceOf(*habit, form, source);
  }
  if (std::string advice = adviceOnInfix(form, source); !advice.empty()) return advice;
  if (form.items.front().isSymbol()) return adviceOnToken(rawText(form.items.front(), source));
  return "";
}

}  // namespace explain
