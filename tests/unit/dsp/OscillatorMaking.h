// Making every member of the family by its name.
#pragma once

#include "dsp/lfoShapes.h"
#include "dsp/lfoTriangle.h"
#include "tests/reference/PlainOscillator.h"

#include <memory>

inline std::unique_ptr<lfoBase> oscillator(Wave wave, double smoothFreq, double startPhase, double rateHz) {
  switch (wave) {
  case Wave::triangle:
    return std::make_unique<lfoTriangle>(smoothFreq, startPhase, rateHz);
  case Wave::sine:
    return std::make_unique<lfoSin>(smoothFreq, startPhase, rateHz);
  case Wave::halfSine:
    return std::make_unique<lfoHalfSin>(smoothFreq, startPhase, rateHz);
  case Wave::saw:
    return std::make_unique<lfoSaw>(smoothFreq, startPhase, rateHz);
  case Wave::reverseSaw:
    return std::make_unique<lfoRvSaw>(smoothFreq, startPhase, rateHz);
  case Wave::triangle2:
    return std::make_unique<lfoTriangle2>(smoothFreq, startPhase, rateHz);
  case Wave::rectangular:
    return std::make_unique<lfoRectangular>(smoothFreq, startPhase, rateHz);
  case Wave::random:
    return std::make_unique<lfoRand>(smoothFreq, startPhase, rateHz);
  }
  return nullptr;
}
