#include "PlainPedal.h"

#include "tests/support/ControlWord.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace {

constexpr int kHistoryLength = 48000; // samples that the module's oscillator remembers
constexpr double kSweepSeconds = 0.065535;
constexpr double kFadeSeconds = 0.016;
constexpr double kMinDelaySeconds = 0.005;
constexpr double kCentsToOctaves = 1.0 / 1200.0;
constexpr double kDepth = 0.1; // the oscillator's plain triangle

struct ColorRow {
  double heel, toe; // cents
  int mixMode;
};
constexpr ColorRow kColorRows[8] = {{-100, 0, 1},     {0, 50, 3},     {0, 1200, 0},     {0, -2400, 0},
                                    {-1200, 1200, 3}, {-700, 500, 3}, {-6000, 1200, 2}, {-6000, 1200, 3}};

int rowOf(float color) {
  for (int row = 0; row < 7; ++row) {
    if (color < 0.125 * (row + 1)) return row;
  }
  return 7;
}

// Every length must be at least one sample and fit its integer.
bool canRun(double rateHz) {
  if (!std::isfinite(rateHz) || rateHz >= 0x1p30) return false;
  return std::floor(kFadeSeconds * rateHz) >= 1 && std::trunc(kSweepSeconds * rateHz) >= 1 &&
         std::trunc(rateHz) >= 1;
}

double crossfadeWeight(double x) {
  const double xx = x * x;
  return x * (1.570791011 + xx * (-0.6458928493 + xx * (0.0794343442 + xx * -0.004333095)));
}

PlainFilter makeFilter(int type, double freq, double rateHz) {
  PlainFilterRequest request{type, freq, 0.0, 0.0, 1.0, 0.0, rateHz};
  return PlainFilter(request);
}

int modulo(int a, int length) {
  const int rest = a % length;
  return rest < 0 ? rest + length : rest;
}

PlainEvent resetEvent(int tap, bool up) {
  if (tap == 1) return up ? PlainEvent::Tap1ResetUp : PlainEvent::Tap1ResetDown;
  return up ? PlainEvent::Tap2ResetUp : PlainEvent::Tap2ResetDown;
}

// By its bits: under flush-to-zero a comparison may take it for zero.
bool isDenormal(double x) {
  const auto bits = std::bit_cast<std::uint64_t>(x) & ~(1ULL << 63);
  return bits != 0 && bits < 1ULL << 52;
}

} // namespace

[[gnu::noinline]] float narrowed(double x) { return static_cast<float>(x); }

// ---- parameters and programs

void PlainPedal::setParameter(int index, float value) {
  if (index < 0 || index > 4) return;
  if (currentProgram >= 0 && currentProgram < 16) {
    programs[currentProgram].values[index] = value;
  } else {
    events.count(PlainEvent::ParameterWithoutProgram);
  }
  if (index == 0) onOff = value;
  if (index == 1) mode = value;
  if (index == 2) tone = value;
  if (index == 3) color = value;
  if (index == 4) pedalPos = value;
}

float PlainPedal::parameter(int index) const {
  const float values[] = {onOff, mode, tone, color, pedalPos};
  return values[index];
}

void PlainPedal::selectProgram(int number) {
  if (number < 16) currentProgram = number;
}

void PlainPedal::loadProgram(int number) {
  if (number < 0 || number > 15) return;
  events.count(PlainEvent::ProgramLoaded);
  currentProgram = number;
  for (int index = 0; index < 5; ++index)
    setParameter(index, programs[number].values[index]);
}

// ---- set-up

void PlainPedal::setSampleRate(float rate) {
  const double x = rate;
  if (x == rateHz) {
    events.count(PlainEvent::SameRateAgain);
    return;
  }
  const bool wasUnusable = rateHz != -1.0 && !running;
  rateHz = x;
  running = canRun(x);
  if (!running) {
    events.count(PlainEvent::UnusableRate);
    return;
  }
  events.count(PlainEvent::SetUp);
  if (!firstBlock) events.count(PlainEvent::SetUpAfterFirstBlock);
  if (wasUnusable) events.count(PlainEvent::SetUpAfterUnusableRate);
  setUp();
}

