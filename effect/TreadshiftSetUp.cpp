// From the constructor to the destructor, and everything that a sample rate builds.
// [host, processing stopped]
#include "effect/Treadshift.h"

#include "effect/SharedField.h"
#include "effect/WholeSamples.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>

namespace {

constexpr int kPrograms = 16;
constexpr int32_t kUniqueID = 0x4B585452; // 'KXTR'
constexpr int32_t kAssumedRate = 44100;   // Hz, until a host names one

constexpr double kMinDelaySeconds = 0.005;
constexpr double kSweepSeconds = 0.065535; // kept because the sweep's length is in the sound

constexpr double kPedalSmootherHz = 5.0;
constexpr double kShiftFilterPerRate = 0.25; // of the sample rate

// Only exactly 48000 Hz has bounds of its own; every other rate, 96000 Hz included, takes those of 44100.
constexpr int32_t kRateWithOwnBounds = 48000;

// Samples: more than any host has in a block. A larger announcement is a slip, for which no memory is held.
constexpr int32_t kLargestReserve = 1 << 20;

constexpr float kNoTone = -1.0f; // no Tone value: forces new targets

filterPrm_tag filterRequest(int32_t type, double freqHz, double rateHz) {
  return {type, freqHz, 0.0, 0.0, 1.0, 0.0, rateHz};
}

// Deletes and forgets, so that nothing is freed twice.
template <typename Object> void release(Object*& object) {
  delete object;
  object = nullptr;
}

template <typename Element> void releaseArray(Element*& array) {
  delete[] array;
  array = nullptr;
}

} // namespace

Treadshift::Treadshift(HostCallback host)
    : Q_TypeBase(host, kPrograms, kParameterCount), programs(nullptr), rateHzInt(kAssumedRate), rateHz(-1.0),
      delayLength(0), minDelay(0.0), sweepLength(0), sweepLengthInv(0.0), toneCurveSeed1(0.0),
      toneCurveSeed2(0.0), toneCurveSeed3(0.0), toneCurveSeed4(0.0), pedalSmoother(nullptr),
      shiftFilter(nullptr), sweepLfo(nullptr), toneCurves{}, onOffSwitch(nullptr), colorSwitch(nullptr),
      delayLine(nullptr), pitchPedal(0.0f), pitchRatio(1.0), firstBlock(true), tapPos1(0.0), tapPos2(0.0),
      sweepStart(0), turnPending(false), sweepBuffer(nullptr), onOffGain(nullptr), colorGain(nullptr),
      scratchLength(0), centsToOctaves(0.0008333333333333334), halfPi(1.57079632675), spareTime(0.025),
      spareLevel(0.003162) {
  zeroControlState();
  programs = new TreadshiftProgram[kPrograms];
  onOff = mode = tone = color = pedalPos = 1.0f;
  presentToHost();
}

void Treadshift::presentToHost() {
  setProgram(0L); // of the two overloads the one that makes the values live
  setNumInputs(1);
  setNumOutputs(1);
  setUniqueID(kUniqueID);
  canDoubleReplacing(true);
}

Treadshift::~Treadshift() {
  releaseArray(programs);
  releaseProcessing();
  releaseBlockBuffers();
}

void Treadshift::setSampleRate(float rate) {
  const double x = rate;
  if (x == rateHz && (isBuilt() || !canRun(x))) return; // in force, or as useless as before
  setUp(x);
  resume();
}

void Treadshift::setUp(double rate) {
  adoptRate(rate);
  releaseProcessing();
  if (canRun(rate)) {
    try {
      buildProcessing();
      reserveAnnounced();
    } catch (const std::bad_alloc&) {
      releaseProcessing();
    }
  }
  setColor();
  setPitch(loadShared(pedalPos));
}

void Treadshift::adoptRate(double rate) {
  rateHz = rate;
  rateHzInt = truncatedToInt32(rate);
  delayLength = doubled(rateHzInt);
  chooseToneBounds();
  pitchRatio = 1.0;
  minDelay = tapPos1 = tapPos2 = kMinDelaySeconds * rateHz;
  sweepLength = truncatedToInt32(kSweepSeconds * rateHz);
  sweepLengthInv = 1.0 / sweepLength;
  zeroControlState();
}

void Treadshift::chooseToneBounds() {
  const bool ownBounds = rateHzInt == kRateWithOwnBounds;
  toneCurveSeed1 = 0.998;
  toneCurveSeed2 = ownBounds ? 0.767 : 0.749;
  toneCurveSeed3 = ownBounds ? 0.968 : 0.965;
  toneCurveSeed4 = 0.0;
}

