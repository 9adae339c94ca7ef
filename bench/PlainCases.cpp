#include "bench/PlainCases.h"

#include "bench/Signal.h"
#include "engine/PedalNumbers.h"
#include "tests/reference/PlainPedal.h"

#include <memory>
#include <vector>

namespace {

constexpr int32_t kMovingItems = 2048; // some 25 times slower than the engine: a run of about 1 ms

struct Plain {
  PlainPedal pedal;
  std::vector<double> output;
  bool moving;
  int64_t played = 0; // samples

  Plain(int32_t block, bool moving) : output(block), moving(moving) {
    pedal.setSampleRate(static_cast<float>(kBenchRateHz));
    pedal.setParameter(kColor, 0.3f);
    pedal.setParameter(kPedalPos, 0.6f);
  }

  int32_t block() const { return static_cast<int32_t>(output.size()); }

  void play(int32_t samples) {
    for (int32_t done = 0; done < samples; done += block(), played += block()) {
      const auto phase = static_cast<float>(played % 48000) / 24000.0f;
      if (moving) pedal.setParameter(kPedalPos, 0.1f + 0.8f * (phase < 1.0f ? phase : 2.0f - phase));
      pedal.process(benchSignal() + done, output.data(), block());
    }
  }
};

Case plainCase(int32_t block, bool moving) {
  auto plain = std::make_shared<Plain>(block, moving);
  const int32_t items = moving ? kMovingItems : kBenchSamples;
  return {"plain", moving ? "moving" : "rest", block, items, {}, [plain, items] { plain->play(items); }};
}

} // namespace

std::vector<Case> plainCases() {
  return {plainCase(64, false), plainCase(256, false), plainCase(64, true), plainCase(256, true)};
}
