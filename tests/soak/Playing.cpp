#include "tests/soak/Playing.h"

#include "engine/PedalNumbers.h"
#include "tests/soak/OutputBound.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int kPrograms = 16;

constexpr int kLargestBlock = 4096;       // samples
constexpr int kProbeBlock = 32;           // samples
constexpr int kBlocksInPhase = 4000;      // at most, lest blocks of one sample take the whole day
constexpr double kLongestPhase = 10.0;    // s
constexpr double kChangesPerSecond = 2.5; // of anything but the pedal

} // namespace

Playing::Playing(std::uint64_t seed, std::vector<float> choice, PedalPair& pair)
    : random(seed), rates(std::move(choice)), pair(pair), sound(random) {}

void Playing::play(double seconds) {
  secondsLeft = seconds;
  setRate(rates[random.below(static_cast<int>(rates.size()))]);
  while (secondsLeft > 0.0 && !pair.difference())
    playPhase();
}

void Playing::playPhase() {
  startPhase();
  double phaseLeft = 0.2 + kLongestPhase * random.unit();
  for (int k = 0; k < kBlocksInPhase && phaseLeft > 0.0 && secondsLeft > 0.0 && !pair.difference(); ++k) {
    const int n = fixedSize > 0 ? fixedSize : blockSize();
    changeSomething(n);
    movePedal();
    block(n);
    phaseLeft -= n / static_cast<double>(rate);
  }
}

void Playing::startPhase() {
  if (random.chance(10)) setRate(rates[random.below(static_cast<int>(rates.size()))]);
  if (random.chance(40)) sound.change();
  gesture = static_cast<Gesture>(random.below(kGestures));
  fixedSize = random.chance(60) ? blockSize() : 0;
  const bool beyond = random.chance(5);
  lowest = beyond ? static_cast<float>(kLowestPedal) : 0.0f;
  highest = beyond ? static_cast<float>(kHighestPedal) : 1.0f;
  pedalSpeed = static_cast<float>(0.1 + 4.0 * random.unit());
  toneMoves = random.chance(15);
  if (gesture == kToHeel) set(kPedalPos, 0.0f);
}

int Playing::blockSize() { return random.chance(4) ? kLargestBlock : random.octaveUniform(12); }

// ---- what a host does between two blocks

void Playing::changeSomething(int n) {
  if (toneMoves) set(kTone, static_cast<float>(random.unit()));
  if (random.unit() < kChangesPerSecond * n / rate) changeOne();
}

void Playing::changeOne() {
  switch (random.below(12)) {
  case 0:
  case 1:
  case 2:
    set(kColor, 0.125f * static_cast<float>(random.below(9)));
    break;
  case 3:
    set(kColor, static_cast<float>(random.unit()));
    break;
  case 4:
  case 5:
    set(kOnOff, random.chance(60) ? 1.0f : 0.0f);
    break;
  case 6:
  case 7:
    set(kTone, random.pick({0.0f, 0.5f, 0.8f, 1.0f, static_cast<float>(random.unit())}));
    break;
  case 8:
    set(kMode, static_cast<float>(random.below(2)));
    break;
  case 9:
    changeProgram();
    break;
  case 10:
    ++played.resumes;
    pair.suspend();
    pair.resume();
    break;
  default:
    if (random.chance(50)) pair.setSampleRate(rate);
    pair.setBlockSize(random.octaveUniform(12));
  }
}

void Playing::changeProgram() {
  ++played.programs;
  if (random.chance(80)) {
    pair.selectProgram(random.below(kPrograms));
    return;
  }
  pair.loadProgram(random.below(kPrograms));
}

void Playing::movePedal() {
  switch (gesture) {
  case kSweep: {
    const float move = pedalSpeed * static_cast<float>(std::max<std::size_t>(input.size(), 1)) / rate;
    float next = pedal + move;
    if (!(next >= lowest && next <= highest)) {
      pedalSpeed = -pedalSpeed;
      next = std::clamp(next, lowest, highest);
    }
    set(kPedalPos, next);
    break;
  }
  case kJumps:
    if (random.chance(3)) set(kPedalPos, lowest + (highest - lowest) * static_cast<float>(random.unit()));
    break;
  case kWobble:
    if (random.chance(10))
      set(kPedalPos, std::clamp(std::nextafter(pedal, random.chance(50) ? 2.0f : -1.0f), lowest, highest));
    break;
  default:
    break;
  }
}

void Playing::set(int index, float value) {
  ++played.parameters;
  pair.setParameter(index, value);
  if (index == kPedalPos) pedal = value;
}

void Playing::setRate(float value) {
  if (value == rate) return;
  ++played.rates;
  rate = value;
  pair.setSampleRate(value);
}

void Playing::settle(float rateHz) {
  setRate(2.0f * rateHz);
  setRate(rateHz);
  pair.setBlockSize(kLargestBlock);
}

// ---- blocks

void Playing::block(int n) {
  input.resize(n);
  sound.play(input);
  secondsLeft -= n / static_cast<double>(rate);
  played.samples += n;
  ++played.blocks;
  pair.process(input, n, random.chance(30));
}

void Playing::probe() {
  const int total = static_cast<int>(rate) / 2;
  for (int done = 0; done < total; done += kProbeBlock) {
    input.assign(kProbeBlock, 0.0);
    input[0] = done == 0 ? 1.0 : 0.0;
    pair.process(input, kProbeBlock, false);
  }
}