void Treadshift::zeroControlState() {
  lastBlockSize = 0;
  writeIndex = 0;
  mixMode = 0;
  cents = lastCents = centsAtToe = centsAtHeel = 0.0;
  lastPedal = lastSmoothedPedal = 0.0;
  for (int j = 0; j < kToneCoefficients; ++j)
    toneCoef[j] = prevToneCoef[j] = 0.0;
  toneLowState = toneHighState = 0.0;
  dryGain = wetGain = 0.0;
  sweepRate = 0.0;
  spareZero = 0.0;
  lastTone = kNoTone;
}

// A rate is usable when every length that follows from it has at least one sample; a rate beyond 32 bits
// has none.
bool Treadshift::canRun(double rate) const {
  return doubled(truncatedToInt32(rate)) >= 1 && truncatedToInt32(kSweepSeconds * rate) >= 1 &&
         ParamSwitch::fadeLength(rate) >= 1;
}

// The Color switch is built last.
bool Treadshift::isBuilt() const { return colorSwitch != nullptr; }

void Treadshift::buildProcessing() {
  delayLine = new double[delayLength];
  sweepLfo = new lfoTriangle(0.0, 0.0, rateHz);
  buildToneCurves();
  buildFilters();
  onOffSwitch = new ParamSwitch(rateHz, loadShared(onOff));
  colorSwitch = new ParamSwitch(rateHz, loadShared(color));
}

void Treadshift::buildToneCurves() {
  toneCurves[0] = new ParamCurve(ParamCurve::kPower, toneCurveSeed1, toneCurveSeed2, 1.0f, 0.0f, 0.0f, 3.0f);
  toneCurves[1] =
      new ParamCurve(ParamCurve::kArctangent, toneCurveSeed4, toneCurveSeed3, 2.5f, 0.5f, 0.0f, 0.0f);
  toneCurves[2] = new ParamCurve(ParamCurve::kPower, 0.8, 0.45, -8.0f, 0.35f, 1.0f, 3.0f);
  toneCurves[3] = new ParamCurve(ParamCurve::kPower, 6.0, 0.0, 1.0f, 0.0f, 0.0f, 3.0f);
}

void Treadshift::buildFilters() {
  filterPrm_tag smoother = filterRequest(kOnePoleSmoother, kPedalSmootherHz, rateHz);
  pedalSmoother = new IIRFilter(&smoother);
  filterPrm_tag lowPass = filterRequest(kLowPass1, kShiftFilterPerRate * rateHz, rateHz);
  shiftFilter = new IIRFilter(&lowPass);
}

void Treadshift::releaseProcessing() {
  release(sweepLfo);
  releaseArray(delayLine);
  for (ParamCurve*& curve : toneCurves)
    release(curve);
  release(pedalSmoother);
  release(shiftFilter);
  release(onOffSwitch);
  release(colorSwitch);
}

void Treadshift::reserveAnnounced() noexcept {
  if (blockSize <= kLargestReserve) reserveBlockBuffers(blockSize);
}

// The only allocations that the audio path can come to, for a block larger than announced. Arrays that are
// long enough stay, all stay when memory is short. [audio; host, processing stopped]
bool Treadshift::reserveBlockBuffers(int32_t samples) noexcept try {
  onOffSwitch->prepareValueBuffer(samples);
  if (samples <= scratchLength) return true;
  auto sweep = std::make_unique_for_overwrite<double[]>(samples);
  auto onOffGains = std::make_unique_for_overwrite<double[]>(samples);
  auto colorGains = std::make_unique_for_overwrite<double[]>(samples);
  releaseBlockBuffers();
  sweepBuffer = sweep.release();
  onOffGain = onOffGains.release();
  colorGain = colorGains.release();
  scratchLength = samples;
  return true;
} catch (const std::bad_alloc&) {
  return false;
}

void Treadshift::releaseBlockBuffers() {
  releaseArray(sweepBuffer);
  releaseArray(onOffGain);
  releaseArray(colorGain);
  scratchLength = 0;
}

void Treadshift::setBlockSize(int samples) {
  Q_TypeBase::setBlockSize(samples);
  if (isBuilt()) reserveAnnounced();
}

// A recursion that took in a value that is no number, or ran off to infinity, never comes back by itself.
bool Treadshift::isPoisoned() const {
  const double states[] = {
      pedalSmoother->state1, lastPedal,       lastSmoothedPedal, cents,   shiftFilter->state1,
      toneLowState,          toneHighState,   tapPos1,           tapPos2, prevToneCoef[0],
      prevToneCoef[1],       prevToneCoef[2], prevToneCoef[3]};
  return !std::ranges::all_of(states, [](double state) { return std::isfinite(state); });
}

void Treadshift::resume() {
  if (isBuilt() && isPoisoned()) setUp(rateHz);
  if (delayLine) std::memset(delayLine, 0, sizeof(double) * static_cast<std::size_t>(delayLength));
  AudioEffectX::resume();
}
