#include "render/job/DryGain.h"

#include "render/text/Fault.h"

#include <algorithm>

namespace {

constexpr double kShortestDelaySeconds = 0.0049; // the taps keep 5 ms away

// What got as far as the effect's filters would ring on after it is forgotten.
int framesToForget(int blockFrames, int rateHz) {
  const int delay = static_cast<int>(kShortestDelaySeconds * rateHz);
  if (blockFrames <= delay) return delay / blockFrames * blockFrames;
  throw Fault(ExitStatus::couldNot, "--wet", {},
              "in blocks of " + std::to_string(blockFrames) + " samples at " + std::to_string(rateHz) +
                  " Hz the dry sound cannot be told from the bent one",
              delay < 1 ? "44100 or 48000 Hz work well"
                        : "give --block " + std::to_string(delay) + " or less");
}

} // namespace

DryGain::DryGain(const std::string& modulePath, const Controls& courses, int rateHz, int framesPerBlock)
    : runFrames(framesToForget(framesPerBlock, rateHz)),
      effect(modulePath, courses, rateHz, 1, framesPerBlock) {}

void DryGain::takeOut(const double* dry, double* bent, int frames, int channels) {
  gains.assign(static_cast<std::size_t>(frames), 1.0);
  for (int first = 0; first < frames; first += runFrames) {
    effect.process(gains.data() + first, std::min(runFrames, frames - first));
    effect.forget();
  }
  for (int i = 0; i < frames; ++i) {
    for (int channel = 0; channel < channels; ++channel)
      bent[i * channels + channel] -= gains[i] * dry[i * channels + channel];
  }
}
