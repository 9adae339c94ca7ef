// The eight colours in a player's words, and the way between pedal and pitch.
#pragma once

#include "engine/PedalNumbers.h"

#include <string>
#include <string_view>

// How the dry and the bent sound come together, in words. [any thread] Allocates nothing.
std::string_view mixText(MixMode mixMode);

// The pedal, 0 heel .. 1 toe, at which the bent sound has a pitch in cents: centsAt the other way round.
// color: 0..7. cents: within the colour's range. [any thread] Allocates nothing.
double pedalFor(int color, double cents);

// The colours as a table of at most 80 columns: number, name, cents at heel and toe, mix. Ends with a line
// break. Allocates.
std::string colorList();
