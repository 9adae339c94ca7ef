// How long the bent sound takes, measured on the module itself.
#pragma once

#include "render/course/Controls.h"

#include <optional>
#include <string>

// The bent sound comes late by an amount that moves all the time, for its pitch is bent by moving it.
struct Latency {
  double shortest;     // seconds behind the dry sound: 1 % of the bent sound's energy is there by then
  double average;      // seconds, weighted with the energy
  double longest;      // seconds: 99 % of the energy is there by then
  int reportedSamples; // what the module tells a host
};

// Sends impulses through an effect of its own, switched on, with the pedal at the heel, in the middle and at
// the toe, the other controls as they stand at time 0, and looks when each comes back; what comes back within
// a millisecond is the dry sound. Nothing when no bent sound comes. Throws Fault (couldNot) when the module
// yields no effect. Allocates.
std::optional<Latency> measureLatency(const std::string& modulePath, const Controls& controls, int rateHz);
