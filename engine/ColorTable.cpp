#include "engine/ColorTable.h"

namespace {

constexpr int kRows = 8;
constexpr float kRowWidth = 0.125f;

constexpr ColorRange kRanges[kRows] = {
    {-100.0, 0.0, 1},     // a slight detune that gives way to the dry sound
    {0.0, 50.0, 3},       // a quarter tone up beside the dry sound
    {0.0, 1200.0, 0},     // an octave up
    {0.0, -2400.0, 0},    // two octaves down, on purpose between upward rows
    {-1200.0, 1200.0, 3}, // an octave down to an octave up
    {-700.0, 500.0, 3},   // a fifth down to a fourth up
    {-6000.0, 1200.0, 2}, // a dive of five octaves; dry fades out towards the toe
    {-6000.0, 1200.0, 3}, // the same dive beside the dry sound
};

} // namespace

int colorRow(float color) noexcept {
  int row = 0;
  while (row < kRows - 1 && !(color < static_cast<float>(row + 1) * kRowWidth))
    ++row;
  return row;
}

const ColorRange& colorRange(int row) noexcept { return kRanges[row]; }