void PlainPedal::setUp() {
  delayLength = 2 * static_cast<int>(rateHz);
  pitchRatio = 1.0;
  minDelay = tapPos1 = tapPos2 = kMinDelaySeconds * rateHz;
  writeIndex = 0;
  mixMode = 0;
  sweepLength = static_cast<int>(kSweepSeconds * rateHz);
  sweepLengthInv = 1.0 / sweepLength;
  cents = lastCents = lastPedal = lastSmoothedPedal = 0.0;
  for (int j = 0; j < 4; ++j)
    toneCoef[j] = prevToneCoef[j] = 0.0;
  toneLow = toneHigh = dryGain = wetGain = centsAtToe = centsAtHeel = 0.0;
  sweepRate = 0.0;

  sweep.emplace(0.0, 0.0, rateHz);
  setUpToneCurves();
  lastTone = -1.0f;
  pedalSmoother = makeFilter(13, 5.0, rateHz);
  shiftFilter = makeFilter(0, 0.25 * rateHz, rateHz);
  setUpSwitch(onOffSwitch, onOff);
  setUpSwitch(colorSwitch, color);

  setColor();
  setPitch(pedalPos);
  delayLine.assign(delayLength, 0.0);
}

void PlainPedal::setUpToneCurves() {
  const bool at48k = static_cast<int>(rateHz) == 48000;
  curves = {{0, 0.998, at48k ? 0.767 : 0.749, 1.0f, 0.0f, 0.0f, 3.0f},
            {2, 0.0, at48k ? 0.968 : 0.965, 2.5f, 0.5f, 0.0f, 0.0f},
            {0, 0.8, 0.45, -8.0f, 0.35f, 1.0f, 3.0f},
            {0, 6.0, 0.0, 1.0f, 0.0f, 0.0f, 3.0f}};
}

void PlainPedal::setUpSwitch(FadeSwitch& fade, float value) const {
  fade = FadeSwitch();
  fade.length = static_cast<int>(std::floor(kFadeSeconds * rateHz));
  const double inv = 1.0 / fade.length;
  for (int k = 0; k < fade.length; ++k) {
    fade.fadeIn.push_back(k * inv);
    fade.fadeOut.push_back((fade.length - k) * inv);
  }
  fade.lastValue = value;
}

bool PlainPedal::isSpoilt() const {
  for (const double state : {lastPedal, lastSmoothedPedal, pedalSmoother->state1, cents, tapPos1, tapPos2,
                             shiftFilter->state1, toneLow, toneHigh})
    if (!std::isfinite(state)) return true;
  for (const double coefficient : prevToneCoef)
    if (!std::isfinite(coefficient)) return true;
  return false;
}

void PlainPedal::resume() {
  if (running) events.count(PlainEvent::Resume);
  if (running && isSpoilt()) {
    events.count(PlainEvent::ResumeOfSpoilt);
    setUp();
  }
  std::fill(delayLine.begin(), delayLine.end(), 0.0);
}

// ---- control

void PlainPedal::setColor() {
  const int row = rowOf(color);
  events.count(PlainEvent::Row0, row);
  centsAtHeel = kColorRows[row].heel;
  centsAtToe = kColorRows[row].toe;
  mixMode = kColorRows[row].mixMode;
  setGains(pedalPos);
}

void PlainPedal::setGains(double p) {
  if (mixMode == 0) {
    dryGain = 0;
    wetGain = 1;
  } else if (mixMode == 1) {
    dryGain = p;
    wetGain = 1 - p;
  } else if (mixMode == 2) {
    dryGain = 1 - p;
    wetGain = 1;
  } else {
    dryGain = 1;
    wetGain = 1;
  }
}

// Answers whether the sweep was turned round.
bool PlainPedal::setPitch(float pedal) {
  const double p = pedal;
  cents = centsAtHeel + (centsAtToe - centsAtHeel) * p;
  const bool crossed = (lastCents > 0 && cents < 0) || (lastCents < 0 && cents > 0);
  if (crossed) sweep->falling = !sweep->falling;
  pitchRatio = std::pow(2.0, cents * kCentsToOctaves);
  sweepRate = std::fabs(1 - pitchRatio) * rateHz * sweepLengthInv;
  setGains(p);
  lastCents = cents;
  return crossed;
}

double PlainPedal::toneCoefficient(const Curve& curve, float t) {
  const float x = curve.lo < curve.hi ? 1 - t : t;
  float f;
  if (curve.kind == 0) {
    const float fromCentre = x - curve.centre;
    const double power = std::pow(static_cast<double>(fromCentre), static_cast<double>(curve.exponent));
    f = static_cast<float>(static_cast<double>(curve.offset) + static_cast<double>(curve.scale) * power);
  } else {
    const float inner = 2 * curve.scale * (x - curve.centre);
    const double outer = std::atan(static_cast<double>(inner));
    // A 32-bit library function leaves more than single precision in its register; memory rounds it.
    const volatile float edgeInSingle = std::atan(curve.scale);
    const double edge = edgeInSingle;
    f = static_cast<float>((outer + edge) / (2 * edge));
  }
  const float lo = static_cast<float>(curve.lo);
  const float hi = static_cast<float>(curve.hi);
  const float bottom = std::min(lo, hi);
  const float top = std::max(lo, hi);
  const float result = bottom + f * (top - bottom);
  return result;
}

