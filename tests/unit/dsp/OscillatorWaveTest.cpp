// The waves: sample by sample against the plain oscillators, and where the numbers can be told by hand.
#include "Bits.h"
#include "FieldPlaces.h"
#include "OscillatorMaking.h"

#include <cmath>
#include <doctest/doctest.h>
#include <limits>
#include <set>

namespace {

constexpr double kRate = 44100.0; // Hz

struct Call {
  double rate, upper, lower;
  int samples;
};

// Glides up and down, one-sample and empty blocks, a standstill, and rates that overshoot the turns.
const std::vector<Call> kCalls = {
    {441.0, 0.1, 0.1, 64},  {882.0, 0.1, 0.1, 33},  {882.0, 0.37, 0.05, 100}, {100.0, 1.0, 1.0, 1},
    {5000.0, 0.1, 0.2, 1},  {5000.0, 0.1, 0.2, 2},  {0.0, 0.1, 0.1, 10},      {0.0, 0.1, 0.1, 5},
    {300.0, 0.1, 0.1, 0},   {300.0, 0.1, 0.1, 50},  {9000.0, 0.0, 0.3, 200},  {20000.0, 0.5, 0.5, 40},
    {13.7, 0.1, 0.1, 1000}, {2000.0, 0.1, 0.1, -3}, {2500.0, 0.1, 0.1, 64},   {44100.0, 0.1, 0.1, 9},
};

std::vector<double> run(lfoBase& lfo, const Call& call, int historyOffset = 0) {
  std::vector<double> out(std::max(call.samples, 0) + 1, 777.0);
  lfo.Excute(call.rate, call.upper, call.lower, call.samples, out.data(), historyOffset);
  CHECK(out.back() == 777.0); // nothing behind the block
  out.pop_back();
  return out;
}

void checkAgainstPlain(Wave wave, double smoothFreq, double startPhase) {
  CAPTURE(static_cast<int>(wave));
  CAPTURE(smoothFreq);
  CAPTURE(startPhase);
  const auto lfo = oscillator(wave, smoothFreq, startPhase, kRate);
  PlainOscillator plain(wave, smoothFreq, startPhase, kRate);
  for (int round = 0; round < 3; ++round) {
    for (const Call& call : kCalls) {
      CAPTURE(call.rate);
      CAPTURE(call.samples);
      const std::vector<double> expected = plain.block(call.rate, call.upper, call.lower, call.samples);
      const std::vector<double> actual = run(*lfo, call);
      REQUIRE(actual.size() == expected.size());
      CHECK(differences(actual.data(), expected.data(), static_cast<int>(actual.size())) == 0);
      CHECK(bitsOf(lfo->phase) == bitsOf(plain.phase));
      CHECK(lfo->falling == (plain.falling ? 1 : 0));
      CHECK(lfo->startPhase == startPhase);
    }
  }
}

bool glides(Wave wave) {
  return wave != Wave::triangle2 && wave != Wave::rectangular && wave != Wave::random;
}

// Samples of the phase at the start of each block of one, so that the phase walk is seen from outside.
std::vector<double> phaseWalk(lfoBase& lfo, double rate, int samples) {
  std::vector<double> walk;
  double out;
  lfo.Excute(rate, 0.1, 0.1, 0, &out, 0); // the glide starts at the rate itself
  for (int i = 0; i < samples; ++i) {
    walk.push_back(lfo.phase);
    lfo.Excute(rate, 0.1, 0.1, 1, &out, 0);
  }
  return walk;
}

} // namespace

TEST_CASE("every oscillator gives the bits of its rules, with and without smoothing") {
  for (Wave wave : kEveryWave)
    for (double smoothFreq : {0.0, -5.0, 40.0, 3000.0})
      for (double startPhase : {0.0, 0.3, 1.0})
        checkAgainstPlain(wave, smoothFreq, startPhase);
  for (double startPhase : {-1.0, -0.4})
    checkAgainstPlain(Wave::sine, 0.0, startPhase);
}

