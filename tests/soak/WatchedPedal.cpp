#include "tests/soak/WatchedPedal.h"

#include "tests/support/HeapCount.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

// Bytes are counted as they are asked for: what the C library makes of them changes with its state.
WatchedPedal::WatchedPedal(Pedal& watched, double bound) : pedal(watched), bound(bound) { startHeapCount(); }

template <typename Call> void WatchedPedal::watch(Call call) {
  const auto before = static_cast<std::int64_t>(heapLiveBytes());
  call();
  held += static_cast<std::int64_t>(heapLiveBytes()) - before;
}

void WatchedPedal::setSampleRate(float rateHz) {
  ++done.rates;
  watch([&] { pedal.setSampleRate(rateHz); });
}
void WatchedPedal::setBlockSize(int samples) {
  watch([&] { pedal.setBlockSize(samples); });
}
void WatchedPedal::resume() {
  ++done.resumes;
  watch([&] { pedal.resume(); });
}
void WatchedPedal::suspend() {
  watch([&] { pedal.suspend(); });
}
void WatchedPedal::setParameter(int index, float value) {
  ++done.parameters;
  watch([&] { pedal.setParameter(index, value); });
}
void WatchedPedal::selectProgram(int number) {
  ++done.programs;
  watch([&] { pedal.selectProgram(number); });
}
void WatchedPedal::loadProgram(int number) {
  ++done.programs;
  watch([&] { pedal.loadProgram(number); });
}

void WatchedPedal::process(const double* input, double* output, int n) {
  watch([&] { pedal.process(input, output, n); });
  for (int i = 0; i < n; ++i) {
    const double magnitude = std::fabs(output[i]);
    if (!(magnitude <= bound) && firstFault.empty()) { // not-a-numbers too
      char text[128];
      std::snprintf(text, sizeof text, "output sample %lld is %g, the bound is %g",
                    static_cast<long long>(done.samples + i), output[i], bound);
      firstFault = text;
    }
    peak = std::max(peak, magnitude);
  }
  done.samples += std::max(n, 0);
  ++done.blocks;
}

double WatchedPedal::takePeak() {
  const double taken = peak;
  peak = 0.0;
  return taken;
}
