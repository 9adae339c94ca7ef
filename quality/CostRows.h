// What a sample costs, from the page of the benchmarks.
#pragma once

#include <string>

class CostRows {
public:
  // page: the text of docs/performance.md. Allocates.
  explicit CostRows(std::string page);

  // The first number of the row that begins with these words, the spaces between them in any number: ns per
  // sample. Throws std::runtime_error when there is none. Allocates.
  double nsOf(const std::string& row) const;

private:
  std::string page;
};
