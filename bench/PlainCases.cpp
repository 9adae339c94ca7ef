#include "bench/PlainCases.h"

#include "bench/Signal.h"
#include "effect/TreadshiftProgram.h"
#include "tests/reference/PlainPedal.h"

#include <memory>

namespace {

constexpr int32_t kBlocks[] = {64, 256};

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

  void play(int32_t samples) {
    const auto block = static_cast<int32_t>(output.size());
    for (int32_t done = 0; done < samples; done += block, played += block) {
      const auto phase = static_cast<float>(played % 48000) / 24000.0f;
      if (moving) pedal.setParameter(kPedalPos, 0.1f + 0.8f * (phase < 1.0f ? phase : 2.0f - phase));
      pedal.process(benchSignal() + done, output.data(), block);
    }
  }
};

} // namespace

std::vector<Case> plainCases() {
  std::vector<Case> cases;
  for (const bool moving : {false, true}) {
    for (const int32_t block : kBlocks) {
      auto plain = std::make_shared<Plain>(block, moving);
      cases.push_back({"plain", moving ? "moving" : "rest", block, kBenchSamples, {}, [plain](int32_t items) {
                         plain->play(items);
                       }});
    }
  }
  return cases;
}
