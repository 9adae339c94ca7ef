#include "Scenario.h"

#include "Random.h"
#include "Signal.h"
#include "engine/PedalNumbers.h"
#include "tests/support/NonFinite.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace {

enum class Flavour {
  General,
  LongBlock,   // one block longer than the oscillator's histories
  OutgrownTap, // a resting pedal lets a tap grow beyond the delay line
  NonFinite,   // infinities and not-a-numbers in parameters and input
  Bounded      // nothing that a pedal's sound outgrows
};

Flavour flavourOf(std::uint64_t number) {
  switch (number % 16) {
  case 3:
    return Flavour::LongBlock;
  case 11:
    return number % 32 == 11 ? Flavour::OutgrownTap : Flavour::General;
  case 15:
    return Flavour::NonFinite;
  default:
    return Flavour::General;
  }
}

class Player {
public:
  Player(std::uint64_t number, Flavour flavour, PedalPair& pedals);
  void play();
  void playFor(double seconds, const std::vector<float>& rates);

private:
  // How the pedal is moved during a phase.
  enum PedalPolicy { kRest, kJumps, kRamp, kLastBits, kToZero, kBeyondRange, kPedalPolicies };

  void playBeforeAnyRate();
  void setInitialParameters();
  void playPhase();
  void playLongBlock();
  void playOutgrownTap();

  void changeSomething();
  void changeRate();
  void changeProgram();
  void callAside();
  void movePedal();

  void setUsableRate(float value);
  void setPedal(float value);
  void setColor(float value) { pair.setParameter(kColor, value); }

  float usableRate();
  float unusableRate();
  float colorValue();
  float onOffValue();
  float toneValue();
  float pedalValue();
  int blockSize();

  void block(int n);
  bool finished() const { return pair.difference() || (samplesLeft <= 0 && secondsLeft <= 0.0); }

  PedalPair& pair;
  Flavour flavour;
  Random random;
  std::optional<Signal> signal;
  int samplesLeft = 0;
  double secondsLeft = 0.0;      // of audio
  std::vector<float> usualRates; // Hz; none: any
  float rate = 0.0f;             // Hz in force; 0: none that can be run
  float pedal = 0.0f;

  // one phase
  int fixedSize = 0; // 0: a new size at every call
  PedalPolicy pedalPolicy = kRest;
  int colorChance = 0, onOffChance = 0, toneChance = 0; // percent per block
};

Player::Player(std::uint64_t number, Flavour kind, PedalPair& pedals)
    : pair(pedals), flavour(kind), random(scenarioSeed(number)) {}

void Player::playFor(double seconds, const std::vector<float>& rates) {
  secondsLeft = seconds;
  usualRates = rates;
  setUsableRate(usableRate());
  while (!finished()) {
    if (!signal || random.chance(40)) signal.emplace(random, Signal::kBounded);
    playPhase();
  }
}

void Player::play() {
  signal.emplace(random, flavour == Flavour::NonFinite ? Signal::kNonFinite : Signal::kFinite);
  samplesLeft = 64 * random.octaveUniform(9);
  if (random.chance(10)) playBeforeAnyRate();
  if (random.chance(50)) setInitialParameters();
  if (flavour == Flavour::LongBlock) {
    playLongBlock();
  } else if (flavour == Flavour::OutgrownTap) {
    playOutgrownTap();
  } else {
    setUsableRate(usableRate());
    if (random.chance(60)) setInitialParameters();
  }
  while (!finished())
    playPhase();
}

void Player::playBeforeAnyRate() {
  if (random.chance(30)) pair.setSampleRate(-1.0f);
  if (random.chance(50)) pair.setSampleRate(unusableRate());
  const int blocks = 1 + random.below(3);
  for (int k = 0; k < blocks; ++k) {
    if (random.chance(30)) pair.resume();
    block(random.below(200));
    if (random.chance(50)) setInitialParameters();
  }
}

void Player::setInitialParameters() {
  const float onOff = onOffValue();
  if (random.chance(40)) pair.setParameter(kOnOff, onOff);
  if (random.chance(60)) pair.setParameter(kTone, toneValue());
  if (random.chance(70)) setColor(colorValue());
  if (random.chance(70)) setPedal(pedalValue());
}

