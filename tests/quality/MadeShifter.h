// Shifters whose every property is known, because a test made them up.
#pragma once

#include "quality/Shifter.h"

#include <functional>

// Answers by a formula: the output at a sample, given all input so far, the pedal, and the sample's number.
class MadeShifter : public Shifter {
public:
  using Formula = std::function<double(const Sound& past, double pedal, int sample)>;

  explicit MadeShifter(Formula answer) : formula(std::move(answer)) {}

  void setPedal(double position) override { pedal = position; }

protected:
  void process(const double* input, double* output, int samples) override {
    for (int n = 0; n < samples; ++n) {
      past.push_back(input[n]);
      output[n] = formula(past, pedal, static_cast<int>(past.size()) - 1);
    }
  }

private:
  Formula formula;
  Sound past;
  double pedal = 0.0;
};

inline MakeShifter made(MadeShifter::Formula formula) {
  return [formula] { return std::make_unique<MadeShifter>(formula); };
}

// What the input was `samples` ago, by linear interpolation; 0 before the start.
inline double ago(const Sound& past, int sample, double samples) {
  const double place = sample - samples;
  const auto before = static_cast<int>(place >= 0.0 ? place : place - 1.0);
  const double share = place - before;
  const auto at = [&](int n) { return n < 0 || n > sample ? 0.0 : past[n]; };
  return at(before) * (1.0 - share) + at(before + 1) * share;
}
