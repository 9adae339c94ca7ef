// Same bits as reading both taps sample by sample, faster: along a stretch, several samples at a time.
#pragma once

#include "dsp/ExactArithmetic.h"
#include "engine/Crossfade.h"
#include "engine/fast/Stretch.h"

#include <bit>
#include <cstdint>
#include <cstring>

// Numbers of neighbouring samples, as the compiler works on them together. Everything here is inlined into
// functions for a certain processor, which need not be the one that the module is built for.
template <int kLanes> struct Vector;
template <> struct Vector<2> {
  typedef double Numbers __attribute__((vector_size(16)));
  typedef int64_t Bits __attribute__((vector_size(16)));
  [[gnu::always_inline]] static Numbers steps(double start, double move) {
    return Numbers{start, start + move};
  }
};
template <> struct Vector<4> {
  typedef double Numbers __attribute__((vector_size(32)));
  typedef int64_t Bits __attribute__((vector_size(32)));
  [[gnu::always_inline]] static Numbers steps(double start, double move) {
    return Numbers{start, start + move, start + 2.0 * move, start + 3.0 * move};
  }
};

// One tap. All delays of a stretch have the same exponent, so their bits, taken as integers, move
// by equal steps too: where to read comes from a running fixed-point number, for which the integer units are
// free.
template <int kLanes> class StretchTap {
public:
  using Numbers = typename Vector<kLanes>::Numbers;

  // neighbour: the nearer one of the stretch's first sample. delay, move: samples.
  [[gnu::always_inline]] StretchTap(const double* neighbour, double delay, double move) noexcept
      : delays(Vector<kLanes>::steps(delay, move)), moves(kLanes * move - Numbers{}), place(neighbour) {
    const uint64_t bits = std::bit_cast<uint64_t>(delay);
    const uint64_t bitsMove = std::bit_cast<uint64_t>(delay + move) - bits;
    const int exponent = static_cast<int>(bits >> kFractionBits) - kExponentBias;
    wholeMask = static_cast<int64_t>(~0ULL << (kFractionBits - exponent)) - Bits{};
    position = kOne - 1 - (static_cast<int64_t>(bits << exponent) & (kOne - 1));
    positionMove = kOne - static_cast<int64_t>(bitsMove << exponent);
  }

  // readTap for the next samples; then moves on.
  [[gnu::always_inline]] Numbers read() noexcept {
    Numbers near, far;
    readNeighbours(near, far);
    const Numbers fraction = delays - (Numbers)((Bits)delays & wholeMask);
    delays += moves;
    return near + (far - near) * fraction;
  }

private:
  using Bits = typename Vector<kLanes>::Bits;
  using Pair = Vector<2>::Numbers; // the farther neighbour and the nearer one, as they stand in the line

  static constexpr int kFractionBits = 52;
  static constexpr int kExponentBias = 1023;
  static constexpr int64_t kOne = 1LL << kFractionBits;

  [[gnu::always_inline]] Pair nextPair() noexcept {
    Pair pair;
    std::memcpy(&pair, place + (position >> kFractionBits) - 1, sizeof pair);
    position += positionMove;
    return pair;
  }

  [[gnu::always_inline]] void readNeighbours(Numbers& near, Numbers& far) noexcept {
    const Pair a = nextPair();
    const Pair b = nextPair();
    if constexpr (kLanes == 2) {
      far = __builtin_shufflevector(a, b, 0, 2);
      near = __builtin_shufflevector(a, b, 1, 3);
    } else {
      const Pair c = nextPair();
      const Pair d = nextPair();
      const Numbers first = __builtin_shufflevector(a, c, 0, 1, 2, 3);
      const Numbers second = __builtin_shufflevector(b, d, 0, 1, 2, 3);
      far = __builtin_shufflevector(first, second, 0, 4, 2, 6);
      near = __builtin_shufflevector(first, second, 1, 5, 3, 7);
    }
  }

  Numbers delays, moves;          // samples
  Bits wholeMask;                 // leaves the whole samples of a delay
  const double* place;            // in the line
  int64_t position, positionMove; // samples from there, rounded up to whole ones by the shift; times kOne
};

// Both taps and the crossfade between them.
template <int kLanes> class StretchTaps {
public:
  // begin: the slice's sample at which the stretch begins.
  [[gnu::always_inline]] StretchTaps(const LineView& view, int32_t begin, const Stretch& stretch) noexcept
      : phases(Vector<kLanes>::steps(stretch.phase, stretch.phaseMove)),
        phaseMoves(kLanes * stretch.phaseMove - Numbers{}),
        tap1(view.neighbour(begin, stretch.delay1), stretch.delay1, stretch.move1),
        tap2(view.neighbour(begin, stretch.delay2), stretch.delay2, stretch.move2) {}

  // The next samples, a multiple of kLanes.
  [[gnu::always_inline]] void read(double* shifted, int32_t samples) noexcept {
    for (int32_t j = 0; j < samples; j += kLanes) {
      const Numbers position = crossfadeAt(phases);
      phases += phaseMoves;
      // One tap after the other, for the sake of the few registers: crossfaded() in its own order.
      const Numbers faded1 = crossfadeWeight(position) * tap1.read();
      const Numbers both = faded1 + crossfadeWeight(1.0 - position) * tap2.read();
      std::memcpy(shifted + j, &both, sizeof both);
    }
  }

private:
  using Numbers = typename Vector<kLanes>::Numbers;

  Numbers phases, phaseMoves;
  StretchTap<kLanes> tap1, tap2;
};
