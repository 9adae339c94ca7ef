// Where a share of some values lies.
#pragma once

#include <vector>

// The value below which a share (0..1) of `values` lies, by the nearest rank; 0 when there are none.
// 0 is the least, 1 the greatest. Orders its own copy. [allocates]
double percentile(std::vector<double> values, double share);

// The end that hurts, in the unit of the values.
struct Spread {
  double p50, p99, p999, worst;
};

Spread spreadOf(const std::vector<double>& values); // [allocates]
