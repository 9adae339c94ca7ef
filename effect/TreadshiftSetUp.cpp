// From the constructor to the destructor, and what a sample rate sets up. [host, processing stopped]
#include "effect/Treadshift.h"

#include "effect/SharedField.h"

namespace {

constexpr int kPrograms = 16;
constexpr int32_t kUniqueID = 0x4B585452; // 'KXTR'

// Samples: more than any host has in a block. A larger announcement is a slip, for which no memory is held.
constexpr int32_t kLargestReserve = 1 << 20;

} // namespace

Treadshift::Treadshift(HostCallback host) : Q_TypeBase(host, kPrograms, kParameterCount), programs(nullptr) {
  programs = new TreadshiftProgram[kPrograms];
  onOff = mode = tone = color = pedalPos = 1.0f;
  presentToHost();
}

// Takes the first program and fills the record.
void Treadshift::presentToHost() {
  setProgram(0L); // of the two overloads the one that makes the values live
  setNumInputs(1);
  setNumOutputs(1);
  setUniqueID(kUniqueID);
  canDoubleReplacing(true);
}

Treadshift::~Treadshift() { delete[] programs; }

void Treadshift::setSampleRate(float rate) {
  const double x = rate;
  if (x == pedal.rate() && (pedal.isReady() || !PitchPedal::canRun(x)))
    return; // in force, or as useless as before
  setUp(x);
  resume();
}

void Treadshift::setUp(double rate) { pedal.setRate(rate, settings(), announcedSamples()); }

int32_t Treadshift::announcedSamples() const { return blockSize <= kLargestReserve ? blockSize : 0; }

void Treadshift::setBlockSize(int samples) {
  Q_TypeBase::setBlockSize(samples);
  if (pedal.isReady()) pedal.reserve(announcedSamples());
}

void Treadshift::resume() {
  if (pedal.isReady() && !pedal.isFinite()) setUp(pedal.rate());
  pedal.clear();
  AudioEffectX::resume();
}

void Treadshift::setColor() { pedal.chooseColor(settings()); }

void Treadshift::setPitch(float position) { pedal.choosePitch(position); }

// Each parameter is read once for a block, so that one written during it counts wholly in the next.
PedalSettings Treadshift::settings() {
  return {loadShared(onOff), loadShared(tone), loadShared(color), loadShared(pedalPos)};
}
