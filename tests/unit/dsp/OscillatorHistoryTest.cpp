// The triangle's histories: what they record, where they end, and going back by them.
#include "Bits.h"
#include "OscillatorMaking.h"
#include "tests/support/Allocations.h"

#include <algorithm>
#include <doctest/doctest.h>
#include <new>

namespace {

constexpr double kRate = 44100.0; // Hz
constexpr int kSlots = lfoBase::kHistoryLength;

std::unique_ptr<lfoTriangle> triangle() { return std::make_unique<lfoTriangle>(0.0, 0.0, kRate); }

std::vector<double> run(lfoTriangle& lfo, double rate, int samples, int offset) {
  std::vector<double> out(samples);
  lfo.Excute(rate, 0.1, 0.1, samples, out.data(), offset);
  return out;
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

TEST_CASE("rewinding restores phase and direction of a slot and not the rate") {
  const auto lfo = triangle();
  run(*lfo, 2000.0, 64, 0);
  PlainOscillator plain(Wave::triangle, 0.0, 0.0, kRate);
  plain.block(2000.0, 0.1, 0.1, 64);
  for (int slot : {0, 1, 13, 40, 63}) {
    lfo->falling = plain.directions[slot] ? 0 : 1;
    lfo->phase = -1.0;
    lfo->rewind(slot);
    CHECK(bitsOf(lfo->phase) == bitsOf(plain.phases[slot]));
    CHECK(lfo->falling == (plain.directions[slot] ? 1 : 0));
    CHECK(lfo->lastRate == 2000.0);
  }
}

TEST_CASE("a re-run from a rewound slot at the same rate repeats the wave") {
  const auto lfo = triangle();
  const auto first = run(*lfo, 2000.0, 64, 0);
  for (int slot : {63, 30, 1, 0}) {
    lfo->rewind(slot);
    const auto again = run(*lfo, 2000.0, 64 - slot, slot);
    CHECK(differences(again.data(), first.data() + slot, 64 - slot) == 0);
  }
}

TEST_CASE("reserved histories reach behind the first 48000 slots") {
  const auto lfo = triangle();
  lfo->reserveHistory(kSlots + 30);
  run(*lfo, 2000.0, 40, kSlots - 10);
  PlainOscillator plain(Wave::triangle, 0.0, 0.0, kRate);
  plain.block(2000.0, 0.1, 0.1, 40);
  for (int i : {0, 9, 10, 11, 20, 39}) {
    lfo->rewind(kSlots - 10 + i);
    CHECK(bitsOf(lfo->phase) == bitsOf(plain.phases[i]));
    CHECK(lfo->falling == (plain.directions[i] ? 1 : 0));
  }
}

TEST_CASE("reserving allocates two arrays when it grows past 48000 slots, else nothing") {
  const auto lfo = triangle();
  const auto taken = [&](int samples) {
    const long before = allocations::taken();
    lfo->reserveHistory(samples);
    return allocations::taken() - before;
  };
  CHECK(taken(-5) == 0);
  CHECK(taken(0) == 0);
  CHECK(taken(kSlots) == 0);
  CHECK(taken(kSlots + 1) == 2);
  CHECK(taken(kSlots + 1) == 0);
  CHECK(taken(100) == 0);
  CHECK(taken(kSlots + 2) == 2);
}

TEST_CASE("a reservation that fails leaves the histories as they were and leaks nothing") {
  const long before = allocations::live();
  {
    const auto lfo = triangle();
    lfo->reserveHistory(kSlots + 10);
    run(*lfo, 2000.0, 10, kSlots);
    for (long failing : {1, 2}) {
      const allocations::FailNth failure(failing);
      CHECK_THROWS_AS(lfo->reserveHistory(kSlots + 20), std::bad_alloc);
    }
    lfo->rewind(kSlots);
    CHECK(bitsOf(lfo->phase) == bitsOf(0.0));
    run(*lfo, 2000.0, 20, kSlots); // slots from 10 on are not there
  }
  CHECK(allocations::live() == before);
}