// ---- one block

void PlainPedal::process(const double* input, double* output, int n) {
  if (n == 0) events.count(PlainEvent::EmptyBlock);
  if (n < 0) events.count(PlainEvent::NegativeBlock);
  if (n == 1) events.count(PlainEvent::OneSampleBlock);
  if (n > kHistoryLength) events.count(PlainEvent::BlockBeyondHistories);
  n = std::max(n, 0);
  if (!running) {
    events.count(PlainEvent::PassThroughBlock);
    for (int i = 0; i < n; ++i)
      output[i] = input[i];
    return;
  }
  const unsigned saved = word::read();
  word::write(saved | word::kFlush);
  processFlushed(input, output, n);
  word::write(saved);
}

void PlainPedal::updateTone() {
  if (tone != lastTone) {
    events.count(PlainEvent::ToneUpdate);
    for (int j = 0; j < 4; ++j)
      toneCoef[j] = toneCoefficient(curves[j], tone);
  } else if (toneCoef[0] == 0.0) {
    events.count(PlainEvent::ToneNeverComputed);
  }
}

void PlainPedal::startFirstBlock() {
  onOffSwitch.lastValue = onOff;
  colorSwitch.lastValue = color;
  lastPedal = pedalPos;
  lastCents = centsAtHeel + (centsAtToe - centsAtHeel) * pedalPos;
  setColor();
  if (setPitch(pedalPos)) events.count(PlainEvent::FirstBlockFlip);
  const double g = pedalSmoother->fb1;
  const double f = pedalSmoother->ff0;
  pedalSmoother->state1 = (1 - g) * pedalPos / f;
  firstBlock = false;
}

// A value that changed in a fade turns On/Off back at once; Color is looked at again when it is silent.
void PlainPedal::noteChange(FadeSwitch& fade, float value, PlainEvent whenIdle) {
  if (value == fade.lastValue) return;
  events.count(whenIdle, fade.state);
  if (fade.state == 0) fade.changesInFade = 0;
  const int thirdInFade = 3; // stands behind those for the three states
  if (++fade.changesInFade == 3) events.count(whenIdle, thirdInFade);
  if (fade.state == 0 || whenIdle == PlainEvent::OnOffChangeIdle) fade.state = 1;
}

// The gain of the next sample.
double PlainPedal::nextGain(FadeSwitch& fade) {
  if (fade.state == 0) return fade.idleGain;
  const double gain = fade.state == 1 ? fade.fadeOut[fade.position] : fade.fadeIn[fade.position];
  ++fade.position;
  if (fade.position == fade.length) {
    fade.position = 0;
    fade.state = fade.state == 1 ? 2 : 0;
  }
  return gain;
}

void PlainPedal::playSwitches(int n) {
  noteChange(onOffSwitch, onOff, PlainEvent::OnOffChangeIdle);
  noteChange(colorSwitch, color, PlainEvent::ColorChangeIdle);
  onOffGain.clear();
  onOffValue.clear();
  colorGain.clear();
  for (int i = 0; i < n; ++i) {
    const bool onOldSide = onOffSwitch.state == 1;
    onOffValue.push_back(onOldSide ? (onOff == 1.0f ? 0.0f : 1.0f) : onOff);
    onOffGain.push_back(nextGain(onOffSwitch));
    colorGain.push_back(nextGain(colorSwitch));
  }
  onOffSwitch.lastValue = onOff;
  colorSwitch.lastValue = color;
}

double PlainPedal::readTap(double delay) {
  const int d = static_cast<int>(delay);
  if (d >= delayLength) events.count(PlainEvent::TapOutgrewDelayLine);
  const int a = modulo(writeIndex - d, delayLength);
  const int b = modulo(writeIndex - d - 1, delayLength);
  return delayLine[a] + (delayLine[b] - delayLine[a]) * (delay - d);
}

double PlainPedal::advanceTap(double delay) {
  const double moved = delay + 1 - pitchRatio;
  if (moved >= minDelay) return moved;
  events.count(PlainEvent::TapHeldAtMinimum);
  return delay;
}

