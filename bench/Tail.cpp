#include "bench/Tail.h"

#include "bench/Signal.h"
#include "dsp/FlushToZero.h"
#include "dsp/IIRFilter.h"

#include <algorithm>

namespace {

constexpr double kSmootherHz = 5.0;
constexpr int64_t kRampSamples = 64;
constexpr int64_t kLongestTail = 30 * 48000; // samples; the decay to 0 takes some 22.5 s

} // namespace

Tail findTail(float from, float to) {
  const FlushToZero flush;
  filterPrm_tag request{kOnePoleSmoother, kSmootherHz, 0.0, 0.0, 1.0, 0.0, kBenchRateHz};
  IIRFilter smoother(&request);
  double smoothed = from;
  smoother.state1 = (1.0 - smoother.fb1) * from / smoother.ff0;
  Tail tail{0, 0};
  for (int64_t i = 0; i < kLongestTail; ++i) {
    const double ramp = std::min(1.0, static_cast<double>(i) / (kRampSamples - 1));
    double next = from + (to - from) * ramp;
    smoother.iirProcessing(&next);
    if (static_cast<float>(next) != static_cast<float>(smoothed)) tail.start = i + 1;
    if (next != smoothed) tail.end = i + 1;
    smoothed = next;
  }
  return tail;
}
