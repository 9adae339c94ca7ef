// What the constructor leaves and what a sample rate builds.
#include "ExposedTreadshift.h"
#include "tests/support/Allocations.h"
#include "tests/support/ScriptedHost.h"
#include "tests/unit/dsp/Bits.h"

#include <algorithm>
#include <doctest/doctest.h>

namespace {

struct RateRow {
  float rate;
  int32_t rateInt, delayLength, sweepLength, fadeLength;
  double minDelay, lowPole, highPole;
};

// By hand: 2 * whole rate; 0.065535 and 0.016 of the rate, truncated; 0.005 of it.
const RateRow kRateRows[] = {
    {44100.0f, 44100, 88200, 2890, 705, 220.5, 0.749, 0.965},
    {48000.0f, 48000, 96000, 3145, 768, 240.0, 0.767, 0.968},
    {88200.0f, 88200, 176400, 5780, 1411, 441.0, 0.749, 0.965},
    {96000.0f, 96000, 192000, 6291, 1536, 480.0, 0.749, 0.965},
    {44100.5f, 44100, 88200, 2890, 705, 0.005 * 44100.5, 0.749, 0.965},
    {48000.5f, 48000, 96000, 3145, 768, 0.005 * 48000.5, 0.767, 0.968},
    {47999.996f, 47999, 95998, 3145, 767, 0.005 * static_cast<double>(47999.996f), 0.749, 0.965},
    {48001.0f, 48001, 96002, 3145, 768, 0.005 * 48001.0, 0.749, 0.965},
    {8000.0f, 8000, 16000, 524, 128, 40.0, 0.749, 0.965},
    {312.5f, 312, 624, 20, 5, 1.5625, 0.749, 0.965},
    {62.5f, 62, 124, 4, 1, 0.3125, 0.749, 0.965},
};

void checkSameFilter(const IIRFilter& actual, int32_t type, double freqHz, double rateHz) {
  filterPrm_tag prm{type, freqHz, 0.0, 0.0, 1.0, 0.0, rateHz};
  const IIRFilter expected(&prm);
  CHECK(actual.type == type);
  CHECK(actual.fbOrder == expected.fbOrder);
  CHECK(bitsOf(actual.ff0) == bitsOf(expected.ff0));
  CHECK(bitsOf(actual.ff1) == bitsOf(expected.ff1));
  CHECK(bitsOf(actual.ff2) == bitsOf(expected.ff2));
  CHECK(bitsOf(actual.fb1) == bitsOf(expected.fb1));
  CHECK(bitsOf(actual.fb2) == bitsOf(expected.fb2));
  CHECK(bitsOf(actual.state1) == bitsOf(0.0));
  CHECK(bitsOf(actual.state2) == bitsOf(0.0));
}

void checkCurve(const ParamCurve& curve, int32_t kind, double lo, double hi, float scale, float centre) {
  CHECK(curve.coeffs == nullptr);
  CHECK(curve.kind == kind);
  CHECK(bitsOf(curve.lo) == bitsOf(lo));
  CHECK(bitsOf(curve.hi) == bitsOf(hi));
  CHECK(bitsOf(curve.scale) == bitsOf(scale));
  CHECK(bitsOf(curve.centre) == bitsOf(centre));
}

void checkPower(const ParamCurve& curve, float offset) {
  CHECK(bitsOf(curve.offset) == bitsOf(offset));
  CHECK(bitsOf(curve.exponent) == bitsOf(3.0f));
}

void checkSwitch(const ParamSwitch& fade, const RateRow& row, float value) {
  CHECK(fade.length == row.fadeLength);
  CHECK(bitsOf(fade.lengthExact) == bitsOf(static_cast<double>(row.fadeLength)));
  CHECK(bitsOf(fade.fadeTime) == bitsOf(0.016));
  CHECK(bitsOf(fade.sampleRate) == bitsOf(static_cast<double>(row.rate)));
  CHECK(bitsOf(fade.steadyGain) == bitsOf(1.0));
  CHECK(bitsOf(fade.lastValue) == bitsOf(value));
  CHECK(fade.position == 0);
  CHECK(fade.state == 0);
  CHECK(fade.lastBlockSize == 0);
}

// Counts its resumes; claims midi, so that the base's resume is heard at the host.
class ResumeCounter : public ExposedTreadshift {
public:
  using ExposedTreadshift::ExposedTreadshift;
  void resume() override {
    ++resumes;
    ExposedTreadshift::resume();
  }
  int canDo(char*) override { return 1; }

  int resumes = 0;
};

} // namespace

TEST_CASE("a constructed effect has built nothing and waits for a rate") {
  const ExposedTreadshift e;
  CHECK(bitsOf(e.rateHz) == bitsOf(-1.0));
  CHECK(e.rateHzInt == 44100);
  CHECK(e.firstBlock);
  CHECK(e.pedalSmoother == nullptr);
  CHECK(e.shiftFilter == nullptr);
  CHECK(e.sweepLfo == nullptr);
  for (const ParamCurve* curve : e.toneCurves)
    CHECK(curve == nullptr);
  CHECK(e.onOffSwitch == nullptr);
  CHECK(e.colorSwitch == nullptr);
  CHECK(e.delayLine == nullptr);
  CHECK(e.sweepBuffer == nullptr);
  CHECK(e.onOffGain == nullptr);
  CHECK(e.colorGain == nullptr);
  CHECK(!e.isBuilt());
}

