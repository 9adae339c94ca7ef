// One oscillator's life as a script tells it.
#pragma once

#include "fuzz/ScriptBytes.h"

// Any shape, any rates, depths, offsets and block lengths; the sweep oscillator also rewound, turned around
// and walked sample by sample. Fed with finite numbers it must have its plain form's bits.
void playOscillator(ScriptBytes& script);