TEST_CASE("an oscillator starts with its arguments, silent, upward and unspent") {
  for (Wave wave : kEveryWave) {
    const auto lfo = oscillator(wave, 12.0, 0.25, 96000.0);
    CHECK(lfo->smoothFreq == 12.0);
    CHECK(lfo->startPhase == 0.25);
    CHECK(lfo->sampleRate == 96000.0);
    CHECK(lfo->phase == 0.25);
    CHECK(bitsOf(lfo->invSampleRate) == bitsOf(1.0 / 96000.0));
    CHECK(bitsOf(lfo->value) == bitsOf(0.0));
    CHECK(bitsOf(lfo->step) == bitsOf(0.0));
    CHECK(bitsOf(lfo->lastRate) == bitsOf(0.0));
    CHECK(lfo->falling == 0);
    CHECK(lfo->firstCall == 1);
  }
}

TEST_CASE("an oscillator's fields stand in order, the histories' bytes in front of the direction") {
  const auto lfo = oscillator(Wave::sine, 0.0, 0.0, kRate);
  const auto offset = [&](const void* field) {
    return static_cast<int>(static_cast<const char*>(field) - reinterpret_cast<const char*>(lfo.get()));
  };
  const int first = placeOfDouble(sizeof(void*)); // behind the table's address
  const double* const doubles[] = {&lfo->smoothFreq, &lfo->startPhase,    &lfo->sampleRate, &lfo->value,
                                   &lfo->step,       &lfo->invSampleRate, &lfo->lastRate};
  for (int i = 0; i < 7; ++i)
    CHECK(offset(doubles[i]) == first + 8 * i);
  CHECK(offset(&lfo->firstCall) == first + 56);
  const int phase = placeOfDouble(first + 60);
  CHECK(offset(&lfo->phase) == phase);
  CHECK(offset(lfo->phaseHistory) == phase + 8);
  CHECK(offset(lfo->directionHistory) == phase + 8 + 8 * 48000);
  CHECK(offset(&lfo->falling) == phase + 8 + 9 * 48000);
}

TEST_CASE("a triangle at depth 0.1 rises from 0 to 1 and falls back in rate-over-frequency samples") {
  const auto lfo = oscillator(Wave::triangle, 0.0, 0.0, 1024.0);
  const std::vector<double> out = run(*lfo, {32.0, 0.1, 0.1, 128}); // 32 samples per period, step 1/16
  for (int i = 0; i < 128; ++i) {
    const int inPeriod = i % 32;
    const double expected = (inPeriod <= 16 ? inPeriod : 32 - inPeriod) / 16.0;
    // 0.1 * 10.0 is exactly 1 in doubles, and sixteenths are exact: so is the triangle
    CHECK(bitsOf(out[i]) == bitsOf(expected));
  }
}

TEST_CASE("depth 0 gives the middle, a depth of 1 a steep flattened wave, each half by its own depth") {
  for (Wave wave : {Wave::triangle, Wave::sine, Wave::saw, Wave::reverseSaw})
    for (double value : run(*oscillator(wave, 0.0, 0.0, kRate), {441.0, 0.0, 0.0, 500}))
      CHECK(value == 0.5);
  for (Wave wave : {Wave::halfSine, Wave::triangle2})
    for (double value : run(*oscillator(wave, 0.0, 0.0, kRate), {441.0, 0.0, 0.0, 500}))
      CHECK(value == 0.0);
  for (Wave wave : {Wave::rectangular, Wave::random}) {
    const auto flat = run(*oscillator(wave, 0.0, 0.0, kRate), {441.0, 0.0, 0.0, 500});
    const auto deep = run(*oscillator(wave, 0.0, 0.0, kRate), {441.0, 1.0, 1.0, 500});
    CHECK(differences(flat.data(), deep.data(), 500) == 0);
    CHECK(std::set<double>(flat.begin(), flat.end()).size() > 1);
  }
  const auto lower = run(*oscillator(Wave::triangle, 0.0, 0.0, 1024.0), {32.0, 0.0, 1.0, 33});
  CHECK(lower[0] == 0.0);
  CHECK(lower[7] == 0.0); // b = -1/8 times ten is clipped
  CHECK(lower[8] == 0.5);
  CHECK(lower[16] == 0.5); // the upper half has depth 0
}

