// The audio path: the frame of a block and the steps of a sample. [audio]
#include "effect/Treadshift.h"

#include "dsp/FlushToZero.h"
#include "effect/SharedField.h"
#include "effect/TapReader.h"

#include <algorithm>
#include <new>

namespace {

constexpr double kPlainTriangle = 0.1; // depth at which the sweep's output is its phase
constexpr float kOn = 1.0f;

// Makes an array of `samples`, or leaves none.
void remake(double*& buffer, int32_t samples) {
  delete[] buffer;
  buffer = nullptr;
  buffer = new double[samples];
}

} // namespace

void Treadshift::processReplacing(float**, float**, int) {}

void Treadshift::processDoubleReplacing(double** inputs, double** outputs, int frames) {
  if (!inputs || !outputs || !inputs[0] || !outputs[0]) return;
  const int32_t samples = std::max(frames, 0);
  const CriticalSectionHolder holder(lock);
  if (!isBuilt() || !prepareBuffers(samples)) {
    std::copy_n(inputs[0], samples, outputs[0]);
    return;
  }
  const FlushToZero flush; // after the lock, so that the word is restored before unlocking
  const BlockValues block = beginBlock(samples);
  runSamples(inputs[0], outputs[0], block);
  endBlock(block);
}

// The only allocations of the audio path, made when the block size changes. False: memory is short, and the
// next block tries again.
bool Treadshift::prepareBuffers(int32_t samples) noexcept try {
  if (samples != lastBlockSize) {
    lastBlockSize = 0;
    remake(sweepBuffer, samples);
    remake(onOffGain, samples);
    remake(colorGain, samples);
    sweepLfo->reserveHistory(samples);
    lastBlockSize = samples;
  }
  onOffSwitch->prepareValueBuffer(samples);
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

// Parameters are read once here, so that one written during the block counts wholly in the next; only a
// Color switch-over reads Color and PedalPos anew.
Treadshift::BlockValues Treadshift::beginBlock(int32_t samples) {
  BlockValues block{};
  block.samples = samples;
  block.onOff = loadShared(onOff);
  block.color = loadShared(color);
  block.tone = loadShared(tone);
  block.pedalPos = loadShared(pedalPos);

  if (block.tone != lastTone) setToneTargets(block.tone);
  if (firstBlock) beginFirstBlock(block);

  const double inv = samples >= 2 ? 1.0 / (samples - 1) : 0.0;
  for (int j = 0; j < kToneCoefficients; ++j)
    block.toneStep[j] = (toneCoef[j] - prevToneCoef[j]) * inv;
  block.pedalStep = (block.pedalPos - lastPedal) * inv;

  onOffSwitch->playOnOff(block.onOff, samples, onOffGain);
  colorSwitch->playColor(block.color, samples, colorGain);
  runSweepFrom(0, block);

  // Upwards a tap starts long and shrinks, downwards it starts short and grows. The direction at the start
  // of the block holds for all of it, even if the pitch changes sign inside.
  block.tapRestart = minDelay + (cents > 0.0 ? sweepLength : 0);
  return block;
}

// The first block starts settled: no fade, no pedal ramp, a smoother at rest.
void Treadshift::beginFirstBlock(const BlockValues& block) {
  onOffSwitch->lastValue = block.onOff;
  colorSwitch->lastValue = block.color;
  lastPedal = block.pedalPos;
  lastCents = centsAtHeel + (centsAtToe - centsAtHeel) * block.pedalPos;
  setColor();
  setPitch(block.pedalPos);
  pedalSmoother->state1 = (1.0 - pedalSmoother->fb1) * block.pedalPos / pedalSmoother->ff0;
  firstBlock = false;
}

void Treadshift::runSamples(const double* input, double* output, const BlockValues& block) {
  for (int32_t i = 0; i < block.samples; ++i) {
    const double x = input[i]; // before output[i] is written: both may be the same array
    switchColorAtSilence(i, block);
    movePedal(i, block);
    const double sweep = sweepBuffer[i];
    restartSilentTaps(sweep, block);
    delayLine[writeIndex] = x;
    double shifted = readTaps(sweep);
    advanceTaps();
    shiftFilter->iirProcessing(&shifted);
    const double toned = filterTone(shifted * 0.5, i, block);
    output[i] = mixOutput(x, toned, i);
    if (++writeIndex == delayLength) writeIndex = 0;
  }
}

// A Color fade-in starts with a gain of 0: there the new colour comes in, at the pedal's raw position.
void Treadshift::switchColorAtSilence(int32_t i, const BlockValues& block) {
  if (colorGain[i] > 0.0) return;
  setColor();
  setPitch(block.pedalPos);
}

void Treadshift::movePedal(int32_t i, const BlockValues& block) {
  double pedal = lastPedal + i * block.pedalStep;
  pedalSmoother->iirProcessing(&pedal);
  if (pedal != lastSmoothedPedal) {
    setPitch(static_cast<float>(pedal));
    sweepLfo->rewind(i); // undoes a turn that setPitch may just have made
    runSweepFrom(i, block);
  }
  lastSmoothedPedal = pedal;
}

// Fills the sweep from sample i to the end of the block at the present rate.
void Treadshift::runSweepFrom(int32_t i, const BlockValues& block) {
  sweepLfo->Excute(sweepRate, kPlainTriangle, kPlainTriangle, block.samples - i, sweepBuffer + i, i);
}

// A tap jumps only where its own weight is zero, so that the jump is not heard.
void Treadshift::restartSilentTaps(double sweep, const BlockValues& block) {
  if (sweep == 0.0) tapPos1 = block.tapRestart;
  if (1.0 - sweep == 0.0) tapPos2 = block.tapRestart;
}

double Treadshift::readTaps(double sweep) const {
  const double tap1 = readTap(delayLine, delayLength, writeIndex, tapPos1);
  const double tap2 = readTap(delayLine, delayLength, writeIndex, tapPos2);
  return crossfadeWeight(sweep) * tap1 + crossfadeWeight(1.0 - sweep) * tap2;
}

// A tap that would come closer than the shortest delay stays where it is; one that lengthens has no bound.
void Treadshift::advanceTaps() {
  for (double* tap : {&tapPos1, &tapPos2}) {
    const double next = *tap + 1.0 - pitchRatio;
    if (next >= minDelay) *tap = next;
  }
}

// Two one-pole branches side by side, with poles k[0] and k[1]. Their signs differ on purpose: the high
// branch adds the input to its previous state where the low one subtracts it.
double Treadshift::filterTone(double x, int32_t i, const BlockValues& block) {
  double k[kToneCoefficients];
  for (int j = 0; j < kToneCoefficients; ++j)
    k[j] = prevToneCoef[j] + i * block.toneStep[j];
  const double low = toneLowState;
  const double high = toneHighState;
  toneLowState = x + k[0] * (low - x);
  toneHighState = x + k[1] * (high + x);
  return k[2] * (low + toneLowState) + k[3] * (toneHighState - high);
}

// The multiplications by gains of exactly 1 or 0 stay: flush-to-zero and signed zeros act on them.
double Treadshift::mixOutput(double input, double toned, int32_t i) const {
  if (onOffSwitch->valueBuffer[i] == kOn)
    return colorGain[i] * onOffGain[i] * (dryGain * input + wetGain * toned);
  return onOffGain[i] * input;
}

void Treadshift::endBlock(const BlockValues& block) {
  std::copy_n(toneCoef, kToneCoefficients, prevToneCoef);
  lastPedal = block.pedalPos;
  lastTone = block.tone;
}
