#include "render/command/HelpFormatter.h"

#include <sstream>

namespace {

constexpr std::size_t kLineColumns = 80;

// The text from a column on, broken between words.
std::string wrapped(const std::string& text, std::size_t column) {
  std::istringstream words(text);
  std::string result;
  std::size_t position = column;
  for (std::string word; words >> word;) {
    const bool isFirst = position == column;
    if (!isFirst && position + 1 + word.size() > kLineColumns) {
      result += "\n" + std::string(column, ' ') + word;
      position = column + word.size();
    } else {
      result += (isFirst ? "" : " ") + word;
      position += word.size() + !isFirst;
    }
  }
  return result;
}

} // namespace

std::string HelpFormatter::make_usage(const CLI::App* app, std::string) const {
  return "Usage: treadshift-render [OPTION]... INPUT OUTPUT\n"
         "  or:  treadshift-render [OPTION]... INPUT... --out-dir DIR\n"
         "  or:  treadshift-render [OPTION]... INPUT --play\n\n" +
         app->get_description() + "\n";
}

// It stands below the usage.
std::string HelpFormatter::make_description(const CLI::App*) const { return ""; }

std::string HelpFormatter::make_group(std::string group, bool isPositional,
                                      std::vector<const CLI::Option*> options) const {
  std::string text = group + ":\n";
  for (const CLI::Option* option : options)
    text += make_option(option, isPositional);
  return text;
}

std::string HelpFormatter::make_option(const CLI::Option* option, bool isPositional) const {
  const std::string type = option->get_type_name();
  std::string left = "  " + (isPositional ? option->get_name(true) : option->get_name(false, true));
  const std::size_t comma = left.find(",--");
  if (comma != std::string::npos) left.replace(comma, 1, ", ");
  if (!type.empty() && !isPositional && option->get_items_expected_max() > 0) left += " " + type;
  const std::size_t column = get_column_width();
  const bool fits = left.size() + 2 <= column;
  return left + (fits ? std::string(column - left.size(), ' ') : "\n" + std::string(column, ' ')) +
         wrapped(option->get_description(), column) + "\n";
}
