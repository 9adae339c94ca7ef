// The audio path: the frame of a block and of its chunks. [audio]
#include "effect/Treadshift.h"

#include "dsp/FlushToZero.h"
#include "effect/SharedField.h"
#include "effect/TapReader.h"

#include <algorithm>

namespace {

constexpr int32_t kCacheLineSamples = 8;

// Asks for the place of the next chunk while this one is worked on: the line is longer than the near caches,
// and what stands there was written two seconds ago.
void fetchLine(const double* place, int32_t samples) {
  for (int32_t i = 0; i < samples; i += kCacheLineSamples)
    __builtin_prefetch(place + i, 1);
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

// False: memory is short, and the next block tries again.
bool Treadshift::prepareBuffers(int32_t samples) noexcept {
  const int32_t held = std::min(scratchLength, onOffSwitch->valueCapacity);
  if (samples > held && !reserveBlockBuffers(samples)) return false;
  lastBlockSize = samples;
  return true;
}

// Parameters are read once here, so that one written during the block counts wholly in the next.
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

  block.silence = samples;
  block.fades = !onOffSwitch->rests(block.onOff) || !colorSwitch->rests(block.color);
  if (block.fades) {
    onOffSwitch->playOnOff(block.onOff, samples, onOffGain);
    block.silence = colorSwitch->playColor(block.color, samples, colorGain);
  }
  startSweep(sweepRate, 0, block);

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
  lastCents = centsAt(block.pedalPos);
  setColor();
  setPitch(block.pedalPos);
  pedalSmoother->state1 = (1.0 - pedalSmoother->fb1) * block.pedalPos / pedalSmoother->ff0;
  firstBlock = false;
}

void Treadshift::runSamples(const double* input, double* output, const BlockValues& block) {
  Chunk chunk;
  for (int32_t first = 0; first < block.samples; first += chunk.samples) {
    const double longestDelay = std::max({tapPos1, tapPos2, block.tapRestart});
    chunk.first = first;
    chunk.samples = chunkLength(first, block, longestDelay);
    chunk.input = delayLine + writeIndex;
    chunk.sweep = sweepBuffer + first;
    std::copy_n(input + first, chunk.samples, delayLine + writeIndex);
    fetchLine(delayLine + writeIndex + chunk.samples, chunk.samples);

    if (first == block.silence) switchColor(block);
    const bool steady = isSteady(block);
    if (!steady) followPedal(chunk, block);
    shiftChunk(chunk, longestDelay, steady, block);
    mixChunk(chunk, block, steady, output + first);
    writeIndex += chunk.samples;
    if (writeIndex == delayLength) writeIndex = 0;
  }
}

// A chunk ends at the end of the delay line, before the taps would reach around it into the chunk, and before
// the silent sample at which the colour changes.
int32_t Treadshift::chunkLength(int32_t first, const BlockValues& block, double longestDelay) const {
  const int32_t most = std::min({block.samples - first, Chunk::kLongest, delayLength - writeIndex,
                                 writableAhead(longestDelay, delayLength)});
  return block.silence > first ? std::min(most, block.silence - first) : most;
}

void Treadshift::endBlock(const BlockValues& block) {
  if (turnPending) sweepLfo->turnAround();
  std::copy_n(toneCoef, kToneCoefficients, prevToneCoef);
  lastPedal = block.pedalPos;
  lastTone = block.tone;
}
