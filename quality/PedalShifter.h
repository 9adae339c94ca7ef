// The built module, driven through its record.
#pragma once

#include "host/EffectRunner.h"
#include "quality/Shifter.h"

#include <string>

inline constexpr int kUnshifted = 2; // the colour that sounds shifted only and starts at no shift

// How the pedal stands.
struct PedalSetting {
  int color;         // 0..7
  double pedal;      // 0 heel .. 1 toe
  double tone = 0.5; // 0..1
};

enum class Heard {
  all,        // what the module says
  shiftedOnly // less the dry sound, as loud as it is at the first pedal position
};

class PedalShifter : public Shifter {
public:
  // modulePath: the module's file. Throws EffectError when it yields no effect. Allocates.
  PedalShifter(const std::string& modulePath, const PedalSetting& setting, Heard heard);

  void setPedal(double position) override;

  // Any parameter by its number in the record. value: 0..1.
  void setParameter(int index, double value);

  // How loud the dry sound is beside the shifted one, linear. Nothing shifted comes back within a sample, so
  // it is the first answer to an impulse, taken from an effect of its own. Allocates.
  static double dryGain(const std::string& modulePath, const PedalSetting& setting);

protected:
  void process(const double* input, double* output, int samples) override;

private:
  EffectRunner effect;
  double dry; // linear: what is taken away
};
