// The record's processing entries. [audio]
#include "effect/Treadshift.h"

#include <algorithm>

void Treadshift::processReplacing(float**, float**, int) {}

void Treadshift::processDoubleReplacing(double** inputs, double** outputs, int frames) {
  if (!inputs || !outputs || !inputs[0] || !outputs[0]) return;
  const int32_t samples = std::max(frames, 0);
  const CriticalSectionHolder holder(lock);
  if (pedal.isReady() && pedal.reserve(samples)) // memory may be short: the next block tries again
    pedal.run(inputs[0], outputs[0], samples, settings());
  else
    std::copy_n(inputs[0], samples, outputs[0]);
}
