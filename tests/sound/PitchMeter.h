// Measures the pitch of crossfaded tones between two splices.
#pragma once

#include <vector>

// What fits best: the pitch, and how much of the sound's power it leaves unexplained (0..1).
struct PitchReading {
  double cents; // off the expected frequency
  double residual;
};

// Two taps carry the same tone at different phases, so the phase of their sum drifts while the weights
// move, and its instantaneous frequency is the tone's only where one tap is alone. Between two splices the
// sum is w(s) times one sine plus w(1 - s) times another of the same frequency: the reading is the
// frequency for which such a sum, phases and levels free, fits best. It is searched within `range` cents
// of the expected one.
// sound, sweep: samples and crossfade positions of a stretch without a splice.
PitchReading readPitch(const std::vector<double>& sound, const std::vector<double>& sweep, double expectedHz,
                       double rateHz, double range = 150.0);
