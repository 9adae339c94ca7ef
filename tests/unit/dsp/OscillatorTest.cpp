// The oscillators where the numbers can be told by hand, their fields, and who owns which filter.
#include "FieldPlaces.h"
#include "OscillatorMaking.h"
#include "tests/support/Allocations.h"
#include "tests/support/Bits.h"

#include <doctest/doctest.h>
#include <limits>
#include <vector>

namespace {

constexpr double kExactRate = 1024.0; // Hz: steps are exact

using Walk = std::vector<double>;

struct Member {
  Wave wave;
  int filters;
  bool glides;            // else the rate holds for a block
  double startRate;       // Hz: of the first block's first sample when it is bound for 32 Hz
  double phasePerCycle;   // the phase range that a cycle takes
  double atDepth0;        // what is heard with both depths 0; below 0: the depths play no part
  double start;           // where the walks start
  Walk quarters, clamped; // phases at 256 and at 384 Hz
};

const Walk kRising = {0, .25, .5, .75, 1, 0, .25}, kRisingClamped = {0, .375, .75, 1, 0, .375};
const Member kMembers[] = {
    {Wave::triangle, 2, true, 32, 2, 0.5, 0, {0, .5, 1, .5, 0, .5, 1}, {0, .75, 1, .25, 0, .75}},
    {Wave::sine, 0, true, 0, 2, 0.5, 0, {0, .5, 1, -1, -.5, 0, .5}, {0, .75, 1, -1, -.25, .5}},
    {Wave::halfSine, 0, true, 0, 1, 0.0, 0, kRising, kRisingClamped},
    {Wave::saw, 1, true, 0, 1, 0.5, 0, kRising, kRisingClamped},
    {Wave::reverseSaw, 1, true, 0, 1, 0.5, 1, {1, .75, .5, .25, 0, 1, .75}, {1, .625, .25, 0, 1, .625}},
    {Wave::triangle2, 1, false, 32, 1, 0.0, 0, kRising, kRisingClamped},
    {Wave::rectangular, 1, false, 32, 1, -1.0, 0, kRising, kRisingClamped},
    {Wave::random, 0, false, 32, 1, -1.0, 0, kRising, kRisingClamped},
};

std::vector<double> run(lfoBase& lfo, double rate, int samples, double upper = 0.1, double lower = 0.1) {
  std::vector<double> out(std::max(samples, 0) + 1, 777.0);
  lfo.Excute(rate, upper, lower, samples, out.data(), 0);
  CHECK(out.back() == 777.0); // nothing behind the block
  out.pop_back();
  return out;
}

// The phase at the start of each block of one sample.
Walk phaseWalk(const Member& member, double rate, std::size_t samples) {
  const auto lfo = oscillator(member.wave, 0.0, member.start, kExactRate);
  run(*lfo, rate, 0); // a glide starts at the rate itself
  Walk walk;
  for (; walk.size() < samples; run(*lfo, rate, 1))
    walk.push_back(lfo->phase);
  return walk;
}

IIRFilter* smootherOf(Wave wave, lfoBase& lfo) {
  if (wave == Wave::triangle) return static_cast<lfoTriangle&>(lfo).smoother;
  return static_cast<lfoSmoothed&>(lfo).smoother;
}

struct WatchedFilter : IIRFilter {
  WatchedFilter(filterPrm_tag prm, std::vector<int>& gone, int number)
      : IIRFilter(&prm), gone(gone), number(number) {}
  ~WatchedFilter() override { gone.push_back(number); }

  std::vector<int>& gone;
  int number;
};

} // namespace

TEST_CASE("an oscillator starts with its arguments, silent, upward and unspent") {
  for (Wave wave : kEveryWave) {
    CAPTURE(static_cast<int>(wave));
    const auto lfo = oscillator(wave, 12.0, 0.25, 96000.0);
    CHECK(lfo->smoothFreq == 12.0);
    CHECK(lfo->startPhase == 0.25);
    CHECK(lfo->sampleRate == 96000.0);
    CHECK(lfo->phase == 0.25);
    CHECK(bitsOf(lfo->invSampleRate) == bitsOf(1.0 / 96000.0));
    for (const double zero : {lfo->value, lfo->step, lfo->lastRate})
      CHECK(bitsOf(zero) == bitsOf(0.0));
    CHECK(lfo->falling == 0);
    CHECK(lfo->firstCall == 1);
  }
}

