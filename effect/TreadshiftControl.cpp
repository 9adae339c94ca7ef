// From parameters to pitch, gains and tone: everything slower than a sample.
// [audio; host, processing stopped]
#include "effect/Treadshift.h"

#include "dsp/PowersOfTwo.h"
#include "effect/ColorTable.h"
#include "effect/SharedField.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace {

constexpr double kNearPedal = 0x1p-36; // relative: between the spacings of float and double

bool sameBits(float a, float b) { return std::bit_cast<uint32_t>(a) == std::bit_cast<uint32_t>(b); }
bool sameBits(double a, double b) { return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b); }

// The smoother's next state. Inlined by every build: a call in 32 bits hands its result back in an x87
// register, from which clang narrows it to a float without flush-to-zero.
[[gnu::always_inline]] inline double smoothed(const IIRFilter& smoother, double state, double pedal) {
  return smoother.ff0 * state + smoother.fb1 * pedal;
}

} // namespace

void Treadshift::setColor() {
  const ColorRange& range = colorRange(colorRow(loadShared(color)));
  centsAtHeel = range.centsAtHeel;
  centsAtToe = range.centsAtToe;
  mixMode = range.mixMode;
  setMixGains(loadShared(pedalPos));
}

// Turning around keeps the crossfade continuous while the taps change from shortening to lengthening.
void Treadshift::setPitch(float pedal) {
  if (movePitch(pedal) && sweepLfo) sweepLfo->turnAround();
}

bool Treadshift::movePitch(float pedal) {
  bendPitch(pedal);
  const bool crossesZero = (lastCents > 0.0 && cents < 0.0) || (lastCents < 0.0 && cents > 0.0);
  settlePitch();
  return crossesZero;
}

void Treadshift::bendPitch(float pedal) {
  pitchPedal = pedal;
  cents = centsAt(pedal);
  pitchRatio = std::pow(2.0, cents * centsToOctaves);
}

double Treadshift::centsAt(double pedal) const { return centsAtHeel + (centsAtToe - centsAtHeel) * pedal; }

void Treadshift::settlePitch() {
  sweepRate = sweepRateFor(pitchRatio);
  setMixGains(pitchPedal);
  lastCents = cents;
}

// A sweep's period is the time in which a tap travels sweepLength samples.
double Treadshift::sweepRateFor(double ratio) const {
  return std::abs(1.0 - ratio) * rateHz * sweepLengthInv;
}

void Treadshift::setMixGains(double pedal) {
  const MixGains gains = mixGains(mixMode, pedal);
  dryGain = gains.dry;
  wetGain = gains.wet;
}

void Treadshift::setToneTargets(float toneValue) {
  for (int j = 0; j < kToneCoefficients; ++j)
    toneCoef[j] = toneCurves[j]->evaluate(toneValue);
}

// A Color fade-in starts with a gain of 0: there the new colour comes in, at the pedal's raw position.
void Treadshift::switchColor(const BlockValues& block) {
  setColor();
  turnPending ^= movePitch(block.pedalPos);
}

// True when no later sample of the block can change pitch, gains or the sweep's rate, but for a new colour.
bool Treadshift::isSteady(const BlockValues& block) const {
  return block.pedalStep == 0.0 && sweepLfo->isLevel() && (pedalRests(block) || pedalHolds(block));
}

// True when the smoother has arrived, to the bit: then no sample moves the pedal.
bool Treadshift::pedalRests(const BlockValues& block) const {
  const double state = pedalSmoother->state1;
  const double next = smoothed(*pedalSmoother, state, lastPedal + 0.0 * block.pedalStep);
  return sameBits(next, state) && next == lastSmoothedPedal;
}

// True when the smoother moves on only inside the doubles that narrow to the float whose pitch is in force:
// every sample sets that pitch and runs the sweep anew, to no effect while its rate is that pitch's.
bool Treadshift::pedalHolds(const BlockValues& block) const {
  if (turnPending || sweepLfo->lastRate != sweepRate) return false; // a new run makes a difference
  const double pedal = lastPedal + 0.0 * block.pedalStep;
  const double state = pedalSmoother->state1;
  const double next = smoothed(*pedalSmoother, state, pedal);
  // Rounding keeps order and the pole is positive, so from between two states that move towards each other,
  // or stay, the smoother never leads out.
  const double margin = std::abs(pedal) * kNearPedal;
  const double low = std::min(next, pedal - margin);
  const double high = std::max(next, pedal + margin);
  return pedalSmoother->ff0 > 0.0 && smoothed(*pedalSmoother, low, pedal) >= low &&
         smoothed(*pedalSmoother, high, pedal) <= high && sameBits(static_cast<float>(low), pitchPedal) &&
         sameBits(static_cast<float>(high), pitchPedal);
}

