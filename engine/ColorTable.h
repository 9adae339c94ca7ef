// What each of the eight colours means: its pitch range and how it mixes dry and shifted sound.
#pragma once

#include "engine/RealTime.h"

#include <cstdint>

// Pitch range of a colour and the rule by which it mixes.
struct ColorRange {
  double centsAtHeel; // cents at pedal 0
  double centsAtToe;  // cents at pedal 1
  int32_t mixMode;    // 0 shifted only, 1 shifted fades to dry, 2 dry fades out, 3 both in full
};

// Linear gains of the unshifted and of the shifted sound.
struct MixGains {
  double dry;
  double wet;
};

// The row that a Color value selects: eight half-open steps of 0.125 from 0, so 0.125 itself selects row 1;
// below 0 row 0, above 1 and NaN row 7. [any thread] Allocates nothing.
int colorRow(float color) noexcept TREADSHIFT_REALTIME;

// The range of a row. row: 0..7, unchecked. [any thread] Allocates nothing.
const ColorRange& colorRange(int row) noexcept TREADSHIFT_REALTIME;

// The gains at a pedal position. mixMode: 0..3; any other is taken for 3. pedal: 0 heel .. 1 toe, unclamped.
// [any thread] Allocates nothing.
inline MixGains mixGains(int32_t mixMode, double pedal) noexcept {
  switch (mixMode) {
  case 0:
    return {0.0, 1.0};
  case 1:
    return {pedal, 1.0 - pedal};
  case 2:
    return {1.0 - pedal, 1.0};
  default:
    return {1.0, 1.0};
  }
}