void Player::playPhase() {
  fixedSize = random.chance(50) ? blockSize() : 0;
  pedalPolicy = static_cast<PedalPolicy>(random.below(kPedalPolicies));
  if (pedalPolicy == kBeyondRange && random.chance(70)) pedalPolicy = kRest;
  if (pedalPolicy == kToZero) setPedal(0.0f);
  colorChance = random.pick({0, 5, 20, 60});
  onOffChance = random.pick({0, 3, 10, 40});
  toneChance = random.pick({0, 5, 30});
  const int blocks = 1 + random.below(60);
  for (int k = 0; k < blocks && !finished(); ++k) {
    changeSomething();
    movePedal();
    block(fixedSize > 0 ? fixedSize : blockSize());
  }
}

void Player::playLongBlock() {
  setUsableRate(usableRate());
  setPedal(random.pick({0.0f, 0.5f, 1.0f, 0.3f, 0.7f}));
  setColor(colorValue());
  block(1 + random.below(300));
  if (random.chance(80)) setColor(colorValue());
  if (random.chance(40)) pair.setParameter(kOnOff, onOffValue());
  if (random.chance(50)) pair.setParameter(kTone, toneValue());
  if (random.chance(20)) setPedal(pedalValue());
  block(48001 + random.below(9000));
  samplesLeft = 64 * random.octaveUniform(5);
}

// From a row that rests at the heel (the sweep stands still) to one that falls by five octaves there: inside
// the block of the change the sweep keeps standing and the taps grow by 0.97 samples per sample.
void Player::playOutgrownTap() {
  setPedal(0.0f);
  setColor(random.pick({0.125f, 0.25f, 0.375f}));
  setUsableRate(random.pick({1000.0f, 2000.0f, 8000.0f, 11025.0f}));
  block(1 + random.below(300));
  setColor(random.pick({0.8f, 0.875f, 1.0f}));
  const int enough = static_cast<int>(2.15 * rate);
  block(enough + random.below(2000));
  samplesLeft = 64 * random.octaveUniform(5);
}

// ---- what a host does between two blocks

void Player::changeSomething() {
  if (random.chance(colorChance)) setColor(colorValue());
  if (random.chance(onOffChance)) pair.setParameter(kOnOff, onOffValue());
  if (random.chance(toneChance)) pair.setParameter(kTone, toneValue());
  if (random.chance(3)) pair.setParameter(kMode, static_cast<float>(random.unit()));
  if (random.chance(2)) changeProgram();
  if (random.chance(4)) callAside();
  if (random.chance(1)) changeRate();
}

void Player::changeRate() {
  const int luck = random.below(100);
  if (luck < 25) {
    pair.setSampleRate(rate);
  } else if (luck < 60) {
    const float before = rate;
    rate = 0.0f;
    pair.setSampleRate(unusableRate());
    if (random.chance(20)) pair.resume();
    block(random.below(100));
    setUsableRate(random.chance(50) ? before : usableRate());
  } else {
    setUsableRate(usableRate());
  }
}

void Player::changeProgram() {
  if (random.chance(25)) {
    pair.loadProgram(random.below(18) - 1);
    return;
  }
  pair.selectProgram(random.chance(70) ? random.below(16) : random.pick({-1, -7, 16, 99, INT32_MIN}));
  if (random.chance(70)) pair.setParameter(kTone, toneValue());
  if (random.chance(30)) setColor(colorValue());
}

void Player::callAside() {
  switch (random.below(4)) {
  case 0:
    pair.resume();
    break;
  case 1:
    pair.suspend();
    break;
  case 2:
    pair.setBlockSize(random.octaveUniform(12));
    break;
  default:
    pair.setParameter(random.pick({-1, 5, 6, 1000, INT32_MIN, INT32_MAX}), 0.25f);
  }
}

void Player::movePedal() {
  switch (pedalPolicy) {
  case kJumps:
    if (random.chance(15)) setPedal(pedalValue());
    break;
  case kRamp: {
    const float next = pedal + 0.01f * static_cast<float>(random.unit());
    setPedal(next > 1.0f ? 0.0f : next);
    break;
  }
  case kLastBits:
    if (random.chance(20)) setPedal(std::nextafter(pedal, random.chance(50) ? 2.0f : -1.0f));
    break;
  case kBeyondRange:
    if (random.chance(15))
      setPedal(flavour == Flavour::Bounded ? random.pick({static_cast<float>(kLowestPedal),
                                                          static_cast<float>(kHighestPedal), -0.0f, 1e-40f})
                                           : random.pick({-0.5f, -0.0f, 1.5f, 3.0f, -8.0f, 1e-40f, 1e30f}));
    break;
  default:
    break;
  }
}

