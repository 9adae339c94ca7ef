// The steps of a sample: taps, crossfade, filters, mix.
#include "ExposedTreadshift.h"
#include "effect/TapReader.h"
#include "tests/unit/dsp/Bits.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>
#include <limits>
#include <memory>

namespace {

// Makes shift and tone filters let the sound through unchanged: identity; and with both poles 0 and both
// gains 1 the branches add up to twice the halved sound. Mix 0 then puts out the crossfaded taps alone.
void makeTransparent(ExposedTreadshift& e) {
  e.shiftFilter->ff0 = 1.0;
  e.shiftFilter->ff1 = e.shiftFilter->ff2 = e.shiftFilter->fb1 = e.shiftFilter->fb2 = 0.0;
  e.shiftFilter->state1 = e.shiftFilter->state2 = 0.0;
  for (int j = 0; j < 4; ++j)
    e.toneCoef[j] = e.prevToneCoef[j] = j < 2 ? 0.0 : 1.0;
  e.toneLowState = e.toneHighState = 0.0;
}

double plainWeight(double x) {
  const double q = x * x;
  return x * (1.570791011 + q * (-0.6458928493 + q * (0.0794343442 + q * -0.004333095)));
}

// A standing effect: row 1 at the heel.
ExposedTreadshift* standing(float rate, float tone) {
  return new ExposedTreadshift(rate, 1.0f, tone, colorOfRow(1), 0.0f);
}

} // namespace

TEST_CASE("the weight of a tap is the sine of a quarter turn, within 7e-7, and 0 at 0") {
  CHECK(bitsOf(crossfadeWeight(0.0)) == bitsOf(0.0));
  for (int i = 0; i <= 1000; ++i) {
    const double x = i / 1000.0;
    CHECK(bitsOf(crossfadeWeight(x)) == bitsOf(plainWeight(x)));
    CHECK(std::fabs(crossfadeWeight(x) - std::sin(0.5 * 3.14159265358979 * x)) < 7e-7);
    const double other = crossfadeWeight(1.0 - x);
    CHECK(std::fabs(crossfadeWeight(x) * crossfadeWeight(x) + other * other - 1.0) < 2e-6);
  }
}

TEST_CASE("a tap is read between its two neighbours, delay 0 being the sample just written") {
  const double line[8] = {0, 1, 4, 9, 16, 25, 36, 49};
  for (int write = 0; write < 8; ++write) {
    for (int delay = 0; delay < 20; ++delay) {
      const double near = line[((write - delay) % 8 + 8) % 8];
      const double far = line[((write - delay - 1) % 8 + 8) % 8];
      CHECK(bitsOf(readTap(line, 8, write, delay)) == bitsOf(near));
      CHECK(bitsOf(readTap(line, 8, write, delay + 0.25)) == bitsOf(near + (far - near) * 0.25));
    }
  }
}

TEST_CASE("any index wraps into the line, any delay into a whole number") {
  for (int32_t index : {0, 7, 8, -1, -8, -9, 100, -100, std::numeric_limits<int32_t>::max(),
                        std::numeric_limits<int32_t>::min()}) {
    const int32_t wrapped = wrappedIndex(index, 8);
    CHECK(wrapped >= 0);
    CHECK(wrapped < 8);
    CHECK((static_cast<int64_t>(index) - wrapped) % 8 == 0);
  }
  CHECK(wholeSamples(0.0) == 0);
  CHECK(wholeSamples(220.5) == 220);
  CHECK(wholeSamples(3.9999999999999996) == 3);
  CHECK(wholeSamples(1e300) == std::numeric_limits<int32_t>::max());
  CHECK(wholeSamples(std::numeric_limits<double>::infinity()) == std::numeric_limits<int32_t>::max());
  const double line[2] = {1.0, 2.0};
  CHECK(readTap(line, 2, 1, 1e300) != 0.0); // inside the line, whatever it reads
}

TEST_CASE("a tap moves by 1 minus the ratio and stays rather than come closer than the shortest delay") {
  constexpr double kShortest = 240.0;
  const auto advanced = [&](double delay, double ratio) {
    Chunk chunk;
    double sweep;
    chunk.sweep = &sweep;
    TapSweep taps{0.5, 0, delay, delay + 1000.0, kShortest, kShortest};
    taps.followOne(0, 0.001, ratio, chunk);
    CHECK(bitsOf(chunk.delay1[0]) == bitsOf(delay)); // this sample still reads where the tap stood
    if (std::isfinite(ratio)) CHECK(bitsOf(taps.delay2) == bitsOf(delay + 1000.0 + 1.0 - ratio));
    return taps.delay1;
  };
  CHECK(advanced(300.0, 2.0) == 299.0);
  CHECK(advanced(300.0, 0.25) == 300.75);
  CHECK(advanced(300.0, 1.0) == 300.0);
  CHECK(advanced(241.0, 2.0) == 240.0); // exactly the shortest is allowed
  CHECK(advanced(240.5, 2.0) == 240.5); // closer is not
  CHECK(advanced(240.0, 2.0) == 240.0);
  CHECK(advanced(90000.0, 0.03125) == 90000.96875); // no bound above
  // (D + 1) - ratio: at D = 2^53 the 1 is lost to rounding before the ratio is taken away; D + (1 - ratio)
  // would be 2^53 - 1
  CHECK(bitsOf(advanced(0x1p53, 2.0)) == bitsOf(0x1p53 - 2.0));
  CHECK(advanced(300.0, std::numeric_limits<double>::quiet_NaN()) == 300.0);
  CHECK(advanced(300.0, std::numeric_limits<double>::infinity()) == 300.0);
}

