// Making every member of the family by its name.
#pragma once

#include "PlainOscillator.h"
#include "dsp/lfoShapes.h"
#include "dsp/lfoTriangle.h"

#include <memory>

inline lfoBase* newOscillator(Wave wave, double smoothFreq, double startPhase, double rateHz) {
  switch (wave) {
  case Wave::triangle:
    return new lfoTriangle(smoothFreq, startPhase, rateHz);
  case Wave::sine:
    return new lfoSin(smoothFreq, startPhase, rateHz);
  case Wave::halfSine:
    return new lfoHalfSin(smoothFreq, startPhase, rateHz);
  case Wave::saw:
    return new lfoSaw(smoothFreq, startPhase, rateHz);
  case Wave::reverseSaw:
    return new lfoRvSaw(smoothFreq, startPhase, rateHz);
  case Wave::triangle2:
    return new lfoTriangle2(smoothFreq, startPhase, rateHz);
  case Wave::rectangular:
    return new lfoRectangular(smoothFreq, startPhase, rateHz);
  case Wave::random:
    return new lfoRand(smoothFreq, startPhase, rateHz);
  }
  return nullptr;
}

inline std::unique_ptr<lfoBase> oscillator(Wave wave, double smoothFreq, double startPhase, double rateHz) {
  return std::unique_ptr<lfoBase>(newOscillator(wave, smoothFreq, startPhase, rateHz));
}
