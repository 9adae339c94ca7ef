#include "Page.h"

#include "tests/support/Pattern.h"

#include <cctype>
#include <sstream>

namespace {

using Names = std::vector<std::string>;

// Takes every match out of the text and gives the first group of each.
Names takeAll(std::string& text, const Pattern& pattern) {
  Names all;
  std::string rest;
  std::size_t done = 0;
  for (auto match = pattern.find(text); match; match = pattern.find(text, done)) {
    all.push_back(match->groups[1]);
    rest += text.substr(done, match->begin - done) + ' ';
    done = match->end;
  }
  text = rest + text.substr(done);
  return all;
}

// Every stretch of blanks as a single one: lines of a list are indented.
std::string withSingleBlanks(const std::string& text) {
  std::string single;
  for (const char character : text) {
    const bool isBlank = std::isspace(static_cast<unsigned char>(character)) != 0;
    if (!isBlank || !single.ends_with(' ')) single += isBlank ? ' ' : character;
  }
  return single;
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

const std::string kMarkStart = "<!-- ", kMarkEnd = " -->", kEndOf = "end of ";

bool isMark(const std::string& line) { return line.starts_with(kMarkStart) && line.ends_with(kMarkEnd); }
std::string nameOf(const std::string& mark) {
  return mark.substr(kMarkStart.size(), mark.size() - kMarkStart.size() - kMarkEnd.size());
}

bool namesTests(const std::string& head) {
  static const Pattern column("\\| *Tests? *\\|");
  return column.find(head).has_value();
}

} // namespace

Page::Page(const std::string& text) {
  std::istringstream stream(text);
  std::string paragraph;
  bool inFence = false, inCode = false, afterBlank = true, inTestedTable = false, inBlock = false;
  const auto endParagraph = [&] {
    takeProse(paragraph);
    paragraph.clear();
  };
  for (std::string line; std::getline(stream, line);) {
    if (isMark(line)) {
      endParagraph();
      inBlock = !nameOf(line).starts_with(kEndOf);
      if (inBlock) blocks.push_back({nameOf(line), {}});
      continue;
    }
    if (inBlock) {
      blocks.back().text += line + '\n';
      continue;
    }
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
  static const Pattern span("`([^`]+)`"), link(R"(\]\(([^) ]+)\))"), bold(R"(\*\*([^*]+)\*\*)"),
      italics(R"(\*([^* ][^*]*)\*)");
  text = withSingleBlanks(text);
  append(spans, takeAll(text, span));
  append(links, takeAll(text, link));
  const Names stressed = takeAll(text, bold);
  const Names named = takeAll(text, italics);
  for (const std::string& words : stressed)
    text += ' ' + words;
  passages.push_back({text, named});
  append(tests, named);
  if (!row.empty()) testedRows.push_back({row, named});
}
