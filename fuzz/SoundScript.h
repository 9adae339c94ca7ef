// Audio as a script tells it: a few bytes for any number of samples.
#pragma once

#include "fuzz/ScriptBytes.h"

// Fills samples with one kind of signal: silence, a level, a ramp, noise, impulses, denormals; some with one
// sample in them that is huge or no number. Allocates nothing.
void fillSound(ScriptBytes& script, double* samples, int count);