TEST_CASE("a tap restarts where its own weight is zero: long for a rising pitch, short otherwise") {
  struct Row {
    int color;
    float pedal;
    bool rising;
  };
  for (const Row& row :
       {Row{2, 1.0f, true}, Row{4, 1.0f, true}, Row{1, 1.0f, true}, Row{3, 1.0f, false}, Row{4, 0.0f, false},
        Row{1, 0.0f, false}, Row{2, 0.0f, false}, Row{0, 1.0f, false}}) {
    for (float rate : {44100.0f, 48000.0f}) {
      CAPTURE(row.color);
      CAPTURE(row.pedal);
      ExposedTreadshift e(rate, 1.0f, 0.5f, colorOfRow(row.color), row.pedal);
      e.sample(0.1);
      const double restart = e.minDelay + (row.rising ? e.sweepLength : 0);
      const auto moved = [&](double delay) {
        const double next = delay + 1.0 - e.pitchRatio;
        return next >= e.minDelay ? next : delay;
      };
      e.tapPos1 = e.tapPos2 = 1000.0;
      e.sweepLfo->phase = 0.0;
      e.sweepLfo->falling = 0;
      e.sample(0.1);
      CHECK(bitsOf(e.tapPos1) == bitsOf(moved(restart)));
      CHECK(bitsOf(e.tapPos2) == bitsOf(moved(1000.0)));
      e.tapPos1 = e.tapPos2 = 1000.0;
      e.sweepLfo->phase = 1.0;
      e.sample(0.1);
      CHECK(bitsOf(e.tapPos1) == bitsOf(moved(1000.0)));
      CHECK(bitsOf(e.tapPos2) == bitsOf(moved(restart)));
      for (double almost : {0x1p-53, 1.0 - 0x1p-53}) {
        e.tapPos1 = e.tapPos2 = 1000.0;
        e.sweepLfo->phase = almost;
        e.sample(0.1);
        CHECK(bitsOf(e.tapPos1) == bitsOf(moved(1000.0)));
        CHECK(bitsOf(e.tapPos2) == bitsOf(moved(1000.0)));
      }
    }
  }
}

TEST_CASE("the shifted sound of a ramp is the ramp at the two delays, weighted") {
  for (int row : {2, 3}) {
    for (float pedal : {0.0f, 0.4f, 1.0f}) {
      CAPTURE(row);
      CAPTURE(pedal);
      ExposedTreadshift e(8000.0f, 1.0f, 0.5f, colorOfRow(row), pedal);
      e.sample(0.0);
      makeTransparent(e);
      const double restart = e.minDelay + (e.cents > 0.0 ? e.sweepLength : 0);
      int compared = 0;
      for (int i = 1; i < 4000; ++i) {
        const double s = e.sweepLfo->phase;
        const double d1 = s == 0.0 ? restart : e.tapPos1, d2 = 1.0 - s == 0.0 ? restart : e.tapPos2;
        const double out = e.sample(i);
        if (i - std::max(d1, d2) < 2.0) continue; // the ramp's own corner is not linear
        ++compared;
        const double expected = plainWeight(s) * (i - d1) + plainWeight(1.0 - s) * (i - d2);
        CHECK(out == doctest::Approx(expected).epsilon(1e-10));
      }
      CHECK(compared > 2000);
    }
  }
}

