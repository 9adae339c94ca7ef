// Random numbers that are the same with every compiler and width: the engine's sequence is fixed by the
// language, and everything made of it is made here by hand, since the library's distributions are not fixed.
// Two draws never stand in one expression, where their order would be the compiler's choice.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <random>

class Random {
public:
  explicit Random(std::uint64_t seed) : engine(seed) {}

  // 0 .. limit - 1; the remainder's slight bias towards small numbers does not matter here.
  int below(int limit) { return static_cast<int>(engine() % static_cast<std::uint64_t>(limit)); }
  // 0 <= x < 1, 53 random bits.
  double unit() { return static_cast<double>(engine() >> 11) * 0x1p-53; }
  bool chance(int percent) { return below(100) < percent; }

  template <typename T> T pick(std::initializer_list<T> choices) {
    return choices.begin()[below(static_cast<int>(choices.size()))];
  }

  // 1 .. 2^octaves - 1, every octave equally often.
  int octaveUniform(int octaves) {
    const int lowest = 1 << below(octaves);
    return lowest + below(lowest);
  }

private:
  std::mt19937_64 engine;
};
