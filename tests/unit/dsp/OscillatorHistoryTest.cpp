// The triangle's histories: what they record, where they end, and going back by them.
#include "Bits.h"
#include "OscillatorMaking.h"

#include <algorithm>
#include <doctest/doctest.h>
#include <vector>

namespace {

constexpr double kRate = 44100.0; // Hz
constexpr int kSlots = lfoBase::kHistoryLength;

std::unique_ptr<lfoTriangle> triangle() { return std::make_unique<lfoTriangle>(0.0, 0.0, kRate); }

std::vector<double> run(lfoTriangle& lfo, double rate, int samples, int offset) {
  std::vector<double> out(samples);
  lfo.Excute(rate, 0.1, 0.1, samples, out.data(), offset);
  return out;
}

// Puts the triangle back to where it stood before the sample recorded in a slot, as an owner does who wants
// the rest of a block at another rate.
void rewind(lfoTriangle& lfo, int slot) {
  lfo.falling = lfo.directionHistory[slot];
  lfo.phase = lfo.phaseHistory[slot];
}

} // namespace

TEST_CASE("the histories hold phase and direction before each sample, at the caller's slot") {
  const auto lfo = triangle();
  PlainOscillator plain(Wave::triangle, 0.0, 0.0, kRate);
  for (int offset : {0, 100, 47900}) {
    run(*lfo, 3000.0, 100, offset);
    plain.block(3000.0, 0.1, 0.1, 100);
    for (int i = 0; i < 100; ++i) {
      CHECK(bitsOf(lfo->phaseHistory[offset + i]) == bitsOf(plain.phases[i]));
      CHECK(lfo->directionHistory[offset + i] == (plain.directions[i] ? 1 : 0));
    }
  }
}

TEST_CASE("only the triangle writes the histories") {
  for (Wave wave : kEveryWave) {
    const auto lfo = oscillator(wave, 0.0, 0.3, kRate);
    std::fill_n(lfo->phaseHistory, kSlots, 5.0);
    std::fill_n(lfo->directionHistory, kSlots, uint8_t{9});
    std::vector<double> out(50);
    lfo->Excute(500.0, 0.1, 0.1, 50, out.data(), 10);
    const auto written = std::count_if(lfo->phaseHistory, lfo->phaseHistory + kSlots,
                                       [](double phase) { return phase != 5.0; });
    const auto turned = std::count_if(lfo->directionHistory, lfo->directionHistory + kSlots,
                                      [](uint8_t falling) { return falling != 9; });
    CHECK(written == (wave == Wave::triangle ? 50 : 0));
    CHECK(turned == (wave == Wave::triangle ? 50 : 0));
  }
}

TEST_CASE("a block past the histories' end gives the same wave and writes nothing behind them") {
  const auto lfo = triangle();
  std::fill_n(lfo->directionHistory, kSlots, uint8_t{9});
  const auto inside = triangle();
  const auto expected = run(*inside, 300.0, 40, 0);
  const auto actual = run(*lfo, 300.0, 40, kSlots - 5);
  CHECK(differences(actual.data(), expected.data(), 40) == 0);
  CHECK(bitsOf(lfo->phase) == bitsOf(inside->phase));
  CHECK(lfo->falling == inside->falling);
  CHECK(bitsOf(lfo->phaseHistory[kSlots - 1]) == bitsOf(inside->phaseHistory[4]));
  CHECK(std::count(lfo->directionHistory, lfo->directionHistory + kSlots, 9) == kSlots - 5);
  const auto beyond = run(*lfo, 300.0, 40, kSlots + 1000);
  CHECK(beyond.size() == 40);
}

