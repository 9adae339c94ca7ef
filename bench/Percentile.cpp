#include "bench/Percentile.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

double percentile(std::vector<double> values, double share) {
  if (values.empty()) return 0.0;
  const auto rank = static_cast<std::ptrdiff_t>(std::lround(share * static_cast<double>(values.size() - 1)));
  std::nth_element(values.begin(), values.begin() + rank, values.end());
  return values[static_cast<std::size_t>(rank)];
}

Spread spreadOf(const std::vector<double>& values) {
  return {percentile(values, 0.5), percentile(values, 0.99), percentile(values, 0.999),
          percentile(values, 1.0)};
}