void Player::setUsableRate(float value) {
  rate = value;
  pair.setSampleRate(value);
}

void Player::setPedal(float value) {
  pair.setParameter(kPedalPos, value);
  pedal = value;
}

// ---- values

// Half of them low, where fades and the smoother take few samples and much happens in little time.
float Player::usableRate() {
  if (!usualRates.empty()) return usualRates[random.below(static_cast<int>(usualRates.size()))];
  const int luck = random.below(100);
  if (luck < 45) return random.pick({62.5f, 1000.0f, 1000.0f, 8000.0f, 8000.0f, 11025.0f});
  if (luck < 85) {
    return random.pick({22050.0f, 44100.0f, 44100.5f, 48000.0f, 48000.5f, 88200.0f, 96000.0f, 192000.0f});
  }
  const int octave = random.below(11);
  return static_cast<float>((1 << octave) * 62.5 * (1.0 + random.unit()));
}

// 62.49999 Hz is the first below 62.5 at which a fade would have no sample; 2^30 Hz is where two seconds of
// samples pass the largest integer.
float Player::unusableRate() {
  return random.pick({0.0f, -0.0f, -1.0f, -44100.0f, 1.0f, 50.0f, std::nextafter(62.5f, 0.0f), 1e-40f,
                      0x1p30f, 3e9f, 1e38f, kInfinity, -kInfinity, kNaN});
}

float Player::colorValue() {
  if (flavour == Flavour::NonFinite && random.chance(5)) return random.pick({kNaN, kInfinity, -kInfinity});
  if (random.chance(3)) return random.pick({-0.5f, 1.5f, 100.0f, -0.0f});
  const float bound = 0.125f * static_cast<float>(random.below(9));
  switch (random.below(4)) {
  case 0:
    return bound;
  case 1:
    return std::nextafter(bound, -1.0f);
  case 2:
    return std::nextafter(bound, 2.0f);
  default:
    return static_cast<float>(random.unit());
  }
}

float Player::onOffValue() {
  if (flavour == Flavour::NonFinite && random.chance(5)) return kNaN;
  if (random.chance(10)) return random.pick({0.5f, 0.25f, std::nextafter(1.0f, 0.0f), 1.5f, -0.0f});
  return random.chance(60) ? 1.0f : 0.0f;
}

float Player::toneValue() {
  if (flavour == Flavour::NonFinite && random.chance(2)) return random.pick({kNaN, kInfinity});
  if (flavour != Flavour::Bounded && random.chance(8))
    return random.pick({-1.0f, -0.5f, 1.5f, 10.0f, 1e-40f});
  if (random.chance(30)) return random.pick({0.0f, 1.0f, 0.35f, 0.5f, 0.8f, std::nextafter(0.8f, 0.0f)});
  return static_cast<float>(random.unit());
}

float Player::pedalValue() {
  if (flavour == Flavour::NonFinite && random.chance(4)) return random.pick({kNaN, kInfinity, -kInfinity});
  if (random.chance(40)) return random.pick({0.0f, 1.0f, 0.5f, std::nextafter(0.5f, 1.0f), 1e-30f});
  return static_cast<float>(random.unit());
}

int Player::blockSize() {
  const int luck = random.below(100);
  if (luck < 3) return 0;
  if (luck < 4) return random.pick({-1, -64, INT32_MIN});
  if (luck < 30)
    return random.pick({1, 2, 3, 16, 32, 64, 64, 100, 128, 256, 441, 480, 512, 1024, 2048, 4096});
  return random.octaveUniform(12);
}

// ---- blocks

void Player::block(int n) {
  std::vector<double> input(std::max(n, 0));
  for (double& x : input)
    x = signal->next();
  samplesLeft -= std::max(n, 0);
  if (rate > 0.0f) secondsLeft -= std::max(n, 0) / static_cast<double>(rate);
  pair.process(input, n, random.chance(30));
}

} // namespace

void playScenario(std::uint64_t number, PedalPair& pair) { Player(number, flavourOf(number), pair).play(); }

void playBounded(std::uint64_t number, const std::vector<float>& rates, double seconds, PedalPair& pair) {
  Player(number, Flavour::Bounded, pair).playFor(seconds, rates);
}