// Several short loops instead of one: the processor works on several powers at once only if little hangs on
// each.
void Treadshift::followPedal(Chunk& chunk, const BlockValues& block) {
  const bool alwaysMoves = followPitch(chunk, block);
  followGains(chunk);
  if (alwaysMoves)
    followEveryRate(chunk, block);
  else
    followRate(chunk, block);
}

// True when every sample moves the pedal.
bool Treadshift::followPitch(Chunk& chunk, const BlockValues& block) {
  const int32_t bent = followSmoother(chunk, block);
  std::fill_n(chunk.pitchRatio, bent, pitchRatio);
  bendPitches(chunk, bent);
  settlePitch();
  return std::find(chunk.moved, chunk.moved + chunk.samples, false) == chunk.moved + chunk.samples;
}

// A pedal that narrows to the float of the latest pitch has that pitch. Result: the first sample whose pitch
// is another one.
int32_t Treadshift::followSmoother(Chunk& chunk, const BlockValues& block) {
  int32_t bent = chunk.samples;
  double pedal = pedalSmoother->state1;
  for (int32_t i = 0; i < chunk.samples; ++i) {
    pedal = smoothed(*pedalSmoother, pedal, lastPedal + (chunk.first + i) * block.pedalStep);
    const float narrowed = static_cast<float>(pedal);
    chunk.moved[i] = pedal != lastSmoothedPedal;
    if (chunk.moved[i] && !sameBits(narrowed, pitchPedal)) {
      pitchPedal = narrowed;
      bent = std::min(bent, i);
    }
    lastSmoothedPedal = pedal;
    chunk.pedal[i] = pitchPedal;
  }
  pedalSmoother->state1 = pedal;
  return bent;
}

// The same as bendPitch for each sample from the first that is bent.
void Treadshift::bendPitches(Chunk& chunk, int32_t bent) {
  if (bent == chunk.samples) return;
  for (int32_t i = bent; i < chunk.samples; ++i)
    chunk.pitchRatio[i] = centsAt(chunk.pedal[i]) * centsToOctaves;
  powersOfTwo(chunk.pitchRatio + bent, chunk.samples - bent);
  cents = centsAt(pitchPedal);
  pitchRatio = chunk.pitchRatio[chunk.samples - 1];
}

void Treadshift::followGains(Chunk& chunk) const {
  bool amplified = false;
  for (int32_t i = 0; i < chunk.samples; ++i) {
    const MixGains gains = mixGains(mixMode, chunk.pedal[i]);
    chunk.dry[i] = gains.dry;
    chunk.wet[i] = gains.wet;
    amplified |= !(std::fabs(gains.dry) <= 1.0);
  }
  chunk.dryIsAmplified = amplified;
}

// Every move of the pedal starts a new glide of the sweep to the end of the block.
void Treadshift::followRate(Chunk& chunk, const BlockValues& block) {
  for (int32_t i = 0; i < chunk.samples; ++i) {
    const int32_t inBlock = chunk.first + i;
    chunk.phaseStep[i] = chunk.moved[i] ? startSweep(sweepRateFor(chunk.pitchRatio[i]), inBlock, block)
                                        : sweepLfo->glideStep(inBlock - sweepStart);
  }
}

// The same when every sample moves the pedal: of each glide but the last one only the first step is played,
// and the next one starts from the rate it was bound for.
void Treadshift::followEveryRate(Chunk& chunk, const BlockValues& block) {
  const int32_t last = chunk.samples - 1;
  chunk.sweepRate[0] = sweepLfo->lastRate;
  for (int32_t i = 0; i <= last; ++i)
    chunk.sweepRate[i + 1] = sweepRateFor(chunk.pitchRatio[i]);
  for (int32_t i = 0; i < last; ++i)
    chunk.phaseStep[i] = sweepLfo->firstStep(chunk.sweepRate[i], chunk.sweepRate[i + 1] - chunk.sweepRate[i]);
  sweepLfo->lastRate = chunk.sweepRate[last];
  chunk.phaseStep[last] = startSweep(chunk.sweepRate[last + 1], chunk.first + last, block);
}

// Lets the sweep glide to a rate from sample i to the end of the block. Result: its step at sample i.
double Treadshift::startSweep(double rate, int32_t i, const BlockValues& block) {
  sweepStart = i;
  turnPending = false;
  return sweepLfo->startGlide(rate, block.samples - i);
}