TEST_CASE("a constant rate gives the phase walk of each member: turn, wrap and the sample at the clamp") {
  // at 1024 Hz and rate 256 a plain step is 1/4, a doubled one 1/2
  const std::vector<double> triangle = {0, .5, 1, .5, 0, .5, 1};
  const std::vector<double> sine = {0, .5, 1, -1, -.5, 0, .5};
  const std::vector<double> rising = {0, .25, .5, .75, 1, 0, .25};
  const std::vector<double> falling = {1, .75, .5, .25, 0, 1, .75};
  CHECK(phaseWalk(*oscillator(Wave::triangle, 0, 0, 1024), 256, 7) == triangle);
  CHECK(phaseWalk(*oscillator(Wave::sine, 0, 0, 1024), 256, 7) == sine);
  for (Wave wave : {Wave::halfSine, Wave::saw})
    CHECK(phaseWalk(*oscillator(wave, 0, 0, 1024), 256, 7) == rising);
  for (Wave wave : {Wave::triangle2, Wave::rectangular, Wave::random})
    CHECK(phaseWalk(*oscillator(wave, 0, 0, 1024), 256, 7) == rising);
  CHECK(phaseWalk(*oscillator(Wave::reverseSaw, 0, 1, 1024), 256, 7) == falling);
}

TEST_CASE("a step past the end is clamped there, and only exactly 1 restarts") {
  const std::vector<double> rising = {0, .375, .75, 1, 0, .375};
  CHECK(phaseWalk(*oscillator(Wave::saw, 0, 0, 1024), 384, 6) == rising);
  const std::vector<double> falling = {1, .625, .25, 0, 1, .625};
  CHECK(phaseWalk(*oscillator(Wave::reverseSaw, 0, 1, 1024), 384, 6) == falling);
  const std::vector<double> triangle = {0, .75, 1, .25, 0, .75};
  CHECK(phaseWalk(*oscillator(Wave::triangle, 0, 0, 1024), 384, 6) == triangle);
}

TEST_CASE("a glide reaches the block's rate exactly at its last sample") {
  for (Wave wave : kEveryWave) {
    CAPTURE(static_cast<int>(wave));
    const auto lfo = oscillator(wave, 0.0, 0.0, 1024.0);
    run(*lfo, {16.0, 0.1, 0.1, 5});
    run(*lfo, {32.0, 0.1, 0.1, 5}); // 16, 20, 24, 28, 32
    const bool twoStepsPerCycle = wave == Wave::triangle || wave == Wave::sine;
    CHECK(lfo->step == 32.0 / 1024.0 * (twoStepsPerCycle ? 2.0 : 1.0));
  }
}

TEST_CASE("the samples of a glide advance by evenly growing steps") {
  const auto lfo = oscillator(Wave::saw, 0.0, 0.0, 1024.0);
  run(*lfo, {16.0, 0.1, 0.1, 0});
  const auto out = run(*lfo, {32.0, 0.1, 0.1, 5});
  const double expected[] = {0, 16, 36, 60, 88}; // sums of 16, 20, 24, 28
  for (int i = 0; i < 5; ++i)
    CHECK(out[i] == expected[i] / 1024.0);
  CHECK(lfo->phase == 120.0 / 1024.0);
}

TEST_CASE("a block of one sample steps at the rate of the call before, the new rate counts from the next") {
  for (Wave wave : {Wave::triangle, Wave::sine, Wave::halfSine, Wave::saw}) {
    CAPTURE(static_cast<int>(wave));
    const auto lfo = oscillator(wave, 0.0, 0.0, 1024.0);
    const double factor = wave == Wave::triangle || wave == Wave::sine ? 2.0 : 1.0;
    run(*lfo, {16.0, 0.1, 0.1, 0});
    run(*lfo, {64.0, 0.1, 0.1, 1});
    CHECK(lfo->step == 16.0 / 1024.0 * factor);
    CHECK(lfo->lastRate == 64.0);
    run(*lfo, {8.0, 0.1, 0.1, 1});
    CHECK(lfo->step == 64.0 / 1024.0 * factor);
  }
}

