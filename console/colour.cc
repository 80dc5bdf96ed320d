// Colours 1 to 9 have names and tones of their own; 10 to 249 are 24 hues in ten tones each, 250 to
// 255 greys.

#include "console/colour.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "lisp_worker/client/number_text.h"

namespace lisp_worker::console {
namespace {

struct NamedColour {
  std::string_view name;
  std::string_view paper;
};

// The first is colour 1.
constexpr std::array<NamedColour, 9> kNamedColours = {{{"red", "#d32f2f"},
                                                       {"yellow", "#b8860b"},
                                                       {"green", "#2e7d32"},
                                                       {"cyan", "#00838f"},
                                                       {"blue", "#1a56c4"},
                                                       {"magenta", "#a626a4"},
                                                       {"black", "#202020"},
                                                       {"grey", "#757575"},
                                                       {"silver", "#9e9e9e"}}};

constexpr int kColourMax = 255;
constexpr int kFirstHue = 10;
constexpr int kFirstGrey = 250;

std::string hexColour(double red, double green, double blue) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text = "#";
  for (const double part : {red, green, blue}) {
    const auto byte = static_cast<std::size_t>(std::lround(std::clamp(part, 0.0, 1.0) * 255));
    text += {kDigits[byte >> 4U], kDigits[byte & 0xFU]};
  }
  return text;
}

// A hue in turns, as bright as `value`.
std::string hueColour(double turn, double saturation, double value) {
  const auto channel = [=](double shift) {
    const double distance = std::fabs(std::fmod(turn * 6 + shift, 6.0) - 3) - 1;
    return value * (1 - saturation * (1 - std::clamp(distance, 0.0, 1.0)));
  };
  return hexColour(channel(0), channel(4), channel(2));
}

}  // namespace

std::string paperColour(int number) {
  if (number < 1 || number > kColourMax) number = 7;
  if (number < kFirstHue) {
    return std::string(kNamedColours[static_cast<std::size_t>(number - 1)].paper);
  }
  if (number >= kFirstGrey) {
    const double grey = 0.2 + 0.08 * (number - kFirstGrey);
    return hexColour(grey, grey, grey);
  }
  // Ten numbers for each hue, darker from pair to pair, the odd ones paler.
  const int hue = (number - kFirstHue) / 10;
  const int step = (number - kFirstHue) % 10;
  const int shade = step / 2;
  return hueColour(static_cast<double>(hue) / 24, step % 2 == 0 ? 0.85 : 0.5, 0.8 - 0.1 * shade);
}

std::optional<int> readColour(std::string_view text) {
  if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
    text = text.substr(1, text.size() - 2);
  }
  for (std::size_t n = 0; n < kNamedColours.size(); ++n) {
    const std::string_view name = kNamedColours[n].name;
    if (std::equal(name.begin(), name.end(), text.begin(), text.end(), [](char a, char b) {
          return a == (b >= 'A' && b <= 'Z' ? b - 'A' + 'a' : b);
        })) {
      return static_cast<int>(n) + 1;
    }
  }
  const auto number = client::readNumber(text);
  if (!number || !(*number >= 1 && *number <= kColourMax) || *number != std::floor(*number)) {
    return std::nullopt;
  }
  return static_cast<int>(*number);
}

std::string colourName(int number) {
  if (number < 1 || number >= kFirstHue) return std::to_string(number);
  return std::string(kNamedColours[static_cast<std::size_t>(number - 1)].name);
}

}  // namespace lisp_worker::console
