// The discrete Fourier transform of whole sounds.
#pragma once

#include "quality/Sound.h"

#include <complex>

using Bins = std::vector<std::complex<double>>;

// Of a sound, from 0 Hz to half the rate: size / 2 + 1 bins, sums that are not divided by the length. The
// sound has an even length of 2 or more. Allocates.
Bins transform(const Sound& sound);

// The sound whose bins above 0 Hz and below half the rate count twice and whose negative frequencies are
// nothing: the inverse transform with the length divided out. size: of the sound that the bins came from.
// Allocates.
std::vector<std::complex<double>> oneSidedInverse(const Bins& bins, int size);