TEST_CASE("a constructed effect has its constants, the unused ones too") {
  const ExposedTreadshift e;
  CHECK(bitsOf(e.halfPi) == bitsOf(1.57079632675));
  CHECK(bitsOf(e.centsToOctaves) == bitsOf(0.0008333333333333334));
  CHECK(bitsOf(e.centsToOctaves) == bitsOf(1.0 / 1200.0));
  CHECK(bitsOf(e.spareTime) == bitsOf(0.025));
  CHECK(bitsOf(e.spareLevel) == bitsOf(0.003162));
  CHECK(bitsOf(e.spareZero) == bitsOf(0.0));
}

TEST_CASE("a constructed effect plays program 0 and tells its channels and precision") {
  ExposedTreadshift e;
  CHECK(e.onOff == 1.0f);
  CHECK(e.mode == 0.0f);
  CHECK(e.tone == 0.8f);
  CHECK(e.color == 0.5f);
  CHECK(e.pedalPos == 0.0f);
  CHECK(e.currentProgram == 0);
  CHECK(e.getAeffect()->inputCount == 1);
  CHECK(e.getAeffect()->outputCount == 1);
  CHECK((e.getAeffect()->flags & 0x1000) != 0);
}

TEST_CASE("every length follows from the rate and only a whole rate of 48000 has its own tone bounds") {
  for (const RateRow& row : kRateRows) {
    CAPTURE(row.rate);
    ExposedTreadshift e;
    e.setSampleRate(row.rate);
    CHECK(e.isBuilt());
    CHECK(bitsOf(e.rateHz) == bitsOf(static_cast<double>(row.rate)));
    CHECK(e.rateHzInt == row.rateInt);
    CHECK(e.delayLength == row.delayLength);
    CHECK(bitsOf(e.minDelay) == bitsOf(0.005 * e.rateHz));
    CHECK(e.minDelay == doctest::Approx(row.minDelay).epsilon(1e-14));
    CHECK(bitsOf(e.tapPos1) == bitsOf(e.minDelay));
    CHECK(bitsOf(e.tapPos2) == bitsOf(e.minDelay));
    CHECK(e.sweepLength == row.sweepLength);
    CHECK(bitsOf(e.sweepLengthInv) == bitsOf(1.0 / row.sweepLength));
    CHECK(bitsOf(e.toneCurveSeed1) == bitsOf(0.998));
    CHECK(bitsOf(e.toneCurveSeed2) == bitsOf(row.lowPole));
    CHECK(bitsOf(e.toneCurveSeed3) == bitsOf(row.highPole));
    CHECK(bitsOf(e.toneCurveSeed4) == bitsOf(0.0));
  }
}

TEST_CASE("a rate builds the filters, the sweep, the curves and the switches") {
  for (const RateRow& row : kRateRows) {
    CAPTURE(row.rate);
    ExposedTreadshift e(row.rate, 0.25f, 0.5f, 0.75f, 0.5f);
    checkSameFilter(*e.pedalSmoother, 13, 5.0, row.rate);
    checkSameFilter(*e.shiftFilter, 0, 0.25 * static_cast<double>(row.rate), row.rate);
    CHECK(e.sweepLfo->smoothFreq == 0.0);
    CHECK(e.sweepLfo->startPhase == 0.0);
    CHECK(bitsOf(e.sweepLfo->sampleRate) == bitsOf(static_cast<double>(row.rate)));
    CHECK(e.sweepLfo->firstCall == 1);
    CHECK(e.sweepLfo->falling == 0);
    checkCurve(*e.toneCurves[0], 0, 0.998, row.lowPole, 1.0f, 0.0f);
    checkPower(*e.toneCurves[0], 0.0f);
    checkCurve(*e.toneCurves[1], 2, 0.0, row.highPole, 2.5f, 0.5f);
    checkCurve(*e.toneCurves[2], 0, 0.8, 0.45, -8.0f, 0.35f);
    checkPower(*e.toneCurves[2], 1.0f);
    checkCurve(*e.toneCurves[3], 0, 6.0, 0.0, 1.0f, 0.0f);
    checkPower(*e.toneCurves[3], 0.0f);
    checkSwitch(*e.onOffSwitch, row, 0.25f);
    checkSwitch(*e.colorSwitch, row, 0.75f);
    CHECK(e.onOffSwitch->valueCapacity == 1024); // the block size in force until a host announces one
    CHECK(e.colorSwitch->valueBuffer == nullptr);
  }
}

