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

bool isLetter(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
  return lower;
}

std::string upperCase(std::string_view text) {
  std::string upper(text);
  std::transform(upper.begin(), upper.end(), upper.begin(),
                 [](unsigned char character) { return static_cast<char>(std::toupper(character)); });
  return upper;
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

// Put together as text, so that 1:00.1 is the same number as 60.1.
std::optional<double> clockSeconds(std::string_view text) {
  constexpr int kMostHours = 10000, kPerMinute = 60, kPerHour = 3600;
  const auto colon = text.find(':'), lastColon = text.rfind(':');
  if (colon == std::string_view::npos) {
    const auto seconds = finiteNumber(text);
    return seconds && *seconds >= 0.0 ? seconds : std::nullopt;
  }
  const bool hasHours = colon != lastColon;
  const std::string_view seconds = text.substr(lastColon + 1);
  const auto point = std::min(seconds.find('.'), seconds.size());
  const auto hours = hasHours ? wholeNumber(text.substr(0, colon), 0, kMostHours) : 0;
  const auto minutes = hasHours
                           ? wholeNumber(text.substr(colon + 1, lastColon - colon - 1), 0, kPerMinute - 1)
                           : wholeNumber(text.substr(0, colon), 0, kMostHours * kPerMinute);
  const auto whole = wholeNumber(seconds.substr(0, point), 0, kPerMinute - 1);
  const std::string_view decimals = seconds.substr(point);
  const bool isDecimal = decimals.find_first_not_of("0123456789", 1) == std::string_view::npos;
  if (!hours || !minutes || !whole || !isDecimal) return {};
  return finiteNumber(std::to_string(*hours * kPerHour + *minutes * kPerMinute + *whole) +
                      std::string(decimals));
}

std::string shortest(double number) {
  char text[32];
  return std::string(text, std::to_chars(text, text + sizeof text, number).ptr);
}

std::string withSign(double number) {
  std::string text = number > 0.0 ? "+" : "";
  return text += shortest(number);
}

std::string counted(std::int64_t count, const char* one, const char* several) {
  return std::to_string(count) + " " + (count == 1 ? one : several);
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
