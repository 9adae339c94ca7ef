// Drives two pedals alike and compares what they write, bit for bit.
#pragma once

#include "Pedal.h"

#include <deque>
#include <optional>
#include <string>
#include <vector>

// Equal bits; any not-a-number equals any other, whatever its sign and payload.
bool sameSample(double a, double b);

// The first place at which two pedals part.
struct Difference {
  std::string where;   // "output", "behind the block" or "input"
  std::int64_t sample; // counted from the pair's first sample
  std::int64_t block;  // counted from the pair's first block
  int index;           // of the sample in its block
  double expected;     // for the input: what it was before the block
  double actual;
  std::string lastActions; // what was done to both just before
};

std::string describe(const Difference& difference);

class PedalPair {
public:
  // believed sets the standard for underTest; both must be new and outlive the pair.
  PedalPair(Pedal& believed, Pedal& underTest) : expected(believed), actual(underTest) {}

  void setSampleRate(float rateHz);
  void setBlockSize(int samples);
  void resume();
  void suspend();
  void setParameter(int index, float value);
  void selectProgram(int number);
  void loadProgram(int number);

  // Runs one block of n samples (input holds them; none are needed below 1) and compares. Samples behind
  // the block must stay as they are, and so must the input unless it is the output too.
  void process(const std::vector<double>& input, int n, bool inPlace);

  std::int64_t samples() const { return samplesCompared; }
  // The first difference; blocks after it are not run any more.
  const std::optional<Difference>& difference() const { return firstDifference; }

private:
  void note(const std::string& action);
  void compare(const std::string& where, const std::vector<double>& wanted, const std::vector<double>& got);

  Pedal& expected;
  Pedal& actual;
  std::int64_t samplesCompared = 0;
  std::int64_t blocks = 0;
  std::deque<std::string> lastActions;
  std::optional<Difference> firstDifference;
};
