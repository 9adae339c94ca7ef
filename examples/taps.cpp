// Prints what the two taps of the engine do while a pedal stands at the toe of colour 2 (an octave up), then
// of colour 3 (two octaves down): time in ms, both delays in ms, both weights. script/taps draws it.
#include "engine/Block.h"
#include "engine/Crossfade.h"
#include "engine/Pitch.h"
#include "engine/Slice.h"
#include "engine/TapPair.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace {

constexpr double kRateHz = 48000.0;
constexpr double kMsPerSample = 1000.0 / kRateHz;
constexpr int32_t kSamples = 14400; // 300 ms
constexpr int32_t kPrinted = 48;    // every millisecond

void printTaps(int color) {
  Pitch pitch;
  pitch.prepare(kRateHz, TapPair::travelLength(kRateHz));
  pitch.chooseColor(colorParameter(color), 1.0f);
  pitch.choosePitch(1.0f);
  TapPair taps;
  taps.build(kRateHz);
  Block block{};
  block.samples = kSamples;
  taps.begin(block, pitch.rate(), pitch.isUpwards());
  Slice slice{};
  for (int32_t first = 0; first < kSamples; first += slice.samples) {
    slice.first = first;
    slice.samples = slice.bend = std::min(Slice::kLongest, kSamples - first);
    pitch.follow(slice);
    taps.follow(block, slice);
    for (int32_t i = 0; i < slice.samples; ++i)
      if ((first + i) % kPrinted == 0)
        std::printf("%.3f %.3f %.3f %.4f %.4f\n", (first + i) * kMsPerSample, slice.delay1[i] * kMsPerSample,
                    slice.delay2[i] * kMsPerSample, crossfadeWeight(slice.sweepBuffer[i]),
                    crossfadeWeight(1.0 - slice.sweepBuffer[i]));
  }
}

} // namespace

int main() {
  printTaps(2);
  std::printf("\n\n");
  printTaps(3);
}
