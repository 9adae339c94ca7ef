#include "dsp/lfoBase.h"

#include <algorithm>
#include <new>

namespace treadshift {

lfoBase::lfoBase(double smoothFreq, double startPhase, double sampleRate)
    : smoothFreq(smoothFreq), startPhase(startPhase), sampleRate(sampleRate), value(0.0), step(0.0),
      invSampleRate(1.0 / sampleRate), lastRate(0.0), firstCall(1),
      phase(startPhase), phaseHistory{}, directionHistory{}, falling(0) {}

lfoBase::~lfoBase() = default;

double lfoBase::shaped(double wave, double upperDepth, double lowerDepth) {
  const double depth = wave > 0.0 ? upperDepth : lowerDepth;
  return std::clamp(depth * 10.0 * wave, -1.0, 1.0);
}

IIRFilter* lfoBase::newFilter(int32_t type, double freq) const {
  filterPrm_tag prm{};
  prm.type = type;
  prm.freq = freq;
  prm.sampleRate = sampleRate;
  return new (std::nothrow) IIRFilter(&prm);
}

void lfoBase::smoothValue(IIRFilter* filter) {
  if (smoothFreq > 0.0 && filter) filter->iirProcessing(&value);
  value = std::max(value, 0.0);
}

} // namespace treadshift