TEST_CASE("a standing pitch gives the sound 5 ms late, filtered, beside the dry sound, bit for bit") {
  for (float rate : {1000.0f, 1100.0f, 48000.0f}) { // 5, 5.5 and 240 samples
    for (float tone : {0.0f, 0.8f, 1.0f}) {
      CAPTURE(rate);
      CAPTURE(tone);
      const std::unique_ptr<ExposedTreadshift> e(standing(rate, tone));
      ExposedTreadshift targets;
      targets.setSampleRate(rate);
      targets.setToneTargets(tone);
      filterPrm_tag prm{0, 0.25 * static_cast<double>(rate), 0.0, 0.0, 1.0, 0.0, rate};
      IIRFilter lowPass(&prm);
      const std::vector<double> sound = testSound(5000); // more than two seconds at the low rates
      const auto late = [&](int n) { return n < 0 ? 0.0 : sound[n]; };
      const double delay = 0.005 * static_cast<double>(rate);
      const int whole = static_cast<int>(delay);
      double low = 0.0, high = 0.0;
      int wrong = 0;
      for (int from = 0; from < 5000; from += 50) {
        const std::vector<double> output = e->block(part(sound, from, 50));
        for (int i = 0; i < 50; ++i) {
          const int n = from + i;
          const double tap = late(n - whole) + (late(n - whole - 1) - late(n - whole)) * (delay - whole);
          double shifted = plainWeight(0.0) * tap + plainWeight(1.0) * tap;
          lowPass.iirProcessing(&shifted);
          const double y = shifted * 0.5;
          double k[4];
          for (int j = 0; j < 4; ++j) // up from 0 in the first block
            k[j] = from == 0 ? 0.0 + i * ((targets.toneCoef[j] - 0.0) * (1.0 / 49)) : targets.toneCoef[j];
          const double low0 = low, high0 = high;
          low = y + k[0] * (low0 - y);
          high = y + k[1] * (high0 + y);
          const double toned = k[2] * (low0 + low) + k[3] * (high - high0);
          wrong += bitsOf(output[i]) != bitsOf(1.0 * 1.0 * (1.0 * sound[n] + 1.0 * toned));
        }
      }
      CHECK(wrong == 0);
      CHECK(bitsOf(e->tapPos1) == bitsOf(delay));
      CHECK(bitsOf(e->tapPos2) == bitsOf(delay));
      CHECK(bitsOf(e->sweepLfo->phase) == bitsOf(0.0));
    }
  }
}

TEST_CASE("the high tone branch adds its previous state and is silent at 0 Hz") {
  // At 0 Hz the high branch contributes nothing (state minus state), the low one 2 k3 y: with y half the
  // shifted sound a standing constant comes out as k3 times w(1).
  const std::unique_ptr<ExposedTreadshift> e(standing(8000.0f, 0.5f));
  std::vector<double> output;
  for (int block = 0; block < 20; ++block)
    output = e->block(std::vector<double>(400, 1.0));
  CHECK(output.back() - 1.0 == doctest::Approx(e->toneCoef[2] * plainWeight(1.0)).epsilon(1e-9));
  // its state settles at y (1 + k2) / (1 - k2)
  const double y = 0.5 * plainWeight(1.0), k2 = e->toneCoef[1];
  CHECK(e->toneHighState == doctest::Approx(y * (1.0 + k2) / (1.0 - k2)).epsilon(1e-9));
}

TEST_CASE("tone coefficients ramp from the block before and reach their targets at the last sample") {
  const std::unique_ptr<ExposedTreadshift> e(standing(1000.0f, 0.2f));
  for (int block = 0; block < 4; ++block)
    e->block(std::vector<double>(1000, 0.0));
  e->setParameter(kTone, 1.0f);
  // A silent effect whose low state is set by hand shows k1 and k3 of a sample: out = k3 (low + k1 low)
  const double from1 = e->toneCoef[0], from3 = e->toneCoef[2];
  e->toneLowState = 1.0;
  const std::vector<double> output = e->block(std::vector<double>(5, 0.0));
  double low = 1.0;
  for (int i = 0; i < 5; ++i) {
    const double k1 = from1 + (e->toneCoef[0] - from1) * i / 4.0;
    const double k3 = from3 + (e->toneCoef[2] - from3) * i / 4.0;
    CHECK(output[i] == doctest::Approx(k3 * (low + k1 * low)).epsilon(1e-12));
    low *= k1;
  }
}

TEST_CASE("the write position walks round the delay line") {
  ExposedTreadshift e(100.0f, 1.0f, 0.5f, colorOfRow(4), 0.0f); // 200 samples of line
  const std::vector<double> sound = testSound(1000);
  for (int n = 0; n < 1000; ++n) {
    CHECK(e.writeIndex == n % 200);
    e.sample(sound[n]);
    CHECK(bitsOf(e.delayLine[n % 200]) == bitsOf(sound[n]));
  }
}

TEST_CASE("off the effect still listens: line, sweep and filters go on") {
  ExposedTreadshift on(8000.0f, 1.0f, 0.5f, colorOfRow(4), 0.0f);
  ExposedTreadshift off(8000.0f, 0.0f, 0.5f, colorOfRow(4), 0.0f);
  for (int from = 0; from < 5000; from += 100) {
    on.block(testSound(100, from));
    off.block(testSound(100, from));
  }
  CHECK(differences(on.delayLine, off.delayLine, on.delayLength) == 0);
  CHECK(bitsOf(on.tapPos1) == bitsOf(off.tapPos1));
  CHECK(bitsOf(on.toneLowState) == bitsOf(off.toneLowState));
  CHECK(bitsOf(on.toneHighState) == bitsOf(off.toneHighState));
  CHECK(bitsOf(on.sweepLfo->phase) == bitsOf(off.sweepLfo->phase));
}