TEST_CASE("an oscillator's fields stand in order, the histories' bytes in front of the direction") {
  const auto lfo = oscillator(Wave::sine, 0.0, 0.0, kExactRate);
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

TEST_CASE("each member's phases, and its rate from block to block") {
  for (const Member& member : kMembers) {
    CAPTURE(static_cast<int>(member.wave));
    CHECK(phaseWalk(member, 256.0, 7) == member.quarters); // turn, wrap, and the sample at the clamp
    CHECK(phaseWalk(member, 384.0, 6) == member.clamped);  // only exactly 1 restarts

    const auto lfo = oscillator(member.wave, 0.0, 0.0, kExactRate);
    const auto rateNow = [&] { return lfo->step * kExactRate / member.phasePerCycle; };
    const auto lastRate = [&](double rate) { return lfo->lastRate == (member.glides ? rate : 0.0); };
    run(*lfo, 32.0, 1);
    CHECK(rateNow() == member.startRate);
    CHECK(lfo->firstCall == (member.wave == Wave::triangle ? 0 : 1));
    run(*lfo, 64.0, 5); // a glide reaches it at the last sample
    CHECK(rateNow() == 64.0);
    CHECK(lastRate(64.0));
    const double phase = lfo->phase, value = lfo->value;
    for (int samples : {0, -1, std::numeric_limits<int>::min()}) {
      run(*lfo, 16.0, samples);
      CHECK(lastRate(16.0));
      CHECK(lfo->phase == phase);
      CHECK(bitsOf(lfo->value) == bitsOf(value));
    }
    run(*lfo, 8.0, 1); // one sample still runs at the rate before
    CHECK(rateNow() == (member.glides ? 16.0 : 8.0));
    CHECK(lastRate(8.0));
  }
}

TEST_CASE("a triangle at depth 0.1 rises from 0 to 1 and falls back in rate-over-frequency samples") {
  const auto lfo = oscillator(Wave::triangle, 0.0, 0.0, kExactRate);
  const std::vector<double> out = run(*lfo, 32.0, 128); // 32 samples per period, step 1/16
  for (int i = 0; i < 128; ++i) {
    const int inPeriod = i % 32;
    const double expected = (inPeriod <= 16 ? inPeriod : 32 - inPeriod) / 16.0;
    CHECK(bitsOf(out[i]) == bitsOf(expected)); // 0.1 * 10.0 is exactly 1 in doubles, sixteenths are exact
  }
}

TEST_CASE("depth 0 gives the middle, a depth of 1 a steep flattened wave, each half by its own depth") {
  for (const Member& member : kMembers) {
    CAPTURE(static_cast<int>(member.wave));
    const auto flat = run(*oscillator(member.wave, 0.0, 0.0, kExactRate), 37.0, 500, 0.0, 0.0);
    if (member.atDepth0 >= 0.0)
      CHECK(flat == std::vector<double>(500, member.atDepth0));
    else
      CHECK(sameBits(flat, run(*oscillator(member.wave, 0.0, 0.0, kExactRate), 37.0, 500, 1.0, 1.0)));
  }
  const auto lower = run(*oscillator(Wave::triangle, 0.0, 0.0, kExactRate), 32.0, 33, 0.0, 1.0);
  CHECK(lower[0] == 0.0);
  CHECK(lower[7] == 0.0); // b = -1/8 times ten is clipped
  CHECK(lower[8] == 0.5);
  CHECK(lower[16] == 0.5); // the upper half has depth 0
}

TEST_CASE("smoothing never takes a value below 0") {
  lfoTriangle lfo(10.0, 0.0, kExactRate);
  lfo.smoother->state1 = -0.75;
  CHECK(bitsOf(run(lfo, 1.0, 1)[0]) == bitsOf(0.0));
}

TEST_CASE("the first call of a triangle settles its rate filter at the rate, an empty one as well") {
  for (int samples : {0, 10}) {
    lfoTriangle triangle(0.0, 0.0, kExactRate);
    const IIRFilter& filter = *triangle.rateFilter;
    CHECK(filter.state1 == 0.0);
    for (const double rate : {3.0, 4.0}) { // the second is no first call
      run(triangle, rate, samples);
      CHECK(bitsOf(filter.state1) == bitsOf((1.0 - filter.fb1) * 3.0 / filter.ff0));
      CHECK(triangle.firstCall == 0);
      CHECK(triangle.lastRate == rate);
    }
  }
}

TEST_CASE("a triangle's filters are a first-order low pass and a smoother of 5 Hz, or of the rate named") {
  const auto expect = [](const IIRFilter& actual, int32_t type, double freq) {
    filterPrm_tag prm{type, freq, 0.0, 0.0, 0.0, 0.0, kExactRate};
    const IIRFilter expected(&prm);
    CHECK(actual.type == type);
    CHECK(bitsOf(actual.ff0) == bitsOf(expected.ff0));
    CHECK(bitsOf(actual.ff1) == bitsOf(expected.ff1));
    CHECK(bitsOf(actual.fb1) == bitsOf(expected.fb1));
  };
  const lfoTriangle three(30.0, 0.0, kExactRate), four(30.0, 0.0, kExactRate, 80.0),
      off(0.0, 0.0, kExactRate);
  expect(*three.smoother, 0, 30.0);
  expect(*three.rateFilter, 13, 5.0);
  expect(*four.smoother, 0, 30.0);
  expect(*four.rateFilter, 13, 80.0);
  expect(*off.smoother, 0, 20.0); // built all the same; 0 Hz designs at 20
}

TEST_CASE("a rate that is not a number or endless keeps the triangle's phase within 0 and 1") {
  for (double rate : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                      -std::numeric_limits<double>::infinity(), -50.0}) {
    CAPTURE(rate);
    const auto lfo = oscillator(Wave::triangle, 0.0, 0.5, kExactRate);
    for (double next : {441.0, rate, rate}) {
      for (double value : run(*lfo, next, 8))
        CHECK((value >= 0.0 && value <= 1.0));
    }
    CHECK((lfo->phase >= 0.0 && lfo->phase <= 1.0));
    CHECK(lfo->falling <= 1);
  }
  lfoTriangle falling(0.0, 0.5, kExactRate);
  falling.falling = 1;
  run(falling, std::numeric_limits<double>::quiet_NaN(), 1);
  CHECK(bitsOf(falling.phase) == bitsOf(0.0));
  CHECK(falling.falling == 0);
}

