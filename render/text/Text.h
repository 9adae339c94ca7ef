// Small readings of text that the options and their files share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Without the blanks and tabs at both ends. Allocates nothing.
std::string_view trimmed(std::string_view text);

// Whether it is an ASCII letter. Allocates nothing.
bool isLetter(char character);

// ASCII letters made small. Allocates.
std::string lowerCase(std::string_view text);

// ASCII letters made capitals. Allocates.
std::string upperCase(std::string_view text);

// The whole text as a finite number with a decimal point; nothing when it is anything else. "-0" becomes 0.
// Allocates nothing.
std::optional<double> finiteNumber(std::string_view text);

// The whole text as a whole number from lowest to highest, or nothing. Allocates nothing.
std::optional<int> wholeNumber(std::string_view text, int lowest, int highest);

// A time as seconds, mm:ss or hh:mm:ss, 0 or more; only the seconds may have a fraction, and each part
// behind a colon is below 60. Nothing when the text is anything else. Allocates.
std::optional<double> clockSeconds(std::string_view text);

// The fewest digits that read back as the same number. Allocates.
std::string shortest(double number);

// The same with a plus before a number above 0. Allocates.
std::string withSign(double number);

// "1 loop" or "3 loops". Allocates.
std::string counted(std::int64_t count, const char* one, const char* several);

// As much of a text as a message can show in one line. Allocates.
std::string excerpt(std::string_view text);

// Walks through the lines of a text. A line may end in LF or CR LF; a byte order mark before the first is
// skipped. The text must outlive the walk. Allocates nothing.
class Lines {
public:
  explicit Lines(std::string_view text);

  // Moves to the next line; false when there is none.
  bool next();

  std::string_view line() const { return current; } // without blanks at both ends
  std::size_t number() const { return count; }      // from 1

private:
  std::string_view rest;
  std::string_view current;
  std::size_t count = 0;
};
