#include "quality/Quantile.h"

#include <algorithm>
#include <cmath>

double quantile(std::vector<double> values, double share) {
  const auto place = std::lround(share * static_cast<double>(values.size() - 1));
  const auto found = values.begin() + place;
  std::nth_element(values.begin(), found, values.end());
  return *found;
}
