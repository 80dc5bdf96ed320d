// Texts by repetition.

#include "testing/generators/greedy_programs.h"

namespace lisp_worker::testing_support {

std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  result.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

std::string asOftenAsFits(std::string_view text, std::size_t size) {
  return repeated(text, size / text.size());
}

std::string shortName(std::size_t number) {
  static constexpr std::string_view kLetters = "ABCDEFGHJKMPQRSUVWXYZ";  // No NIL, and no I or T.
  static constexpr std::string_view kDigits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  std::string name(1, kLetters[number % kLetters.size()]);
  for (number /= kLetters.size(); number > 0; number /= kDigits.size()) {
    name += kDigits[number % kDigits.size()];
  }
  return name;
}

std::string shortNames(std::size_t count) {
  std::string names;
  for (std::size_t i = 0; i < count; ++i) names += " " + shortName(i);
  return names;
}

std::string loop(std::size_t passes, std::string_view body) {
  return "(SETQ I 0) (WHILE (< I " + std::to_string(passes) + ") (SETQ I (1+ I)) " +
         std::string(body) + ") ";
}

}  // namespace lisp_worker::testing_support