// A function of its own, never inlined: the arithmetic must not move out from between the two writes of the
// control word.
[[gnu::noinline]] void PlainPedal::processFlushed(const double* input, double* output, int n) {
  const int onOffStateBefore = onOffSwitch.state;
  const int colorStateBefore = colorSwitch.state;
  updateTone();
  if (firstBlock) startFirstBlock();

  const double inv = n >= 2 ? 1.0 / (n - 1) : 0.0;
  double toneStep[4];
  for (int j = 0; j < 4; ++j)
    toneStep[j] = (toneCoef[j] - prevToneCoef[j]) * inv;
  const double pedalStep = (pedalPos - lastPedal) * inv;

  playSwitches(n);
  sweep->start(sweepRate, kDepth, kDepth, n, 0);
  const bool pitchUp = cents > 0;
  if (n > 0) events.count(PlainEvent::IdleIdle, 3 * onOffStateBefore + colorStateBefore);

  bool flipStands = false;
  bool switchedOver = false;
  bool wasMoving = false;
  for (int i = 0; i < n; ++i) {
    sweep->playTo(i);
    if (colorGain[i] <= 0.0) {
      events.count(PlainEvent::SwitchOver);
      switchedOver = true;
      sweep->finish(); // what turns round is the sweep as it stands at the end of the block
      setColor();
      flipStands = setPitch(pedalPos);
    }

    double r = lastPedal + i * pedalStep;
    r = pedalSmoother->run(r);
    if (r != lastSmoothedPedal) {
      events.count(PlainEvent::Rewind);
      if (i >= kHistoryLength) events.count(PlainEvent::RewindBeyondHistories);
      if (flipStands) events.count(PlainEvent::SwitchOverFlipRewound);
      if (switchedOver) events.count(PlainEvent::SwitchOverThenRewind);
      flipStands = switchedOver = false;
      wasMoving = true;

      if (setPitch(narrowed(r))) events.count(PlainEvent::PedalFlipOverwritten);
      sweep->falling = sweep->directionHistory[i];
      sweep->phase = sweep->phaseHistory[i];
      sweep->start(sweepRate, kDepth, kDepth, n - i, i);
      sweep->playTo(i);
    } else if (wasMoving) {
      events.count(PlainEvent::PedalCameToRest);
      wasMoving = false;
    }
    lastSmoothedPedal = r;

    const double s = sweep->values[i];
    const double u = 1 - s;
    if (s == 0.0) {
      events.count(resetEvent(1, pitchUp));
      tapPos1 = minDelay + (pitchUp ? sweepLength : 0);
    }
    if (u == 0.0) {
      events.count(resetEvent(2, pitchUp));
      tapPos2 = minDelay + (pitchUp ? sweepLength : 0);
    }

    const double x = input[i];
    delayLine[writeIndex] = x;
    const double tap1 = readTap(tapPos1);
    const double tap2 = readTap(tapPos2);
    double shifted = crossfadeWeight(s) * tap1 + crossfadeWeight(u) * tap2;
    tapPos1 = advanceTap(tapPos1);
    tapPos2 = advanceTap(tapPos2);

    shifted = shiftFilter->run(shifted);
    const double y = shifted * 0.5;
    double k[4];
    for (int j = 0; j < 4; ++j)
      k[j] = prevToneCoef[j] + i * toneStep[j];
    const double low = toneLow;
    const double high = toneHigh;
    toneLow = y + k[0] * (low - y);
    toneHigh = y + k[1] * (high + y);
    const double toned = k[2] * (low + toneLow) + k[3] * (toneHigh - high);

    if (onOffValue[i] == 1.0f) {
      events.count(PlainEvent::OnSample);
      output[i] = colorGain[i] * onOffGain[i] * (dryGain * delayLine[writeIndex] + wetGain * toned);
    } else {
      events.count(PlainEvent::OffSample);
      output[i] = onOffGain[i] * x;
      if (isDenormal(x) && output[i] == 0.0) events.count(PlainEvent::DenormalInputFlushed);
    }
    if (std::isnan(output[i])) {
      events.count(PlainEvent::NotANumber);
    } else if (std::isfinite(output[i]) && output[i] != 0.0) {
      events.count(PlainEvent::PlainNumber);
    }

    ++writeIndex;
    if (writeIndex == delayLength) writeIndex = 0;
  }

  sweep->finish();
  if (flipStands) events.count(PlainEvent::SwitchOverFlipKept);
  if (n > 0 && pitchUp != (cents > 0)) events.count(PlainEvent::PitchChangedSignInBlock);
  for (int j = 0; j < 4; ++j)
    prevToneCoef[j] = toneCoef[j];
  lastPedal = pedalPos;
  lastTone = tone;
}
