// Design requests as tests write them.
#pragma once

#include "dsp/IIRFilter.h"

constexpr double kTestRate = 44100.0; // Hz

// Everything that a design can ask for, so that each type finds its own: edges of 900 and 2500 Hz, a Q of
// 0.8, +6 dB.
inline filterPrm_tag request(int32_t type, double freqHz, double rateHz = kTestRate) {
  return {type, freqHz, 900.0, 2500.0, 0.8, 6.0, rateHz};
}

inline IIRFilter designed(filterPrm_tag prm) { return IIRFilter(&prm); }
