// What a shifter makes of the open strings of a guitar, each played as a sine by itself.
#pragma once

#include "quality/Shifter.h"

#include <optional>

struct StringSounds {
  double rippleDb;       // worst string: see AnalyticSignal::rippleDb
  double meanRippleDb;   // mean of the strings
  double sidebandDb;     // worst string: see LineSpectrum::strongestSidebandDb
  double meanSidebandDb; // mean of the strings, of the decibels
  double offCents;       // worst string: from the intended pitch to the strongest line, without sign
};

// ratio: the intended one. Strings whose shifted pitch lies below kLowestStringHz are left out: the pieces
// would hold less than a period or two of them. Result: nothing when all are left out. Allocates.
std::optional<StringSounds> stringSounds(const MakeShifter& make, double ratio);

inline constexpr double kLowestStringHz = 40.0;

// Of the six strings at once, the share of the power that lies within a quarter tone of their intended
// pitches: 0..1. The rest sounds as other notes. Allocates.
double chordShare(const MakeShifter& make, double ratio);
