#include "quality/PedalShifter.h"

#include "engine/PedalNumbers.h"
PedalShifter::PedalShifter(const std::string& modulePath, const PedalSetting& setting, Heard heard)
    : effect(modulePath), dry(heard == Heard::all ? 0.0 : dryGain(modulePath, setting)) {
  setParameter(kOnOff, 1.0);
  setParameter(kTone, setting.tone);
  setParameter(kColor, colorParameter(setting.color));
  setPedal(setting.pedal);
  effect.setBlockSize(kLongBlock);
  effect.setSampleRate(static_cast<float>(kRateHz));
  effect.resume();
}

double PedalShifter::dryGain(const std::string& modulePath, const PedalSetting& setting) {
  PedalShifter untouched(modulePath, setting, Heard::all);
  return untouched.play({1.0}, 1).front();
}

void PedalShifter::setPedal(double position) { setParameter(kPedalPos, position); }

void PedalShifter::setParameter(int index, double value) {
  effect.setParameter(index, static_cast<float>(value));
}

void PedalShifter::process(const double* input, double* output, int samples) {
  effect.process(input, output, samples);
  for (int n = 0; n < samples; ++n)
    output[n] -= dry * input[n];
}
