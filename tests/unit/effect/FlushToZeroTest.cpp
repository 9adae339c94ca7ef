// The floating-point control word inside a block and after it, and what it does to tiny numbers.
#include "dsp/FlushToZero.h"
#include "ExposedTreadshift.h"
#include "tests/support/ControlWord.h"
#include "tests/unit/dsp/Bits.h"

#include <cmath>
#include <doctest/doctest.h>
#include <limits>

namespace {

constexpr double kTiniest = std::numeric_limits<double>::denorm_min();
constexpr double kLeastNormal = std::numeric_limits<double>::min();

// Sets the word for a scope.
class ScopedWord {
public:
  explicit ScopedWord(unsigned bits) : before(word::read()) { word::write(bits); }
  ~ScopedWord() { word::write(before); }

private:
  unsigned before;
};

constexpr unsigned kHostWords[] = {word::kDefault,
                                   word::kDefault | word::kFlush,
                                   word::kDefault | word::kTinyOperandsAreZero,
                                   word::kDefault | word::kOneRaised,
                                   word::kDefault | word::kRounding,
                                   word::kDefault | word::kTinyOperandsAreZero | word::kRounding};

bool isDenormal(double x) { return x != 0.0 && std::fabs(x) < kLeastNormal; }

} // namespace

TEST_CASE("the guard sets the flush bit alone and puts the whole word back") {
  for (const unsigned bits : kHostWords) {
    CAPTURE(bits);
    const ScopedWord host(bits);
    unsigned inside;
    {
      const FlushToZero flush;
      inside = word::read();
      word::write(word::kDefault);
    }
    const unsigned after = word::read();
    CHECK(inside == (bits | word::kFlush));
    CHECK(after == bits);
  }
}

TEST_CASE("a block flushes, rounds as its host does, and hands the host's word back whole") {
  const auto run = [](unsigned bits, unsigned& after) {
    ExposedTreadshift e(44100.0f, 1.0f, 0.8f, 0.5f, 0.3f);
    e.block(testSound(3000));
    e.setParameter(kPedalPos, 0.9f);
    std::vector<double> sound = testSound(500);
    double* channels[] = {sound.data()};
    const ScopedWord host(bits);
    e.processDoubleReplacing(channels, channels, 500);
    after = word::read();
    return sound;
  };
  unsigned after;
  const std::vector<double> nearest = run(word::kDefault, after);
  for (const unsigned bits : kHostWords) {
    CAPTURE(bits);
    const std::vector<double> sound = run(bits, after);
    CHECK(after == bits);
    const bool roundsToNearest = (bits & word::kRounding) == 0;
    CHECK((differences(sound.data(), nearest.data(), 500) == 0) == roundsToNearest);

    ExposedTreadshift off(44100.0f, 0.0f, 0.8f, 0.5f, 0.3f);
    double tiny = 1e-310;
    double* channels[] = {&tiny};
    {
      const ScopedWord host(bits);
      off.processDoubleReplacing(channels, channels, 1);
    }
    CHECK(bitsOf(tiny) == bitsOf(0.0));
  }
}

// Silence keeps its sign on the direct path, and so does what is flushed to it, however the host rounds.
TEST_CASE("off keeps the sign of zeros in every rounding mode") {
  const std::vector<double> input = {0.0, -0.0, 1e-310, -1e-310, kTiniest, -kTiniest, 0.25, -0.25};
  const std::vector<double> expected = {0.0, -0.0, 0.0, -0.0, 0.0, -0.0, 0.25, -0.25};
  for (unsigned mode = 0; mode < 4; ++mode) {
    CAPTURE(mode);
    ExposedTreadshift e(44100.0f, 0.0f, 0.8f, 0.5f, 0.0f);
    e.block(input); // the first one fades nothing
    std::vector<double> sound = input;
    double* channels[] = {sound.data()};
    {
      const ScopedWord host(word::kDefault | mode * (word::kRounding / 3));
      e.processDoubleReplacing(channels, channels, static_cast<int>(sound.size()));
    }
    for (std::size_t i = 0; i < sound.size(); ++i)
      CHECK(bitsOf(sound[i]) == bitsOf(expected[i]));
  }
}

TEST_CASE("off clears denormal input and keeps everything else, signs included") {
  ExposedTreadshift e(44100.0f, 0.0f, 0.8f, 0.5f, 0.0f);
  const std::vector<double> input = {kTiniest,      -kTiniest, 1e-310, -1e-310, kLeastNormal,
                                     -kLeastNormal, 0.0,       -0.0,   1.0,     1e308};
  const std::vector<double> expected = {0.0,           -0.0, 0.0,  -0.0, kLeastNormal,
                                        -kLeastNormal, 0.0,  -0.0, 1.0,  1e308};
  const std::vector<double> output = e.block(input);
  CHECK(differences(output.data(), expected.data(), 10) == 0);
}

TEST_CASE("on clears denormal input on the dry path") {
  ExposedTreadshift e(44100.0f, 1.0f, 0.8f, kDryOnlyColor, kDryOnlyPedal);
  for (double x : {kTiniest, -1e-310})
    CHECK(e.sample(x) == 0.0);
}

TEST_CASE("tails end in zeros: no state is ever denormal") {
  ExposedTreadshift e(8000.0f, 1.0f, 0.8f, colorOfRow(4), 0.0f);
  e.block(testSound(2000));
  const std::vector<double> silence(500, 0.0);
  for (int block = 0; block < 200; ++block) { // 12 s; the delay line forgets in 2
    for (double y : e.block(silence))
      CHECK(!isDenormal(y));
    CHECK(!isDenormal(e.shiftFilter->state1));
    CHECK(!isDenormal(e.toneLowState));
    CHECK(!isDenormal(e.toneHighState));
  }
  CHECK(e.toneLowState == 0.0);
  CHECK(e.shiftFilter->state1 == 0.0);
}

TEST_CASE("the pedal smoother comes down to exactly 0") {
  ExposedTreadshift e(8000.0f, 1.0f, 0.8f, colorOfRow(4), 0.01f);
  e.block(testSound(100));
  e.setParameter(kPedalPos, 0.0f);
  int block = 0;
  for (; block < 20000 && e.lastSmoothedPedal != 0.0; ++block) {
    e.block(testSound(16));
    CHECK(!isDenormal(e.pedalSmoother->state1));
  }
  CHECK(e.lastSmoothedPedal == 0.0);
}
