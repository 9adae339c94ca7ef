#include "Page.h"

#include <algorithm>
#include <cctype>
#include <regex>
#include <sstream>

namespace {

using Names = std::vector<std::string>;

// Takes every match out of the text and gives the first group of each.
Names takeAll(std::string& text, const std::regex& pattern) {
  Names all;
  for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match)
    all.push_back((*match)[1]);
  text = std::regex_replace(text, pattern, " ");
  return all;
}

void append(Names& names, const Names& more) { names.insert(names.end(), more.begin(), more.end()); }

// "What is where" is reached as what-is-where.
std::string fragmentOf(const std::string& heading) {
  std::string name;
  for (const char character : heading) {
    if (std::isalnum(static_cast<unsigned char>(character)) || character == '-' || character == '_')
      name += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    else if (character == ' ')
      name += '-';
  }
  return name;
}

bool isRow(const std::string& line) { return !line.empty() && line[0] == '|'; }
bool isRule(const std::string& line) { return line.find_first_not_of("|-: ") == std::string::npos; }
bool isIndented(const std::string& line) { return line.compare(0, 4, "    ") == 0; }
bool isFence(const std::string& line) { return line.compare(0, 3, "```") == 0; }

bool namesTests(const std::string& head) { return std::regex_search(head, std::regex("\\| *Tests? *\\|")); }

} // namespace

Page::Page(const std::string& text) {
  std::istringstream stream(text);
  std::string paragraph;
  bool inFence = false, inCode = false, afterBlank = true, inTestedTable = false;
  const auto endParagraph = [&] {
    takeProse(paragraph);
    paragraph.clear();
  };
  for (std::string line; std::getline(stream, line);) {
    if (isFence(line)) {
      endParagraph();
      inFence = !inFence;
      if (inFence) fences.push_back({line.substr(3), {}});
      continue;
    }
    if (inFence) {
      fences.back().text += line + '\n';
      code.push_back(line);
      continue;
    }
    inCode = isIndented(line) && (inCode || afterBlank);
    afterBlank = line.empty();
    if (inCode) {
      code.push_back(line);
    } else if (isRow(line)) {
      if (isRule(line)) continue;
      if (namesTests(line))
        inTestedTable = true;
      else
        takeProse(line, inTestedTable ? line : "");
    } else {
      inTestedTable = false;
      if (line.compare(0, 1, "#") == 0) headings.push_back(fragmentOf(line.substr(line.find(' ') + 1)));
      paragraph += line + ' ';
      if (line.empty()) endParagraph();
    }
  }
  endParagraph();
}

void Page::takeProse(std::string text, const std::string& row) {
  text = std::regex_replace(text, std::regex("\\s+"), " "); // lines of a list are indented
  append(spans, takeAll(text, std::regex("`([^`]+)`")));
  append(links, takeAll(text, std::regex("\\]\\(([^)\\s]+)\\)")));
  takeAll(text, std::regex("\\*\\*([^*]+)\\*\\*"));
  const Names named = takeAll(text, std::regex("\\*([^*\\s][^*]*)\\*"));
  append(tests, named);
  if (!row.empty()) testedRows.push_back({row, named});
}