TEST_CASE("members that hold their rate use the new one at once") {
  for (Wave wave : {Wave::triangle2, Wave::rectangular, Wave::random}) {
    const auto lfo = oscillator(wave, 0.0, 0.0, 1024.0);
    run(*lfo, {16.0, 0.1, 0.1, 3});
    run(*lfo, {64.0, 0.1, 0.1, 1});
    CHECK(lfo->step == 64.0 / 1024.0);
    CHECK(lfo->lastRate == 0.0); // not theirs
  }
}

TEST_CASE("only the triangle starts at its first rate, the other gliding members start from 0 Hz") {
  const auto triangle = oscillator(Wave::triangle, 0.0, 0.0, 1024.0);
  run(*triangle, {32.0, 0.1, 0.1, 5});
  CHECK(triangle->phase == 5 * 64.0 / 1024.0);
  CHECK(triangle->firstCall == 0);
  for (Wave wave : {Wave::sine, Wave::halfSine, Wave::saw}) {
    const auto lfo = oscillator(wave, 0.0, 0.0, 1024.0);
    run(*lfo, {32.0, 0.1, 0.1, 5}); // 0, 8, 16, 24, 32
    CHECK(lfo->phase == 80.0 / 1024.0 * (wave == Wave::sine ? 2.0 : 1.0));
    CHECK(lfo->firstCall == 1);
  }
}

TEST_CASE("an empty block records the rate and moves nothing") {
  for (Wave wave : kEveryWave) {
    for (int samples : {0, -1, std::numeric_limits<int>::min()}) {
      const auto lfo = oscillator(wave, 0.0, 0.25, 1024.0);
      run(*lfo, {100.0, 0.1, 0.1, samples});
      CHECK(lfo->phase == 0.25);
      CHECK(lfo->lastRate == (glides(wave) ? 100.0 : 0.0));
      CHECK(bitsOf(lfo->value) == bitsOf(0.0));
    }
  }
}

TEST_CASE("the first call of a triangle settles its rate filter at the rate, an empty one as well") {
  for (int samples : {0, 10}) {
    lfoTriangle* const triangle = new lfoTriangle(0.0, 0.0, kRate);
    const std::unique_ptr<lfoBase> owner(triangle);
    const IIRFilter& filter = *triangle->rateFilter;
    CHECK(filter.state1 == 0.0);
    std::vector<double> out(10);
    triangle->Excute(3.0, 0.1, 0.1, samples, out.data(), 0);
    CHECK(bitsOf(filter.state1) == bitsOf((1.0 - filter.fb1) * 3.0 / filter.ff0));
    CHECK(triangle->firstCall == 0);
    CHECK(triangle->lastRate == 3.0);
    triangle->Excute(4.0, 0.1, 0.1, samples, out.data(), 0);
    CHECK(bitsOf(filter.state1) == bitsOf((1.0 - filter.fb1) * 3.0 / filter.ff0)); // spent
    double settled = 3.0;
    triangle->rateFilter->iirProcessing(&settled);
    CHECK(settled == doctest::Approx(3.0).epsilon(1e-14));
  }
}

TEST_CASE("a triangle's filters are a first-order low pass and a smoother of 5 Hz, or of the rate named") {
  const auto expect = [](const IIRFilter& actual, int32_t type, double freq) {
    filterPrm_tag prm{type, freq, 0.0, 0.0, 0.0, 0.0, kRate};
    const IIRFilter expected(&prm);
    CHECK(actual.type == type);
    CHECK(bitsOf(actual.ff0) == bitsOf(expected.ff0));
    CHECK(bitsOf(actual.ff1) == bitsOf(expected.ff1));
    CHECK(bitsOf(actual.fb1) == bitsOf(expected.fb1));
  };
  const auto three = std::make_unique<lfoTriangle>(30.0, 0.0, kRate);
  expect(*three->smoother, 0, 30.0);
  expect(*three->rateFilter, 13, 5.0);
  const auto four = std::make_unique<lfoTriangle>(30.0, 0.0, kRate, 80.0);
  expect(*four->smoother, 0, 30.0);
  expect(*four->rateFilter, 13, 80.0);
  const auto off = std::make_unique<lfoTriangle>(0.0, 0.0, kRate);
  expect(*off->smoother, 0, 20.0); // built all the same; 0 Hz designs at 20
}

