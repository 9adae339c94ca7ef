// The crossfade between the two taps.
#pragma once

// The crossfade position at a phase of the sweep, 0..1: the triangle scaled to -1..1 and back. The sum takes
// nothing back that the difference took: below 0.25 the way there rounds, and phases below 2^-54 become 0,
// where a tap jumps. Number: a double or a vector of them. [audio]
template <typename Number> [[gnu::always_inline]] inline Number crossfadeAt(Number phase) noexcept {
  return (phase - 0.5) + 0.5;
}

// Equal-power weight sin(pi/2 x) of a position x of 0..1, by a polynomial of seventh degree (of the form that
// Hastings tabulates, Approximations for Digital Computers, 1955), so that two taps at x and 1 - x keep their
// common power. Number: a double or a vector of them. [audio]
template <typename Number> [[gnu::always_inline]] inline Number crossfadeWeight(Number x) noexcept {
  const Number x2 = x * x;
  return x * (1.570791011 + x2 * (-0.6458928493 + x2 * (0.0794343442 + x2 * -0.004333095)));
}

// Both taps at a crossfade position: at 1 the first alone, at 0 the second. [audio]
template <typename Number>
[[gnu::always_inline]] inline Number crossfaded(Number position, Number tap1, Number tap2) noexcept {
  return crossfadeWeight(position) * tap1 + crossfadeWeight(1.0 - position) * tap2;
}
