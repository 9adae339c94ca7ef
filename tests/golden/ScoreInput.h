// The input of a golden performance: noise and a plucked string, made of integer arithmetic and single
// additions and multiplications, so that every machine makes the same bits.
#pragma once

#include "Score.h"

#include <cstddef>
#include <cstdint>
#include <vector>

class ScoreInput {
public:
  // Silence.
  ScoreInput() = default;
  // What an `input` step asks for.
  explicit ScoreInput(const ScoreStep& step);

  // The next sample, -0.5 to 0.5.
  double next();

private:
  // 53 bits of a linear congruential generator modulo 2^64 (D. Knuth's multiplier for MMIX).
  double noise();
  // A delay line that averages neighbours (K. Karplus, A. Strong, Computer Music Journal 7(2), 1983).
  double pluck();

  bool noisy = false;
  uint64_t state = 0;
  std::vector<double> string; // one period of the pluck, else empty
  std::size_t place = 0;
};
