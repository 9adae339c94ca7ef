// By how much a shifter moves the pitch.
#pragma once

#include "quality/Shifter.h"

#include <optional>

// The interval between splices, in cents. Where two pieces of a tone sound at once they pull each other's
// pitch, up or down with their phases, which come round once while the tone's frequency grows by the splice
// rate over |1 - ratio|. So kIntervalTones tones are spread evenly over that range: each one's pitch is the
// median of its instantaneous frequency, and in the mean of all the pull cancels. ratio: the intended one.
// spliceRate: per second, see splicesPerSecond. Allocates.
double measuredCents(const MakeShifter& make, double ratio, std::optional<double> spliceRate);

inline constexpr int kIntervalTones = 8;
