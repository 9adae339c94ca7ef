// What the shifters are given to hear. Every operation allocates.
#pragma once

#include "quality/Sound.h"

#include <array>

// The open strings of a guitar in standard tuning, Hz: E2 A2 D3 G3 B3 E4, equal temperament, A4 = 440 Hz.
inline constexpr std::array<double, 6> kOpenStringsHz = {82.41, 110.0, 146.83, 196.0, 246.94, 329.63};

// freqHz: below half the rate. samples: 0 or more. amplitude: linear.
Sound sine(double freqHz, int samples, double amplitude = 0.5);

// All tones at once, each of the same amplitude, starting at phases that keep the sum from peaking: they go
// with the square of the tone's number (M. R. Schroeder, "Synthesis of low-peak-factor signals and binary
// sequences with low autocorrelation", IEEE Trans. Information Theory 16, 1970).
Sound chord(const std::vector<double>& freqsHz, int samples, double amplitude = 0.1);

// Ones at every multiple of `interval` samples, from sample 0 on, zeros between. interval: 1 or more.
Sound impulses(int interval, int samples);

// The same value all the time.
Sound level(double value, int samples);
