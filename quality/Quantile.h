// Order statistics.
#pragma once

#include <vector>

// The value below which a share of all lies: the one at share * (count - 1), rounded to the nearest. share:
// 0..1. values: one or more, no NaN. Allocates.
double quantile(std::vector<double> values, double share);
