// Which colour and which pedal bend a note by a given interval.
#pragma once

#include "render/course/CourseRule.h"

#include <optional>

// What a player may write as an interval: a number with st (semitones) or c (cents), or 0. Its values are
// cents. color: 0..7, whose range the interval must keep to; nothing: the range of all colours together.
// Allocates.
CourseRule intervalRule(std::optional<int> color);

// The colour, 0..7, that takes all intervals from one to the other, in cents: a bent sound alone before a
// mix, then the smallest range, in which the pedal is finest, then the lower number. Nothing when no colour
// does. Any thread, allocates nothing.
std::optional<int> bestColor(double lowestCents, double highestCents);