TEST_CASE("the two triangle constructors give the same wave") {
  const auto three = std::make_unique<lfoTriangle>(50.0, 0.1, kRate);
  const auto four = std::make_unique<lfoTriangle>(50.0, 0.1, kRate, 123.0);
  for (const Call& call : kCalls) {
    const auto a = run(*three, call), b = run(*four, call);
    CHECK(differences(a.data(), b.data(), static_cast<int>(a.size())) == 0);
  }
}

TEST_CASE("a rate that is not a number or endless keeps the triangle's phase within 0 and 1") {
  for (double rate : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                      -std::numeric_limits<double>::infinity(), -50.0}) {
    const auto lfo = oscillator(Wave::triangle, 0.0, 0.5, kRate);
    for (const Call& call : {Call{441.0, 0.1, 0.1, 8}, Call{rate, 0.1, 0.1, 8}, Call{rate, 0.1, 0.1, 8}})
      for (double value : run(*lfo, call))
        CHECK((value >= 0.0 && value <= 1.0));
    CHECK(lfo->phase >= 0.0);
    CHECK(lfo->phase <= 1.0);
    CHECK(lfo->falling <= 1);
  }
}

TEST_CASE("a step that is not a number turns the triangle to 0, upward") {
  const auto lfo = oscillator(Wave::triangle, 0.0, 0.5, kRate);
  lfo->falling = 1;
  run(*lfo, {std::numeric_limits<double>::quiet_NaN(), 0.1, 0.1, 1});
  CHECK(bitsOf(lfo->phase) == bitsOf(0.0));
  CHECK(lfo->falling == 0);
}

TEST_CASE("the random oscillator draws from its documented generator once per cycle and holds between") {
  CHECK(lfoRand::kFirstSeed == 1);
  lfoRand* const random = new lfoRand(0.0, 0.0, 1024.0);
  const std::unique_ptr<lfoBase> owner(random);
  // 1/4 per sample: a cycle is .25 .5 .75 1 0, so the fifth sample is the first draw
  const auto out = run(*random, {256.0, 0.1, 0.1, 16});
  // seeds 1664525 + 1013904223 = 1015568748, then times 1664525 plus 1013904223 modulo 2^32 = 1586005467,
  // then 2165703038; the top 23 bits are seed / 512: 1983532, 3097666, 4229888
  const double draws[] = {0.0, 1983532 / 8388608.0, 3097666 / 8388608.0, 4229888 / 8388608.0};
  for (int i = 0; i < 16; ++i)
    CHECK(bitsOf(out[i]) == bitsOf(draws[(i + 1) / 5]));
  CHECK(random->seed == 2165703038u);
}

TEST_CASE("a random oscillator at a standstill on phase 0 draws at every sample, elsewhere never") {
  const auto still = run(*oscillator(Wave::random, 0.0, 0.0, kRate), {0.0, 0.1, 0.1, 4});
  CHECK(bitsOf(still[0]) == bitsOf(1983532 / 8388608.0));
  CHECK(bitsOf(still[1]) == bitsOf(3097666 / 8388608.0));
  for (double value : run(*oscillator(Wave::random, 0.0, 0.5, kRate), {0.0, 0.1, 0.1, 4}))
    CHECK(bitsOf(value) == bitsOf(0.0));
}

TEST_CASE("smoothing never takes a value below 0") {
  const auto lfo = oscillator(Wave::triangle, 10.0, 0.0, kRate);
  static_cast<lfoTriangle&>(*lfo).smoother->state1 = -0.75;
  const auto out = run(*lfo, {1.0, 0.1, 0.1, 1});
  CHECK(bitsOf(out[0]) == bitsOf(0.0));
}
