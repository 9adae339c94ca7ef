// What a sample costs, from the page of the benchmarks.
#pragma once

#include <string>

// A place of the quality sheet and the row that its number comes from.
struct QuotedCost {
  const char* place;
  const char* row;
};
inline constexpr QuotedCost kQuotedCosts[] = {{"own ns", "engine rest 256"},
                                              {"own moving ns", "engine moving 256"},
                                              {"r2 ns", "rubberband R2"},
                                              {"r3 ns", "rubberband R3"}};

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