TEST_CASE("a block from before the histories records what falls into them, and writes nothing before them") {
  const auto lfo = triangle();
  std::fill_n(lfo->phaseHistory, kSlots, 5.0);
  const auto inside = triangle();
  const auto expected = run(*inside, 300.0, 40, 0);
  const auto actual = run(*lfo, 300.0, 40, -35);
  CHECK(differences(actual.data(), expected.data(), 40) == 0);
  CHECK(differences(lfo->phaseHistory, inside->phaseHistory + 35, 5) == 0);
  CHECK(std::count(lfo->phaseHistory, lfo->phaseHistory + kSlots, 5.0) == kSlots - 5);
  const auto before = run(*lfo, 300.0, 40, INT32_MIN);
  CHECK(before.size() == 40);
  CHECK(std::count(lfo->phaseHistory, lfo->phaseHistory + kSlots, 5.0) == kSlots - 5);
}

TEST_CASE("the largest offset there is records nothing and leaves the wave as it is") {
  const auto lfo = triangle();
  std::fill_n(lfo->directionHistory, kSlots, uint8_t{9});
  const auto inside = triangle();
  const auto expected = run(*inside, 300.0, 40, 0);
  const auto actual = run(*lfo, 300.0, 40, INT32_MAX);
  CHECK(differences(actual.data(), expected.data(), 40) == 0);
  CHECK(std::count(lfo->directionHistory, lfo->directionHistory + kSlots, 9) == kSlots);
}

TEST_CASE("going back by the histories restores phase and direction and not the rate") {
  const auto lfo = triangle();
  run(*lfo, 2000.0, 64, 0);
  PlainOscillator plain(Wave::triangle, 0.0, 0.0, kRate);
  plain.block(2000.0, 0.1, 0.1, 64);
  for (int slot : {0, 1, 13, 40, 63}) {
    lfo->falling = plain.directions[slot] ? 0 : 1;
    lfo->phase = -1.0;
    rewind(*lfo, slot);
    CHECK(bitsOf(lfo->phase) == bitsOf(plain.phases[slot]));
    CHECK(lfo->falling == (plain.directions[slot] ? 1 : 0));
    CHECK(lfo->lastRate == 2000.0);
  }
}

TEST_CASE("a re-run from a rewound slot at the same rate repeats the wave") {
  const auto lfo = triangle();
  const auto first = run(*lfo, 2000.0, 64, 0);
  for (int slot : {63, 30, 1, 0}) {
    rewind(*lfo, slot);
    const auto again = run(*lfo, 2000.0, 64 - slot, slot);
    CHECK(differences(again.data(), first.data() + slot, 64 - slot) == 0);
  }
}

TEST_CASE("sample by sample the triangle does what it does in blocks") {
  for (int n : {1, 2, 3, 64, 700}) {
    CAPTURE(n);
    const auto blocks = triangle();
    const auto samples = triangle();
    for (double rate : {0.0, 300.0, 9000.0, 9000.0, 0.5}) {
      const auto expected = run(*blocks, rate, n, 0);
      double step = samples->startGlide(rate, n);
      for (int i = 0; i < n; ++i) {
        if (i > 0) step = samples->glideStep(i);
        CHECK(bitsOf((samples->phase - 0.5) * 2.0 * 0.5 + 0.5) ==
              bitsOf(expected[i])); // depth 0.1 is no change
        lfoTriangle::advance(samples->phase, samples->falling, step);
      }
      CHECK(bitsOf(samples->phase) == bitsOf(blocks->phase));
      CHECK(samples->falling == blocks->falling);
      CHECK(bitsOf(samples->lastRate) == bitsOf(blocks->lastRate));
    }
  }
}

TEST_CASE("a run that another follows early hands over the rate it was bound for") {
  const auto lfo = triangle();
  lfo->startGlide(100.0, 10);
  CHECK(lfo->isLevel());
  lfo->startGlide(200.0, 10);
  CHECK_FALSE(lfo->isLevel());
  CHECK(bitsOf(lfo->startGlide(300.0, 5)) == bitsOf(200.0 * (1.0 / kRate) * 2.0));
  lfo->startGlide(300.0, 5);
  CHECK(lfo->isLevel());
}
