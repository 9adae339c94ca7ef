// The triangle's histories and where they end, and its run sample by sample.
#include "OscillatorMaking.h"
#include "tests/support/Bits.h"

#include <algorithm>
#include <doctest/doctest.h>
#include <vector>

namespace {

constexpr double kRate = 44100.0; // Hz
constexpr int kSlots = lfoBase::kHistoryLength;

std::vector<double> run(lfoBase& lfo, double rate, int samples, int offset) {
  std::vector<double> out(samples);
  lfo.Excute(rate, 0.1, 0.1, samples, out.data(), offset);
  return out;
}

// How many slots of either history differ from what stood there before anything ran.
struct Written {
  explicit Written(lfoBase& lfo) : lfo(lfo) {
    std::fill_n(lfo.phaseHistory, kSlots, 5.0);
    std::fill_n(lfo.directionHistory, kSlots, uint8_t{9});
  }
  auto phases() const { return kSlots - std::count(lfo.phaseHistory, lfo.phaseHistory + kSlots, 5.0); }
  auto directions() const {
    return kSlots - std::count(lfo.directionHistory, lfo.directionHistory + kSlots, 9);
  }

  lfoBase& lfo;
};

} // namespace

TEST_CASE("only the triangle writes the histories") {
  for (Wave wave : kEveryWave) {
    CAPTURE(static_cast<int>(wave));
    const auto lfo = oscillator(wave, 0.0, 0.3, kRate);
    const Written written(*lfo);
    run(*lfo, 500.0, 50, 10);
    CHECK(written.phases() == (wave == Wave::triangle ? 50 : 0));
    CHECK(written.directions() == (wave == Wave::triangle ? 50 : 0));
  }
}

TEST_CASE("a block that begins before the histories or ends behind them records what falls into them") {
  struct Row {
    int offset;
    int from, to; // the samples of the block that are recorded
  };
  const auto inside = oscillator(Wave::triangle, 0.0, 0.0, kRate);
  const std::vector<double> expected = run(*inside, 300.0, 40, 0);
  for (const Row& row : {Row{100, 0, 40}, Row{kSlots - 5, 0, 5}, Row{-35, 35, 40}, Row{kSlots, 40, 40},
                         Row{kSlots + 1000, 40, 40}, Row{INT32_MAX, 40, 40}, Row{INT32_MIN, 40, 40}}) {
    CAPTURE(row.offset);
    const auto lfo = oscillator(Wave::triangle, 0.0, 0.0, kRate);
    const Written written(*lfo);
    CHECK(sameBits(run(*lfo, 300.0, 40, row.offset), expected));
    CHECK(bitsOf(lfo->phase) == bitsOf(inside->phase));
    CHECK(lfo->falling == inside->falling);
    CHECK(written.phases() == row.to - row.from);
    CHECK(written.directions() == row.to - row.from);
    if (row.from == row.to) continue;
    CHECK(differences(lfo->phaseHistory + row.offset + row.from, inside->phaseHistory + row.from,
                      row.to - row.from) == 0);
  }
}

TEST_CASE("sample by sample the triangle does what it does in blocks") {
  for (int n : {1, 2, 3, 64, 700}) {
    CAPTURE(n);
    lfoTriangle blocks(0.0, 0.0, kRate), samples(0.0, 0.0, kRate);
    for (double rate : {0.0, 300.0, 9000.0, 9000.0, 0.5}) {
      const auto expected = run(blocks, rate, n, 0);
      double step = samples.startGlide(rate, n);
      for (int i = 0; i < n; ++i) {
        if (i > 0) step = samples.glideStep(i);
        const double value = (samples.phase - 0.5) * 2.0 * 0.5 + 0.5; // depth 0.1 is no change
        CHECK(bitsOf(value) == bitsOf(expected[i]));
        lfoTriangle::advance(samples.phase, samples.falling, step);
      }
      CHECK(bitsOf(samples.phase) == bitsOf(blocks.phase));
      CHECK(samples.falling == blocks.falling);
      CHECK(bitsOf(samples.lastRate) == bitsOf(blocks.lastRate));
    }
  }
}

TEST_CASE("a run that another follows early hands over the rate it was bound for") {
  lfoTriangle lfo(0.0, 0.0, kRate);
  lfo.startGlide(100.0, 10);
  CHECK(lfo.isLevel());
  lfo.startGlide(200.0, 10);
  CHECK_FALSE(lfo.isLevel());
  CHECK(bitsOf(lfo.startGlide(300.0, 5)) == bitsOf(200.0 * (1.0 / kRate) * 2.0));
  lfo.startGlide(300.0, 5);
  CHECK(lfo.isLevel());
}

TEST_CASE("after a block the steps of the triangle are the block's, until a run is started") {
  lfoTriangle lfo(0.0, 0.0, kRate);
  lfo.startGlide(100.0, 10);
  run(lfo, 300.0, 3, 0); // from 100 Hz by 100 Hz a sample
  CHECK(lfo.glideStep(1) == doctest::Approx(200.0 / kRate * 2.0));
  lfo.startGlide(300.0, 10);
  CHECK(lfo.glideStep(1) == doctest::Approx(300.0 / kRate * 2.0));
}
