// A table of the page.
#pragma once

#include <string>
#include <vector>

class Table {
public:
  // The first column holds text and stands left, the others hold numbers and stand right. Allocates.
  explicit Table(std::vector<std::string> headings);

  // cells: as many as there are headings. Allocates.
  void add(std::vector<std::string> cells);

  // As Markdown, without a line break at its end. Allocates.
  std::string text() const;

  // Its first two lines. Allocates.
  std::string head() const;

private:
  std::vector<std::string> headings;
  std::vector<std::vector<std::string>> rows;
};

// A number with so many places after the point; a rounded zero has no sign. Allocates.
std::string decimal(double value, int places);

// The same with its sign; zero has none. Allocates.
std::string signedDecimal(double value, int places);

// What stands where there is nothing to measure.
inline const std::string kNothing = "–";
