// Powers of two against the library's pow, by bits.
#include "dsp/PowersOfTwo.h"

#include "tests/support/Bits.h"
#include "tests/support/ControlWord.h"

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <doctest/doctest.h>
#include <limits>
#include <random>
#include <vector>

namespace {

// The base comes from memory, lest a compiler write another function for it.
const volatile double kBase = 2.0;

std::vector<double> powersByPow(const std::vector<double>& exponents) {
  std::vector<double> powers;
  powers.reserve(exponents.size());
  for (const double x : exponents)
    powers.push_back(std::pow(kBase, x));
  return powers;
}

int wrongOnes(const std::vector<double>& exponents) {
  std::vector<double> powers = exponents;
  powersOfTwo(powers.data(), static_cast<int32_t>(powers.size()));
  return differences(powers.data(), powersByPow(exponents).data(), static_cast<int>(powers.size()));
}

std::vector<double> randomNumbers(unsigned seed, double widest, int count) {
  std::mt19937_64 engine(seed);
  std::uniform_real_distribution<double> any(-widest, widest);
  std::vector<double> numbers(static_cast<std::size_t>(count));
  std::generate(numbers.begin(), numbers.end(), [&] { return any(engine); });
  return numbers;
}

} // namespace

TEST_CASE("powers of two have the bits of pow") {
  for (unsigned seed = 1; seed <= 4; ++seed) {
    CAPTURE(seed);
    CHECK(wrongOnes(randomNumbers(seed, 2.0, 500000)) == 0); // what colours ask for
    CHECK(wrongOnes(randomNumbers(seed, 0.01, 200000)) == 0);
    CHECK(wrongOnes(randomNumbers(seed, 1e-15, 20000)) == 0);
    CHECK(wrongOnes(randomNumbers(seed, 10.0, 200000)) == 0);
    CHECK(wrongOnes(randomNumbers(seed, 1200.0, 20000)) == 0);
  }
}

TEST_CASE("powers of two have the bits of pow on steps and beside them") {
  std::vector<double> exponents;
  for (int step = -9 * 256; step <= 9 * 256; ++step) { // steps of the table and the middles between them
    const double x = step / 256.0;
    for (const double toward : {-100.0, 100.0})
      exponents.insert(exponents.end(), {x, std::nextafter(x, toward), x + toward * 1e-12});
  }
  for (int cents = -2400; cents <= 2400; ++cents)
    exponents.push_back(cents * (1.0 / 1200.0));
  CHECK(wrongOnes(exponents) == 0);
}

TEST_CASE("powers of two of numbers that are odd have the bits of pow") {
  using Limits = std::numeric_limits<double>;
  std::vector<double> exponents;
  for (const double x : {0.0, Limits::denorm_min(), Limits::min(), 8.0, std::nextafter(8.0, 9.0), 1023.5,
                         1024.0, 1074.0, 1075.5, 1e9, 0x1p45, 1e300, Limits::max(), Limits::infinity()})
    exponents.insert(exponents.end(), {x, -x});
  CHECK(wrongOnes(exponents) == 0);
  double notANumber = Limits::quiet_NaN();
  powersOfTwo(&notANumber, 1);
  CHECK(std::isnan(notANumber));
}

TEST_CASE("powers of two in any number, and none beyond") {
  const std::vector<double> exponents = randomNumbers(3, 2.0, 300);
  const std::vector<double> expected = powersByPow(exponents);
  for (int count = 0; count < 300; ++count) {
    CAPTURE(count);
    std::vector<double> powers = exponents;
    powersOfTwo(powers.data(), count);
    REQUIRE(differences(powers.data(), expected.data(), count) == 0);
    REQUIRE(differences(powers.data() + count, exponents.data() + count, 300 - count) == 0);
  }
  double untouched = 3.0;
  powersOfTwo(&untouched, -1);
  CHECK(untouched == 3.0);
}

TEST_CASE("powers of two round as the thread does") {
  for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
    CAPTURE(mode);
    std::fesetround(mode);
    const int wrong = wrongOnes(randomNumbers(5, 2.0, 50000));
    std::fesetround(FE_TONEAREST);
    CHECK(wrong == 0);
  }
  // And with a control word of the host's: of one kind of arithmetic alone, where there are two.
  for (const unsigned bits : {word::kFlush, word::kTinyOperandsAreZero, word::kRounding, word::kRoundUp}) {
    CAPTURE(bits);
    word::write(word::kDefault | bits);
    const int wrong = wrongOnes(randomNumbers(7, 2.0, 50000));
    word::write(word::kDefault);
    CHECK(wrong == 0);
  }
}

#ifdef __i386__
TEST_CASE("powers of two in a thread whose older registers keep fewer digits") {
  unsigned short saved;
  asm volatile("fnstcw %0" : "=m"(saved));
  for (const unsigned digitsAndRounding : {0x000U, 0x200U, 0x300U, 0x400U, 0xB00U}) {
    CAPTURE(digitsAndRounding);
    const auto other = static_cast<unsigned short>((saved & ~0xF00U) | digitsAndRounding);
    asm volatile("fldcw %0" : : "m"(other));
    const int wrong = wrongOnes(randomNumbers(9, 2.0, 50000));
    asm volatile("fldcw %0" : : "m"(saved));
    CHECK(wrong == 0);
  }
}
#endif
