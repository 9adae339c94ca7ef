// How loud the pedal can get at most, from what its parts do to the largest input sample.
#pragma once

// It holds within the limits of tests/property/Scenario.h. A little above a Tone of 1 the low branch has no
// bound any more. An output sample's largest magnitude when no input sample since the last sample rate was
// larger than `largestInput`. The sum of these, in the order of the sound's way:
// - A tap reads between two samples of the delay line: at most largestInput.
// - The crossfade weights of both taps add up to sqrt(2) at most, at the middle of the sweep, where the
//   polynomial that stands for the sine is off by less than 1e-5.
// - The shift filter is (1 + z^-1) / 2: the sum of its impulse response's magnitudes is 1. Then comes 1/2.
//   So y, what the tone filter hears, is at most largestInput * sqrt(2) / 2.
// - Low branch: low' = (1 - k1) * y + k1 * low with k1 in 0..0.998 is a mean of y and low: at most y. It is
//   heard twice, times k3, which lies between 0.45 + 0.35 * (1 - 8 * 0.65^3) and 0.45 + 0.35 * (1 + 8 *
//   0.35^3).
// - High branch: high' = (1 + k2) * y + k2 * high with k2 in 0..0.968 settles at (1 + k2) / (1 - k2) * y at
//   most. Its change from sample to sample, (1 + k2) * y - (1 - k2) * high, is heard times k4 in 0..6. As the
//   Tone moves, a high state made with the largest k2 may meet k2 = 0, hence a change of y + high.
// - Dry and shifted gain are p, 1 - p, or 1, so for the pedals allowed at most 1.5. Fades only make softer.
// - Each operation rounds: some hundred roundings of 2^-53 each are far below the millionth added.
double outputBound(double largestInput);
