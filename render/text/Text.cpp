#include "render/text/Text.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
  return lower;
}

std::optional<double> finiteNumber(std::string_view text) {
  double number = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(number)) return {};
  return number + 0.0; // "-0" becomes 0
}

std::optional<int> wholeNumber(std::string_view text, int lowest, int highest) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return {};
  if (number < lowest || number > highest) return {};
  return number;
}

std::optional<double> clockSeconds(std::string_view text) {
  constexpr int kMost = 1000000; // of hours or minutes
  double whole = 0.0;
  int colons = 0;
  for (std::size_t colon; (colon = text.find(':')) != std::string_view::npos; text.remove_prefix(colon + 1)) {
    const auto part = wholeNumber(text.substr(0, colon), 0, colons == 0 ? kMost : 59);
    if (!part || ++colons > 2) return {};
    whole = (whole + *part) * 60.0;
  }
  const auto seconds = finiteNumber(text);
  if (!seconds || *seconds < 0.0 || (colons > 0 && *seconds >= 60.0)) return {};
  return whole + *seconds;
}

std::string shortest(double number) {
  char text[32];
  return std::string(text, std::to_chars(text, text + sizeof text, number).ptr);
}

std::string withSign(double number) {
  std::string text = number > 0.0 ? "+" : "";
  return text += shortest(number);
}

std::string excerpt(std::string_view text) {
  constexpr std::size_t kShownBytes = 40;
  constexpr int kContinuationMask = 0xC0, kContinuation = 0x80; // of UTF-8's further bytes of a character
  if (text.size() <= kShownBytes) return std::string(text);
  std::size_t length = kShownBytes;
  while (length > 0 && (text[length] & kContinuationMask) == kContinuation)
    --length;
  return std::string(text.substr(0, length)) + "...";
}

Lines::Lines(std::string_view text) : rest(text) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (rest.substr(0, kByteOrderMark.size()) == kByteOrderMark) rest.remove_prefix(kByteOrderMark.size());
}

bool Lines::next() {
  if (rest.empty()) return false;
  const auto length = std::min(rest.find('\n'), rest.size());
  current = rest.substr(0, length);
  if (!current.empty() && current.back() == '\r') current.remove_suffix(1);
  current = trimmed(current);
  rest.remove_prefix(std::min(length + 1, rest.size()));
  ++count;
  return true;
}
