#include "render/course/CsvFields.h"

#include "render/text/Text.h"

#include <algorithm>
#include <cctype>

namespace {

constexpr char kQuote = '"';
constexpr std::string_view kBlanks = " \t";

// Not within a note's name, such as C#4.
bool beginsComment(std::string_view text, std::size_t place) {
  return text[place] == '#' && (place == 0 || std::isalpha(static_cast<unsigned char>(text[place - 1])) == 0);
}

// Takes the fields of one line from the front.
class FieldReader {
public:
  FieldReader(std::string_view line, char separatorOfText, const TextPlace& placeOfLine)
      : rest(line), separator(separatorOfText), place(placeOfLine) {}

  std::vector<std::string> read() {
    std::vector<std::string> fields = {next()};
    while (!rest.empty() && rest.front() == separator) {
      rest.remove_prefix(1);
      fields.push_back(next());
    }
    const auto isEmpty = [](const std::string& field) { return field.empty(); };
    if (std::all_of(fields.begin(), fields.end(), isEmpty)) fields.clear();
    return fields;
  }

private:
  std::string next() {
    skipBlanks();
    return !rest.empty() && rest.front() == kQuote ? takeQuoted() : std::string(trimmed(takePlain()));
  }

  void skipBlanks() {
    while (!rest.empty() && rest.front() != separator && kBlanks.find(rest.front()) != std::string_view::npos)
      rest.remove_prefix(1);
  }

  // Up to a separator or a comment, which ends the line.
  std::string_view takePlain() {
    std::size_t length = 0;
    while (length < rest.size() && rest[length] != separator && !beginsComment(rest, length))
      ++length;
    const std::string_view taken = rest.substr(0, length);
    rest.remove_prefix(length);
    if (!rest.empty() && rest.front() == '#') rest = {};
    return taken;
  }

  std::string takeQuoted() {
    std::string field;
    for (bool isClosed = false; !isClosed;) {
      const auto end = rest.find(kQuote, 1);
      if (end == std::string_view::npos)
        failAt(place, "a quote that is not closed in this line", "close it, or take line breaks out of it");
      field += rest.substr(1, end - 1);
      rest.remove_prefix(end + 1);
      isClosed = rest.empty() || rest.front() != kQuote;
      if (!isClosed) field += kQuote;
    }
    if (!trimmed(takePlain()).empty())
      failAt(place, "text behind a closed quote", "double the quotes within a field");
    return std::string(trimmed(field));
  }

  std::string_view rest;
  char separator;
  const TextPlace& place;
};

// The line without its quoted fields and its comment.
std::string bare(std::string_view line) {
  std::string text;
  bool isQuoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char character = line[i];
    if (beginsComment(line, i) && !isQuoted) break;
    if (character == kQuote) isQuoted = !isQuoted;
    if (character != kQuote && !isQuoted) text += character;
  }
  return text;
}

bool isBesideComma(const std::string& text, std::size_t tab) {
  const auto before = text.find_last_not_of(kBlanks, tab);
  const auto after = text.find_first_not_of(kBlanks, tab);
  return (before != std::string::npos && text[before] == ',') ||
         (after != std::string::npos && text[after] == ',');
}

} // namespace

char csvSeparator(std::string_view line) {
  const std::string text = bare(line);
  if (text.find(';') != std::string::npos) return ';';
  const auto tab = text.find('\t');
  return tab != std::string::npos && !isBesideComma(text, tab) ? '\t' : ',';
}

std::vector<std::string> csvFields(std::string_view line, char separator, const TextPlace& place) {
  return FieldReader(line, separator, place).read();
}
