// The filter and the oscillators by themselves against their plain forms: all designs, glides, waves, depths
// and smoothing, most of which the pedal does not use.
#include "Random.h"

#include "PedalPair.h"
#include "dsp/IIRFilter.h"
#include "tests/reference/PlainTriangle.h"
#include "tests/support/RandomRuns.h"
#include "tests/unit/dsp/OscillatorMaking.h"

#include <doctest/doctest.h>
#include <memory>
#include <vector>

namespace {

constexpr int kScenarios = 1000;
constexpr int kTypes = 14; // the smoother included

double noise(Random& random) { return 2.0 * random.unit() - 1.0; }

PlainFilterRequest randomRequest(Random& random, int type) {
  PlainFilterRequest r{};
  r.type = type;
  r.sampleRate = random.pick({8000.0, 44100.0, 48000.0, 96000.0});
  r.freq = random.chance(20) ? random.pick({0.0, -5.0, 0.5 * r.sampleRate, r.sampleRate})
                             : r.sampleRate * 0.5 * random.unit();
  r.freqLow = r.sampleRate * 0.25 * random.unit();
  r.freqHigh = r.freqLow + r.sampleRate * 0.2 * random.unit();
  r.q = random.chance(20) ? random.pick({0.0, -1.0, 1.0}) : 0.1 + 10.0 * random.unit();
  r.gainDb = random.chance(20) ? 0.0 : 24.0 * noise(random);
  return r;
}

filterPrm_tag recordOf(const PlainFilterRequest& r) {
  filterPrm_tag record{};
  record.type = r.type;
  record.freq = r.freq;
  record.freqLow = r.freqLow;
  record.freqHigh = r.freqHigh;
  record.q = r.q;
  record.gainDb = r.gainDb;
  record.sampleRate = r.sampleRate;
  return record;
}

void checkWrittenBack(const PlainFilterRequest& wanted, const filterPrm_tag& got) {
  CHECK(sameSample(got.freq, wanted.freq));
  CHECK(sameSample(got.q, wanted.q));
}

// One filter's life: designs of any type, at once or gliding, with noise in between.
void playFilter(int type, Random& random) {
  PlainFilterRequest request = randomRequest(random, type);
  filterPrm_tag record = recordOf(request);
  PlainFilter plain(request);
  IIRFilter filter(&record);
  checkWrittenBack(request, record);

  bool gliding = random.chance(10); // before any glide was asked for
  for (int step = 0; step < 6; ++step) {
    for (int i = 0; i < 40; ++i) {
      const double x = noise(random);
      const double wanted = gliding ? plain.runGliding(x) : plain.run(x);
      double got = x;
      if (gliding) {
        filter.ipIirProcessing(&got);
      } else {
        filter.iirProcessing(&got);
      }
      CAPTURE(step);
      CAPTURE(i);
      REQUIRE(sameSample(got, wanted));
    }
    const int nextType = random.chance(60) ? request.type : random.below(kTypes + 2) - 1;
    request = randomRequest(random, nextType);
    record = recordOf(request);
    gliding = random.chance(50);
    if (gliding) {
      const int n = 1 + random.below(60);
      plain.glideTo(request, n);
      filter.ipFDexcute(&record, n);
    } else {
      plain.design(request);
      filter.FDexcute(&record);
    }
    checkWrittenBack(request, record);
    if (random.chance(10)) {
      plain.refresh();
      filter.refresh();
    }
  }
}

void runBoth(PlainTriangle& plain, lfoTriangle& sweep, Random& random, int n, int offset) {
  const double rate = random.chance(10) ? 0.0 : 200.0 * random.unit();
  const double upper = random.chance(50) ? 0.1 : random.unit();
  const double lower = random.chance(50) ? 0.1 : random.unit();
  std::vector<double> got(n);
  plain.start(rate, upper, lower, n, offset);
  plain.finish();
  sweep.Excute(rate, upper, lower, n, got.data(), offset);
  for (int i = 0; i < n; ++i) {
    CAPTURE(i);
    REQUIRE(sameSample(got[i], plain.values[offset + i]));
    REQUIRE(sameSample(sweep.phaseHistory[offset + i], plain.phaseHistory[offset + i]));
    REQUIRE((sweep.directionHistory[offset + i] != 0) == (plain.directionHistory[offset + i] != 0));
  }
  REQUIRE(sameSample(sweep.phase, plain.phase));
  REQUIRE((sweep.falling != 0) == plain.falling);
}

// One oscillator's life: blocks, and in some of them rewinds as the pedal makes them.
void playOscillator(Random& random) {
  const double smoothFreq = random.pick({0.0, 0.0, -1.0, 20.0, 500.0});
  const double startPhase = random.pick({0.0, 0.25, 0.5, 1.0});
  const double rateHz = random.pick({1000.0, 44100.0, 48000.0});
  PlainTriangle plain(smoothFreq, startPhase, rateHz);
  const std::unique_ptr<lfoTriangle> sweep =
      random.chance(50) ? std::make_unique<lfoTriangle>(smoothFreq, startPhase, rateHz)
                        : std::make_unique<lfoTriangle>(smoothFreq, startPhase, rateHz, 2.0);
  for (int block = 0; block < 6; ++block) {
    const int n = random.below(200);
    runBoth(plain, *sweep, random, n, 0);
    const int rewinds = n > 0 ? random.below(3) : 0;
    for (int k = 0; k < rewinds; ++k) {
      const int at = random.below(n);
      sweep->phase = plain.phase = plain.phaseHistory[at];
      plain.falling = plain.directionHistory[at];
      sweep->falling = plain.falling ? 1 : 0;
      runBoth(plain, *sweep, random, n - at, at);
    }
  }
}

// The life of any oscillator but the triangle.
void playShape(Wave wave, Random& random) {
  const double smoothFreq = random.pick({0.0, -1.0, 20.0, 500.0});
  const double startPhase = random.pick({0.0, 0.3, 1.0, wave == Wave::sine ? -0.4 : 0.5});
  const double rateHz = random.pick({1000.0, 44100.0, 48000.0});
  PlainOscillator plain(wave, smoothFreq, startPhase, rateHz);
  const std::unique_ptr<lfoBase> shape = oscillator(wave, smoothFreq, startPhase, rateHz);
  for (int block = 0; block < 8; ++block) {
    const int n = random.chance(30) ? random.below(4) - 1 : random.below(200);
    const double rate = random.chance(10) ? 0.0 : 0.3 * rateHz * random.unit() * random.unit();
    const double upper = random.chance(50) ? 0.1 : random.unit();
    const double lower = random.chance(50) ? 0.1 : random.unit();
    const std::vector<double> wanted = plain.block(rate, upper, lower, n);
    std::vector<double> got(wanted.size());
    shape->Excute(rate, upper, lower, n, got.data(), 0);
    CAPTURE(block);
    REQUIRE(std::ranges::equal(got, wanted, sameSample));
    REQUIRE(sameSample(shape->phase, plain.phase));
  }
}

} // namespace

TEST_CASE("every filter design, at once and gliding, equals its plain form") {
  INFO(howToRepeat("tests/property/component_test"));
  for (int scenario = 0; scenario < kScenarios; ++scenario) {
    CAPTURE(scenario);
    Random random(randomSeed() * kScenarios + scenario);
    playFilter(scenario % kTypes, random);
  }
}

TEST_CASE("the sweep oscillator equals its plain form at all depths and smoothings") {
  INFO(howToRepeat("tests/property/component_test"));
  for (int scenario = 0; scenario < kScenarios; ++scenario) {
    CAPTURE(scenario);
    Random random(randomSeed() * kScenarios + scenario);
    playOscillator(random);
  }
}

TEST_CASE("every other oscillator equals its rules at all depths and smoothings") {
  INFO(howToRepeat("tests/property/component_test"));
  for (int scenario = 0; scenario < kScenarios; ++scenario) {
    CAPTURE(scenario);
    Random random(randomSeed() * kScenarios + scenario);
    playShape(kEveryWave[1 + scenario % 7], random);
  }
}
