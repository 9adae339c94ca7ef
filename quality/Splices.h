// How often a shifter splices its sound.
#pragma once

#include "quality/Shifter.h"

#include <optional>

// A shifter that cuts the sound and lays the pieces over each other lets two of them sound at once; the level
// of a tone moves with their phases, once per splice. The rate is therefore that of the strongest line in the
// squared envelope. It is looked for in the one of a few close tones whose level moves most, because a tone
// that meets both pieces a quarter turn apart keeps its level. ratio: the intended one; it sets tone and
// length. Result: per second; nothing when the level moves by less than kLeastRippleDb, as it does without
// splices. Allocates.
std::optional<double> splicesPerSecond(const MakeShifter& make, double ratio);

inline constexpr double kLeastRippleDb = 1.0;