TEST_CASE("a rate silences the delay line and zeroes what runs") {
  ExposedTreadshift e;
  e.setSampleRate(44100.0f);
  CHECK(std::all_of(e.delayLine, e.delayLine + e.delayLength, [](double x) { return bitsOf(x) == 0; }));
  CHECK(e.writeIndex == 0);
  CHECK(e.lastBlockSize == 0);
  CHECK(e.lastTone == -1.0f);
  CHECK(e.lastPedal == 0.0);
  CHECK(e.lastSmoothedPedal == 0.0);
  for (int j = 0; j < 4; ++j) {
    CHECK(e.toneCoef[j] == 0.0);
    CHECK(e.prevToneCoef[j] == 0.0);
  }
  CHECK(e.toneLowState == 0.0);
  CHECK(e.toneHighState == 0.0);
  CHECK(e.firstBlock);
}

TEST_CASE("a rate derives the pitch of the live Color and PedalPos and never turns the sweep") {
  ExposedTreadshift e;
  e.setSampleRate(44100.0f); // row 4 at the heel
  CHECK(e.centsAtHeel == -1200.0);
  CHECK(e.centsAtToe == 1200.0);
  CHECK(e.mixMode == 3);
  CHECK(e.cents == -1200.0);
  CHECK(e.lastCents == -1200.0);
  CHECK(bitsOf(e.pitchRatio) == bitsOf(0.5));
  CHECK(bitsOf(e.sweepRate) == bitsOf(0.5 * 44100.0 * (1.0 / 2890)));
  CHECK(e.dryGain == 1.0);
  CHECK(e.wetGain == 1.0);
  CHECK(e.sweepLfo->falling == 0);
  e.setParameter(kPedalPos, 1.0f);
  e.setSampleRate(48000.0f); // from -1200 to +1200: no crossing, what was before is forgotten
  CHECK(e.cents == 1200.0);
  CHECK(e.lastCents == 1200.0);
  CHECK(bitsOf(e.pitchRatio) == bitsOf(2.0));
  CHECK(e.sweepLfo->falling == 0);
}

TEST_CASE("the rate in force does nothing at all: the delay line survives") {
  ExposedTreadshift e;
  e.setSampleRate(44100.0f);
  e.block(testSound(500));
  const std::vector<double> line(e.delayLine, e.delayLine + e.delayLength);
  const double* const place = e.delayLine;
  const long taken = allocations::taken();
  e.setSampleRate(44100.0f);
  CHECK(allocations::taken() == taken);
  CHECK(e.delayLine == place);
  CHECK(differences(e.delayLine, line.data(), e.delayLength) == 0);
  CHECK(e.lastBlockSize == 500);
}

TEST_CASE("set-up resumes through the table once per new rate, and the base's resume runs") {
  const ScriptedHost host;
  ResumeCounter e(ScriptedHost::callback);
  e.setSampleRate(44100.0f);
  CHECK(e.resumes == 1);
  REQUIRE(host.calls.size() == 1);
  CHECK(host.calls[0] == HostCall{e.getAeffect(), 6, 0, 1, nullptr, 0.0f});
  e.setSampleRate(44100.0f);
  CHECK(e.resumes == 1);
  e.setSampleRate(48000.0f);
  CHECK(e.resumes == 2);
}

TEST_CASE("the effect asks a host for nothing when it resumes") {
  const ScriptedHost host;
  ExposedTreadshift e(ScriptedHost::callback);
  e.setSampleRate(44100.0f);
  e.resume();
  CHECK(host.calls.empty());
}

TEST_CASE("the base class keeps its own rate") {
  ExposedTreadshift e;
  e.setSampleRate(96000.0f);
  CHECK(e.getSampleRate() == 44100.0f);
}

TEST_CASE(
    "a new rate rebuilds everything, keeps the block's arrays, and leaves nothing for the block to take") {
  ExposedTreadshift e;
  e.setSampleRate(44100.0f);
  e.block(testSound(64));
  const double* const sweep = e.sweepBuffer;
  e.setSampleRate(48000.0f);
  CHECK(e.sweepBuffer == sweep);
  CHECK(e.lastBlockSize == 0);
  CHECK(!e.firstBlock);
  const std::vector<double> input = testSound(64);
  std::vector<double> output(64);
  double* in[] = {const_cast<double*>(input.data())};
  double* out[] = {output.data()};
  const long taken = allocations::taken();
  e.processDoubleReplacing(in, out, 64);
  CHECK(allocations::taken() == taken);
}

TEST_CASE("an effect frees all it took, with a rate, without one, and after several") {
  const long before = allocations::live();
  { ExposedTreadshift e; }
  CHECK(allocations::live() == before);
  {
    ExposedTreadshift e;
    e.setSampleRate(44100.0f);
  }
  CHECK(allocations::live() == before);
  {
    ExposedTreadshift e;
    for (float rate : {44100.0f, 48000.0f, 10.0f, 96000.0f}) {
      e.setSampleRate(rate);
      e.block(testSound(100));
      e.block(testSound(50));
    }
    e.toneCurves[2]->setPolynomial(e.programs[0].values, 5); // coefficients are a curve's own
  }
  CHECK(allocations::live() == before);
}
