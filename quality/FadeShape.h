// How the sound goes over from one state of a switch to the other.
#pragma once

#include "quality/Sound.h"

#include <string>

// Which switch is moved, from where to where.
struct SwitchMove {
  int parameter;   // its number in the record
  double from, to; // 0..1
};

// The gain over time around a switch, from a steady level through the module: 1 before and after, each side
// relative to its own steady level. The pedal rests where nothing is shifted.
class FadeShape {
public:
  // modulePath: see PedalShifter. Allocates.
  FadeShape(const std::string& modulePath, const SwitchMove& move);

  // By sample; the switch is moved before sample 0.
  const Sound& gains() const { return gain; }

  double outMs() const; // until the quietest moment
  double inMs() const;  // from there until the new sound stands within a ten-thousandth
  double lowest() const;

  // The farthest that the gain strays from straight lines down and up again, as a share of the steady level.
  double bend() const;

private:
  int quietest() const;
  int arrival() const;

  Sound gain;
};
