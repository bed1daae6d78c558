#include "terminal/colour.h"

#include <array>
#include <cstdlib>

#include "system/open_file.h"
#include "system/process.h"

namespace nebxml {
namespace {

constexpr std::string_view kResetStyle = "\x1b[0m";

ColourChoice g_choice = ColourChoice::automatic;

std::string_view codeOf(Style style) {
  // In the order of the enumeration.
  constexpr std::array<std::string_view, 5> kCodes{"\x1b[1m", "\x1b[1;31m", "\x1b[1;36m",
                                                   "\x1b[31m", "\x1b[32m"};
  return kCodes.at(static_cast<size_t>(style));
}

// Of both streams, asked only once.
using OfStreams = std::array<bool, 2>;

bool isSeen(Stream stream) {
  static const OfStreams areTerminals{isTerminal(kStandardOutput), isTerminal(kStandardErrors)};
  return areTerminals.at(static_cast<size_t>(stream));
}

bool canColour(Stream stream) {
  static const OfStreams takeEscapes{takesEscapes(kStandardOutput), takesEscapes(kStandardErrors)};
  return takeEscapes.at(static_cast<size_t>(stream));
}

bool isRefusedByEnvironment() {
  const char *refusal = std::getenv("NO_COLOR");
  return refusal != nullptr && *refusal != '\0';
}

bool takesColour(Stream stream) {
  if (g_choice != ColourChoice::automatic) return g_choice == ColourChoice::always;
  static const bool isRefused = isRefusedByEnvironment();
  return canColour(stream) && !isRefused;
}

}  // namespace

void chooseColour(ColourChoice choice) { g_choice = choice; }

bool reachesTerminal(Stream stream) { return isSeen(stream) || g_choice == ColourChoice::always; }

std::string styled(Stream stream, Style style, std::string_view text) {
  if (!takesColour(stream)) return std::string(text);
  return std::string(codeOf(style)).append(text).append(kResetStyle);
}

}  // namespace nebxml
