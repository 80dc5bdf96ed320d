// One row for each special form, builtin and host call. `:doc`, the checker and the explanations
// read it, and tests compare it with the tables of the evaluator: every name is in both, and each
// example gives the result beside it.

#include "explain/reference.h"

#include <algorithm>
#include <array>

namespace explain {
namespace {

using enum Group;

constexpr std::array kEntries = {
    Entry{"QUOTE", SpecialForm, 1, 1, "(QUOTE FORM) or 'FORM", "The form itself, unevaluated.",
          "'(A 1 \"x\")", "(A 1 \"x\")", "quote expects one argument"},
    Entry{"SETQ", SpecialForm, 2, kAnyCount, "(SETQ NAME VALUE ...)",
          "Evaluates each value and assigns it to the variable before it: the local one of that "
          "name, else the global one. Gives the last value.",
          "(SETQ A 1 B (+ A 1))", "2",
          "setq expects symbol/value pairs; setq target must be a symbol"},
    Entry{"IF", SpecialForm, 2, 3, "(IF CONDITION THEN [ELSE])",
          "Evaluates THEN when the condition is not nil, else ELSE. Only nil is false: 0, \"\" and "
          "() are true.",
          "(IF (< 1 2) \"less\" \"more\")", "\"less\"",
          "if expects condition, true and optional false expression"},
    Entry{"PROGN", SpecialForm, 0, kAnyCount, "(PROGN FORM ...)",
          "Evaluates the forms in order and gives the value of the last.",
          "(PROGN (SETQ A 1) (+ A 1))", "2"},
    Entry{"WHILE", SpecialForm, 1, kAnyCount, "(WHILE CONDITION FORM ...)",
          "Evaluates the forms as long as the condition is not nil. An empty list is true: ask for "
          "its LENGTH.",
          "(SETQ N 0) (WHILE (< N 3) (SETQ N (1+ N)))", "3", "while expects a condition"},
    Entry{"DEFUN", SpecialForm, 3, kAnyCount, "(DEFUN NAME (PARAMETER ... / LOCAL ...) FORM ...)",
          "Defines a function. Its parameters and the names after the slash are local to it.",
          "(DEFUN TWICE (X) (* 2 X)) (TWICE 21)", "42",
          "defun syntax error; defun parameter must be symbol"},
    Entry{"AND", SpecialForm, 0, kAnyCount, "(AND FORM ...)",
          "Evaluates forms until one is nil; gives the value of the last one evaluated.",
          "(AND 1 2)", "2"},
    Entry{"OR", SpecialForm, 0, kAnyCount, "(OR FORM ...)",
          "Evaluates forms until one is not nil; gives the value of the last one evaluated.",
          "(OR NIL 5)", "5"},
    Entry{"NOT", SpecialForm, 1, 1, "(NOT FORM)", "T when the form's value is nil, else nil.",
          "(NOT NIL)", "T", "NOT expects one argument"},
    Entry{"NULL", SpecialForm, 1, 1, "(NULL FORM)",
          "T when the form's value is nil, else nil. An empty list is not nil.", "(NULL '())",
          "nil", "NULL expects one argument"},

    Entry{"+", Builtin, 0, kAnyCount, "(+ NUMBER ...)", "The sum.", "(+ 1 2 3.5)", "6.5",
          "+ expects numbers", "n"},
    Entry{"-", Builtin, 1, kAnyCount, "(- NUMBER NUMBER ...)",
          "The first without the others; of one number, its negative.", "(- 10 1 2)", "7",
          "- expects numbers", "n"},
    Entry{"*", Builtin, 0, kAnyCount, "(* NUMBER ...)", "The product.", "(* 2 3 4)", "24",
          "* expects numbers", "n"},
    Entry{"/", Builtin, 1, kAnyCount, "(/ NUMBER NUMBER ...)",
          "The first divided by the others, never by zero. There are no integers.", "(/ 7 2)",
          "3.5", "/ expects numbers; division by zero", "nd"},
    Entry{"1+", Builtin, 1, 1, "(1+ NUMBER)", "One more.", "(1+ 41)", "42", "1+ expects one number",
          "n"},
    Entry{"1-", Builtin, 1, 1, "(1- NUMBER)", "One less.", "(1- 43)", "42", "1- expects one number",
          "n"},
    Entry{"=", Builtin, 2, 2, "(= NUMBER NUMBER)", "T when they are equal.", "(= 2 2.0)", "T",
          "= expects two numbers", "n"},
    Entry{"/=", Builtin, 2, 2, "(/= NUMBER NUMBER)", "T when they differ.", "(/= 1 2)", "T",
          "/= expects two numbers", "n"},
    Entry{"<", Builtin, 2, 2, "(< NUMBER NUMBER)", "T when the first is less.", "(< 1 2)", "T",
          "< expects two numbers", "n"},
    Entry{">", Builtin, 2, 2, "(> NUMBER NUMBER)", "T when the first is greater.", "(> 1 2)", "nil",
          "> expects two numbers", "n"},
    Entry{"<=", Builtin, 2, 2, "(<= NUMBER NUMBER)", "T when the first is not greater.", "(<= 2 2)",
          "T", "<= expects two numbers", "n"},
    Entry{">=", Builtin, 2, 2, "(>= NUMBER NUMBER)", "T when the first is not less.", "(>= 1 2)",
          "nil", ">= expects two numbers", "n"},
    Entry{"EQ", Builtin, 2, 2, "(EQ VALUE VALUE)", "The same as EQUAL.", "(EQ '(1 2) '(1 2))", "T",
          "EQ expects two arguments"},
    Entry{"EQUAL", Builtin, 2, 2, "(EQUAL VALUE VALUE)",
          "T when the values are of one kind and equal in structure.", "(EQUAL \"A\" 'A)", "nil",
          "EQUAL expects two arguments"},
    Entry{"LIST", Builtin, 0, kAnyCount, "(LIST VALUE ...)", "A list of the values.",
          "(LIST 1 (+ 1 1))", "(1 2)"},
    Entry{"CAR", Builtin, 1, 1, "(CAR LIST)",
          "The first element; nil of anything but a list with elements.", "(CAR '(1 2 3))", "1"},
    Entry{"CDR", Builtin, 1, 1, "(CDR LIST)",
          "All elements but the first; nil of anything but a list with elements.", "(CDR '(1 2 3))",
          "(2 3)"},
    Entry{"CONS", Builtin, 2, 2, "(CONS VALUE LIST)",
          "A list with the value in front. There are no dotted pairs.", "(CONS 1 '(2 3))",
          "(1 2 3)", "cons expects two arguments"},
    Entry{"LENGTH", Builtin, 1, 1, "(LENGTH LIST)", "How many elements. Nil is not a list.",
          "(LENGTH '(A B))", "2", "length expects list", "l"},
    Entry{"PRINC", Builtin, 0, kAnyCount, "(PRINC VALUE ...)",
          "The last value. Programs have no output.", "(PRINC \"hi\")", "\"hi\""},
    Entry{"PRIN1", Builtin, 0, kAnyCount, "(PRIN1 VALUE ...)",
          "The last value. Programs have no output.", "(PRIN1 1 2)", "2"},
    Entry{"SSLENGTH", Builtin, 1, 1, "(SSLENGTH SET)", "How many members a selection set has.",
          "(SSLENGTH '($KVSEL \"E1\" \"E2\"))", "2",
          "sslength expects one selection set; sslength expects a selection set", "s"},
    Entry{"SSNAME", Builtin, 2, 2, "(SSNAME SET INDEX)",
          "The member of that index, from 0; nil past the end. SSGET answers nil when it finds "
          "nothing, and nil is no set.",
          "(SSNAME '($KVSEL \"E1\" \"E2\") 1)", "\"E2\"",
          "ssname expects selection set and index; ssname expects a selection set", "sn"},
    Entry{"DISTANCE", Builtin, 2, 2, "(DISTANCE POINT POINT)",
          "How far apart they are in the plane; z does not count.", "(DISTANCE '(0 0) '(3 4))", "5",
          "DISTANCE argument count; DISTANCE expects point list", "p"},
    Entry{"ANGLE", Builtin, 2, 2, "(ANGLE POINT POINT)",
          "The direction from the first to the second, in radians from -pi to pi.",
          "(ANGLE '(0 0) '(0 2))", "1.5707963267948966",
          "ANGLE argument count; ANGLE expects point list", "p"},
    Entry{"POLAR", Builtin, 3, 3, "(POLAR POINT ANGLE DISTANCE)",
          "The point at that angle, in radians, and distance.", "(POLAR '(1 2) 0 5)", "(6 2 0)",
          "POLAR argument count; POLAR expects point list; polar expects point, angle, distance",
          "pn"},
    Entry{"TRANS", Builtin, 3, 4, "(TRANS POINT SOURCE TARGET)",
          "The point of system SOURCE in system TARGET. Systems are 0, the world, to 4.",
          "(TRANS '(1 2) 0 0)", "(1 2 0)",
          "trans requires point, source, target and registered context; trans coordinate arguments "
          "invalid; trans transform is singular",
          "pcca"},

    Entry{"GETPOINT", HostCall, 0, kAnyCount, "(GETPOINT [BASE] [PROMPT])", "Asks for a point.",
          "(GETPOINT \"Centre: \")", "waits for GETPOINT (\"Centre: \")"},
    Entry{"GETCORNER", HostCall, 0, kAnyCount, "(GETCORNER BASE [PROMPT])",
          "Asks for the corner opposite to a point.", "(GETCORNER '(0 0))",
          "waits for GETCORNER ((0 0))"},
    Entry{"GETDIST", HostCall, 0, kAnyCount, "(GETDIST [BASE] [PROMPT])", "Asks for a distance.",
          "(GETDIST \"Radius: \")", "waits for GETDIST (\"Radius: \")"},
    Entry{"SSGET", HostCall, 0, kAnyCount, "(SSGET [WAY [CORNER CORNER]] [FILTER])",
          "Selects entities: all (\"X\"), in a window (\"W\", \"C\"), the last (\"L\"), the "
          "previous (\"P\"), by a filter such as '((0 \"LINE\") (8 \"WALLS\")). Nil when it finds "
          "nothing.",
          "(SSGET \"X\" '((8 \"A\")))", "waits for SSGET (\"X\" ((8 \"A\")))"},
    Entry{"ENTGET", HostCall, 0, kAnyCount, "(ENTGET HANDLE)",
          "The groups of an entity: lists of a code and a value.", "(ENTGET \"E1\")",
          "waits for ENTGET (\"E1\")"},
    Entry{"ENTMOD", HostCall, 0, kAnyCount, "(ENTMOD GROUPS)",
          "Changes the entity that group -1 names.", "(ENTMOD '((-1 \"E1\")))",
          "waits for ENTMOD (((-1 \"E1\")))"},
    Entry{"ENTMAKE", HostCall, 0, kAnyCount, "(ENTMAKE GROUPS)",
          "Makes an entity and gives its groups; nil when that is not possible.",
          "(ENTMAKE '((0 \"POINT\") (10 (1 2))))",
          "waits for ENTMAKE (((0 \"POINT\") (10 (1 2))))"},
    Entry{"ENTMAKEX", HostCall, 0, kAnyCount, "(ENTMAKEX GROUPS)",
          "Makes an entity and gives its handle; nil when that is not possible.",
          "(ENTMAKEX '((0 \"POINT\") (10 (1 2))))",
          "waits for ENTMAKEX (((0 \"POINT\") (10 (1 2))))"},
    Entry{"COMMAND", HostCall, 0, kAnyCount, "(COMMAND NAME INPUT ...)",
          "Runs commands of the host with these inputs; \"\" is the Enter key.",
          "(COMMAND \"CIRCLE\" '(0 0) 5)", "waits for COMMAND (\"CIRCLE\" (0 0) 5)"},
    Entry{"COMMAND-S", HostCall, 0, kAnyCount, "(COMMAND-S NAME INPUT ...)", "The same as COMMAND.",
          "(COMMAND-S \"ZOOM\" \"E\")", "waits for COMMAND-S (\"ZOOM\" \"E\")"},
    Entry{"OSNAP", HostCall, 0, kAnyCount, "(OSNAP POINT MODES)",
          "The point of the drawing that snapping finds: \"end\", \"mid\", \"cen\", \"nod\". Nil "
          "when there is none.",
          "(OSNAP '(1 2) \"end\")", "waits for OSNAP ((1 2) \"end\")"},
};

}  // namespace

std::span<const Entry> entries() { return kEntries; }

const Entry* findEntry(std::string_view name) {
  const auto* const entry = std::find_if(kEntries.begin(), kEntries.end(),
                                         [name](const Entry& e) { return e.name == name; });
  return entry == kEntries.end() ? nullptr : entry;
}

std::string describe(const Entry& entry) {
  const char* const kind = entry.group == SpecialForm ? "special form"
                           : entry.group == HostCall  ? "host call"
                                                      : "function";
  return std::string(entry.form) + "   [" + kind + "]\n  " + std::string(entry.meaning) +
         "\n  example: " + std::string(entry.example) +
         "\n  gives:   " + std::string(entry.result) + "\n" +
         (entry.messages.empty() ? "" : "  errors:  " + std::string(entry.messages) + "\n");
}

}  // namespace explain
