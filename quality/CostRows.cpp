#include "quality/CostRows.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace {

std::vector<std::string> wordsOf(const std::string& line) {
  std::istringstream stream(line);
  std::vector<std::string> words;
  for (std::string word; stream >> word;)
    words.push_back(word);
  return words;
}

// The word after `start` as a number; below 0 when the line does not begin so or goes on with something else.
double numberAfter(const std::vector<std::string>& start, const std::vector<std::string>& words) {
  if (words.size() <= start.size() || !std::equal(start.begin(), start.end(), words.begin())) return -1.0;
  std::istringstream stream(words[start.size()]);
  double number = 0.0;
  return stream >> number && stream.eof() ? number : -1.0;
}

} // namespace

CostRows::CostRows(std::string text) : page(std::move(text)) {}

double CostRows::nsOf(const std::string& row) const {
  const std::vector<std::string> start = wordsOf(row);
  std::istringstream stream(page);
  for (std::string line; std::getline(stream, line);)
    if (const double ns = numberAfter(start, wordsOf(line)); ns >= 0.0) return ns;
  throw std::runtime_error("the page of the benchmarks has no row '" + row + "'");
}
