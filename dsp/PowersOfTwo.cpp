#include "dsp/PowersOfTwo.h"

#include "dsp/ExactArithmetic.h"

#include <cmath>

#if defined(__GLIBC__) && (defined(__i386__) || defined(__x86_64__))
#define TREADSHIFT_QUICK_POWERS
#include "dsp/ControlWord.h"

#include <algorithm>
#include <array>
#include <emmintrin.h>
#endif

namespace treadshift {

namespace {

#ifdef TREADSHIFT_QUICK_POWERS
constexpr int32_t kSteps = 128; // to an octave
constexpr int32_t kStepBits = 7;
constexpr double kWidest = 8.0; // octaves

// Own error 2^-59 and that of glibc's pow, which in this range is 0.511 of the last place, so 0.011 beyond
// rounding; a third in reserve. As a part of the numbers from 1 to 2.
constexpr double kUnsure = 0x1p-57;

// A number as the sum of two doubles that do not overlap, about 106 bits (Dekker, A floating-point technique
// for extending the available precision, Numerische Mathematik 18, 1971).
struct Parts {
  double high, low;
};

// a + b, where a is not the smaller one.
constexpr Parts sum(double a, double b) {
  const double high = a + b;
  return {high, b - (high - a)};
}

constexpr Parts product(double a, double b) {
  constexpr double kSplitter = 0x1p27 + 1.0;
  const double a1 = kSplitter * a - (kSplitter * a - a), a2 = a - a1;
  const double b1 = kSplitter * b - (kSplitter * b - b), b2 = b - b1;
  const double high = a * b;
  return {high, ((a1 * b1 - high) + a1 * b2 + a2 * b1) + a2 * b2};
}

constexpr Parts product(Parts a, Parts b) {
  const Parts highest = product(a.high, b.high);
  return sum(highest.high, highest.low + (a.high * b.low + a.low * b.high));
}

// a: 1..2. Newton's iteration in doubles, its last step in parts.
constexpr Parts squareRoot(Parts a) {
  double root = 1.0;
  for (int k = 0; k < 8; ++k)
    root = 0.5 * (root + a.high / root);
  const Parts square = product(root, root);
  return sum(root, ((a.high - square.high) - square.low + a.low) / (2.0 * root));
}

constexpr std::array<Parts, kSteps> makeSteps() {
  Parts step{2.0, 0.0};
  for (int32_t k = 0; k < kStepBits; ++k)
    step = squareRoot(step);
  std::array<Parts, kSteps> powers{{{1.0, 0.0}}};
  for (int32_t j = 1; j < kSteps; ++j)
    powers[j] = product(powers[j - 1], step);
  return powers;
}

// 2^(j/128)
constexpr std::array<Parts, kSteps> kStepPowers = makeSteps();

// 2^x - 1 by Taylor's series, whose coefficient k is ln(2)^k / k!. x: half a step at most.
double smallPower(double x) {
  return x *
         (0x1.62e42fefa39efp-1 +
          x * (0x1.ebfbdff82c58fp-3 +
               x * (0x1.c6b08d704a0c0p-5 +
                    x * (0x1.3b2ab6fba4e77p-7 + x * (0x1.5d87fe78a6731p-10 + x * 0x1.430912f86c787p-13)))));
}

// In a vector register, because 32 bits would put the number together from halves and wait for them.
double wholePower(int32_t octaves) {
  constexpr int kBias = 1023, kMantissaBits = 52;
  const __m128i exponent = _mm_cvtsi32_si128(octaves + kBias);
  return _mm_cvtsd_f64(_mm_castsi128_pd(_mm_slli_epi64(exponent, kMantissaBits)));
}

struct Guess {
  double power;
  bool isSure; // pow has the same bits
};

Guess guessPower(double x) {
  constexpr double kToSteps = 0x1.8p45; // a sum with it ends in whole steps
  const double inSteps = x + kToSteps;
  const int32_t count = _mm_cvtsi128_si32(_mm_castpd_si128(_mm_set_sd(inSteps)));
  const Parts& step = kStepPowers[static_cast<uint32_t>(count) % kSteps];
  const double low = step.low + step.high * smallPower(x - (inSteps - kToSteps));
  const double above = step.high + (low + kUnsure);
  const double below = step.high + (low - kUnsure);
  const bool isSure = (above == below) & (std::fabs(x) <= kWidest);
  return {above * wholePower(count >> kStepBits), isSure};
}

constexpr int32_t kGroup = 64;

// At most kGroup numbers. Those to ask pow for are collected first: as a branch, taken one time in sixteen,
// the question would keep the processor from working on several powers at once.
void powersOfGroup(double* numbers, int32_t count) {
  double exponents[kGroup];
  int32_t unsure[kGroup];
  int32_t asked = 0;
  for (int32_t i = 0; i < count; ++i) {
    exponents[i] = numbers[i];
    const Guess guess = guessPower(numbers[i]);
    numbers[i] = guess.power;
    unsure[asked] = i;
    asked += !guess.isSure;
  }
  for (int32_t k = 0; k < asked; ++k)
    numbers[unsure[k]] = std::pow(2.0, exponents[unsure[k]]);
}

// True when the calling thread rounds to nearest, in all the digits that pow needs.
bool roundsToNearest() {
  constexpr unsigned kRounding = 0x6000; // of MXCSR: 0 is to nearest
  bool isUsual = (controlWord() & kRounding) == 0;
#ifdef __i386__
  // Here pow computes in the older registers, which have a word of their own.
  constexpr unsigned kRoundingAndDoubles = 0xE00, kNearestInDoubles = 0x200;
  unsigned short word;
  asm volatile("fnstcw %0" : "=m"(word));
  isUsual = isUsual && (word & kRoundingAndDoubles) == kNearestInDoubles;
#endif
  return isUsual;
}

#endif

void askPow(double* numbers, int32_t count) {
  for (int32_t i = 0; i < count; ++i)
    numbers[i] = std::pow(2.0, numbers[i]);
}

} // namespace

void powersOfTwo(double* numbers, int32_t count) noexcept {
#ifdef TREADSHIFT_QUICK_POWERS
  if (roundsToNearest()) {
    for (int32_t i = 0; i < count; i += kGroup)
      powersOfGroup(numbers + i, std::min(count - i, kGroup));
    return;
  }
#endif
  askPow(numbers, count);
}

} // namespace treadshift
