// A Markdown page, taken apart into what can be checked.
#pragma once

#include <string>
#include <vector>

struct Page {
  // A row of a table whose head has a column "Test" or "Tests".
  struct Row {
    std::string text;
    std::vector<std::string> tests;
  };

  // A fenced block.
  struct Fence {
    std::string language;
    std::string text; // its lines, each with its end
  };

  // What a script writes between the lines <!-- NAME --> and <!-- end of NAME -->.
  struct Block {
    std::string name;
    std::string text; // its lines, each with its end
  };

  struct Passage {
    std::string text;               // on one line, without code, targets of links and names of tests
    std::vector<std::string> tests; // that it names
  };

  explicit Page(const std::string& text);

  std::vector<std::string> tests;    // names in italics, which are tests' in these pages
  std::vector<std::string> spans;    // code within a line
  std::vector<std::string> code;     // lines of code blocks, fenced or indented
  std::vector<std::string> links;    // targets, those of pictures as well
  std::vector<std::string> headings; // as a link's fragment names them
  std::vector<Fence> fences;
  std::vector<Block> blocks;
  std::vector<Passage> passages; // paragraphs, headings and rows outside of blocks
  std::vector<Row> testedRows;

private:
  void takeProse(std::string text, const std::string& row = {});
};