TEST_CASE("the random oscillator draws from its documented generator once per cycle and holds between") {
  CHECK(lfoRand::kFirstSeed == 1);
  lfoRand random(0.0, 0.0, kExactRate);
  // 1/4 per sample: a cycle is .25 .5 .75 1 0, so the fifth sample is the first draw
  const auto out = run(random, 256.0, 16);
  // seeds 1664525 + 1013904223 = 1015568748, then times 1664525 plus 1013904223 modulo 2^32 = 1586005467,
  // then 2165703038; the top 23 bits are seed / 512: 1983532, 3097666, 4229888
  const double draws[] = {0.0, 1983532 / 8388608.0, 3097666 / 8388608.0, 4229888 / 8388608.0};
  for (int i = 0; i < 16; ++i)
    CHECK(bitsOf(out[i]) == bitsOf(draws[(i + 1) / 5]));
  CHECK(random.seed == 2165703038u);
  const auto still = run(*oscillator(Wave::random, 0.0, 0.0, kExactRate), 0.0, 2); // draws at every sample
  CHECK(bitsOf(still[0]) == bitsOf(draws[1]));
  CHECK(bitsOf(still[1]) == bitsOf(draws[2]));
}

TEST_CASE("an oscillator takes one block for itself and one per filter, runs without, and gives all back") {
  for (const Member& member : kMembers) {
    CAPTURE(static_cast<int>(member.wave));
    const long before = allocations::live();
    {
      const auto lfo = oscillator(member.wave, 10.0, 0.0, kExactRate);
      CHECK(allocations::live() - before == 1 + member.filters);
      std::vector<double> out(500);
      const long taken = allocations::taken();
      for (int n : {500, 1, 0, 499})
        lfo->Excute(440.0, 0.1, 0.1, n, out.data(), 0);
      CHECK(allocations::taken() == taken);
    }
    CHECK(allocations::live() == before);
  }
}

TEST_CASE("filters are deleted through their table, the smoother first, null ones passed over") {
  const filterPrm_tag prm = {0, 100.0, 0.0, 0.0, 1.0, 0.0, kExactRate};
  std::vector<int> gone;
  auto* triangle = new lfoTriangle(10.0, 0.0, kExactRate);
  delete triangle->smoother;
  delete triangle->rateFilter;
  triangle->smoother = new WatchedFilter(prm, gone, 1);
  triangle->rateFilter = new WatchedFilter(prm, gone, 2);
  delete static_cast<lfoBase*>(triangle);
  CHECK(gone == std::vector<int>{1, 2});

  auto* saw = new lfoSaw(10.0, 0.0, kExactRate);
  delete saw->smoother;
  saw->smoother = nullptr;
  delete static_cast<lfoBase*>(saw);
}

TEST_CASE("a filter that cannot be had stays null and the wave runs without it") {
  for (const Member& member : kMembers) {
    for (int filter = 0; filter < member.filters; ++filter) {
      CAPTURE(static_cast<int>(member.wave));
      CAPTURE(filter);
      std::unique_ptr<lfoBase> lfo;
      {
        const allocations::FailNth failure(2 + filter); // the first is the oscillator
        lfo = oscillator(member.wave, 10.0, 0.2, kExactRate);
      }
      CHECK((smootherOf(member.wave, *lfo) == nullptr) == (filter == 0));
      if (filter == 1) CHECK(static_cast<lfoTriangle&>(*lfo).rateFilter == nullptr);
      const auto whole = oscillator(member.wave, filter == 0 ? 0.0 : 10.0, 0.2, kExactRate);
      CHECK(sameBits(run(*lfo, 44.0, 300), run(*whole, 44.0, 300)));
    }
  }
}

TEST_CASE("Excute is the third slot of every member's table") {
  using Excute = void (*)(lfoBase*, double, double, double, int, double*, int);
  for (Wave wave : kEveryWave) {
    CAPTURE(static_cast<int>(wave));
    const auto lfo = oscillator(wave, 0.0, 0.25, kExactRate), same = oscillator(wave, 0.0, 0.25, kExactRate);
    std::vector<double> bySlot(32);
    void* function = (*reinterpret_cast<void***>(lfo.get()))[2];
    reinterpret_cast<Excute>(function)(lfo.get(), 44.0, 0.1, 0.1, 32, bySlot.data(), 0);
    CHECK(sameBits(bySlot, run(*same, 44.0, 32)));
  }
}
