// One function for each sort of text; the soup is bytes of all of them at random.

#include "testing/generators/text_generator.h"

namespace lisp_worker::testing_support {
namespace {

using std::string_literals::operator""s;

std::string generateDigits(Random& random, int count_max, const char* alphabet) {
  const std::string_view digits = alphabet;
  std::string text;
  for (int i = random.between(0, count_max); i > 0; --i) text += random.pick(digits);
  return text;
}

std::string generateSymbol(Random& random) {
  static constexpr const char* kSymbols[] = {"A",  "B",  "x",      "Foo", "LIST",    "nil",
                                             "T",  "1+", "$KVSEL", "-",   "+a",      ".",
                                             "a.", "/=", "nilx",   "N",   "command", "e5"};
  return random.pick(kSymbols);
}

std::string generateMalformedAnswer(Random& random) {
  static constexpr const char* kTexts[] = {"",        " ",    "; nothing", "(1 2",    ")",
                                           "1 2",     "(1))", "\"abc",     "'",       "(\"a\\",
                                           "nil nil", "''",   "(1 . 2",    "1 ; 2\n3"};
  if (random.chance(1, 8)) return std::string(514, '(') + std::string(514, ')');
  if (random.chance(1, 3)) return generateSoup(random);
  return random.pick(kTexts);
}

std::string generateEntity(Random& random) {
  std::string text = "((0 \"LINE\") (8 " + generateString(random) + ")";
  if (random.chance(2, 3)) text += " (10 . " + generatePoint(random) + ")";
  if (random.chance(1, 3)) text += " (62 " + generateNumber(random) + ")";
  return text + ")";
}

}  // namespace

std::string generateNumber(Random& random) {
  static constexpr const char* kEdges[] = {
      "-0.0",     "1e308",   "-1e308", "1e-300", "1.1e-300", "5e-324",
      "1e-320",   "0x1p-3",  "0xFF",   "1e16",   "0.1",      "9007199254740993",
      "1.5e+300", "-1e-301", "+7",     ".5",     "3.",       "123456789012345678",
      "-.25e1",   "0e9"};
  if (random.chance(1, 8)) return random.pick(kEdges);
  std::string text = std::to_string(random.between(-3, 9));
  if (random.chance(1, 5)) text += "." + std::to_string(random.between(0, 99));
  return text;
}

std::string generateNumberLike(Random& random) {
  static constexpr const char* kSigns[] = {"", "", "", "-", "+", "+-"};
  static constexpr const char* kWords[] = {"inf",     "INFINITY", "nan", "0x",   "1e",     "1e+",
                                           "0x.",     "0x1p",     "1d5", "0b1",  "1e5e5",  "1..5",
                                           "0x1.8p1", "1_000",    "1,5", "infx", "nan(7)", "1f"};
  std::string text = random.pick(kSigns);
  if (random.chance(1, 12)) return text + random.pick(kWords);
  const bool hexadecimal = random.chance(1, 4);
  const char* alphabet = hexadecimal ? "0123456789abcdefABCDEF" : "0123456789";
  const int digits_max = random.chance(1, 10) ? 400 : random.chance(1, 3) ? 25 : 5;
  if (hexadecimal) text += random.chance(1, 2) ? "0x" : "0X";
  text += generateDigits(random, digits_max, alphabet);
  if (random.chance(1, 2)) text += "." + generateDigits(random, digits_max, alphabet);
  if (random.chance(1, 2)) {
    text += hexadecimal ? (random.chance(1, 2) ? "p" : "P") : (random.chance(1, 2) ? "e" : "E");
    text += random.pick(kSigns);
    const int exponent_max = hexadecimal ? 1100 : 330;
    text += std::to_string(random.chance(1, 20) ? random.between(0, 2000000000)
                                                : random.between(0, exponent_max));
  }
  return text;
}

std::string generateString(Random& random) {
  static constexpr const char* kStrings[] = {"\"\"",      "\"A\"",      "\"a\"",      "\"0\"",
                                             "\"layer\"", "\"a\\\"b\"", "\"x\\ny\"",  "\"\\q\\\\\"",
                                             "\"(1 2)\"", "\"; no\"",   "\"$KVSEL\"", "\"\xe4\""};
  return random.pick(kStrings);
}

std::string generateDatum(Random& random, int depth) {
  if (depth > 0 && random.chance(1, 3)) {
    std::string text = "(";
    const int count = random.between(0, 4);
    for (int i = 0; i < count; ++i) {
      if (i > 0) text += ' ';
      text += generateDatum(random, depth - 1);
    }
    return text + ")";
  }
  if (depth > 0 && random.chance(1, 12)) return "'" + generateDatum(random, depth - 1);
  switch (random.below(5)) {
    case 0:
    case 1:
      return generateNumber(random);
    case 2:
      return generateString(random);
    case 3:
      return "nil";
    default:
      return generateSymbol(random);
  }
}

std::string generatePoint(Random& random) {
  std::string text = "(" + generateNumber(random);
  text += " " + generateNumber(random);
  if (random.chance(1, 2)) text += " " + generateNumber(random);
  if (random.chance(1, 20)) text += " " + generateDatum(random, 1);
  return text + ")";
}

std::string generateSelectionSet(Random& random) {
  std::string text = random.chance(1, 20) ? "(\"$KVSEL\"" : "($KVSEL";
  const int count = random.between(0, 4);
  for (int i = 0; i < count; ++i) text += " " + generateDatum(random, 1);
  return text + ")";
}

std::string generateAnswer(Random& random, std::string_view call_name) {
  if (random.chance(1, 16)) return generateMalformedAnswer(random);
  if (random.chance(1, 10)) return generateDatum(random, 3);
  if (random.chance(1, 12)) return "nil";
  std::string answer;
  if (call_name == "GETPOINT" || call_name == "GETCORNER" || call_name == "OSNAP") {
    answer = generatePoint(random);
  } else if (call_name == "GETDIST") {
    answer = generateNumber(random);
  } else if (call_name == "SSGET") {
    answer = generateSelectionSet(random);
  } else if (call_name == "ENTGET") {
    answer = generateEntity(random);
  } else {
    answer = random.chance(1, 2) ? "T" : generateDatum(random, 2);
  }
  if (random.chance(1, 20)) return " \x1a\t" + answer + " ; picked\n";
  return answer;
}

std::string generateSoup(Random& random) {
  static const std::string kPieces[] = {
      "(",   ")",    "(",     ")",   "'",    "\"",   ";",     "\n",   " ",    " ",
      " ",   "\\",   "\x1a",  "\0"s, "\t",   "\r\n", "\v",    "\f",   "nil",  "NIL",
      "T",   "abc",  "1e3",   "-",   ".",    "\x80", "\xff",  "\xa0", "\x85", "(QUOTE",
      "\\n", "\\\"", "\"a\"", "()",  "(())", "'()",  "; x\n", "+",    "(+ 1", "(LIST",
      "0x1", "\x1b", "\x7f",  "{",   "[",    "|",    "#",     "`",    ","};
  std::string text;
  const int count = random.between(0, random.chance(1, 6) ? 60 : 14);
  for (int i = 0; i < count; ++i) {
    text += random.chance(1, 6) ? generateNumberLike(random) : random.pick(kPieces);
  }
  return text;
}

}  // namespace lisp_worker::testing_support
