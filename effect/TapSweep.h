// The motion of the two taps: their delays and the position of the crossfade between them.
#pragma once

#include "effect/Chunk.h"

#include <cstdint>

// Samples along which phase and delays change by the same amounts exactly: each is start + j * move, and the
// delays stay between the same two powers of two, from 1 sample on.
struct EvenStretch {
  int32_t samples; // 0: none
  double phase, phaseMove;
  double delay1, move1;
  double delay2, move2;
};

// The crossfade position at a phase: the triangle scaled to -1..1 and back. For phases below 0.25 the way
// there rounds. Number: a double or a vector of them.
template <typename Number> [[gnu::always_inline]] inline Number sweepAt(Number phase) {
  return (phase - 0.5) + 0.5;
}

// A working copy of the state that moves, for the length of a chunk. [audio] Allocates nothing.
struct TapSweep {
  double phase;    // of the triangle, 0..1
  uint8_t falling; // 1 while the triangle runs downward
  double delay1;   // samples
  double delay2;   // samples
  double minDelay; // samples: no tap comes closer
  double restart;  // samples: delay to which a tap jumps back

  // Writes sweep and delays of the chunk, each sample at its own phaseStep and pitchRatio.
  void follow(Chunk& chunk) noexcept;
  // The same for sample i alone.
  void followOne(int32_t i, double phaseStep, double pitchRatio, Chunk& chunk) noexcept;

  // The even stretch that begins here at constant speed, of `most` samples or less. It may be found shorter
  // than it is.
  EvenStretch evenStretch(double phaseStep, double pitchRatio, int32_t most) const noexcept;

  // Moves on behind the last sample of a stretch.
  void pass(const EvenStretch& stretch, double phaseStep, double pitchRatio) noexcept;

private:
  int32_t followFreely(int32_t i, Chunk& chunk) noexcept;
  bool jumpsSoon(const EvenStretch& stretch) const noexcept;
  void advance(double phaseStep, double pitchRatio) noexcept;
};
