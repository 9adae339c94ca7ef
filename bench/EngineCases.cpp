#include "bench/EngineCases.h"

#include "bench/Signal.h"
#include "bench/Tail.h"
#include "effect/TreadshiftProgram.h"
#include "host/EffectRunner.h"

#include <algorithm>
#include <array>
#include <memory>

namespace {

constexpr int32_t kAnyItems = kBenchSamples;
constexpr int32_t kApproachBlock = 64; // samples: blocks that lead up to a timed run

constexpr float kOctaveUp = 0.3f;         // Color: 0 cents at the heel, 1200 at the toe
constexpr float kOctaveEitherWay = 0.55f; // Color: -1200 cents at the heel, 1200 at the toe
constexpr float kSomewhere = 0.6f;        // PedalPos
constexpr int32_t kFadeSamples = 1536;    // out and in: twice 16 ms

// One effect that has been running for a while.
struct Engine {
  EffectRunner runner;
  int32_t block;                     // samples
  std::array<double, 4096> output{}; // largest block
  int64_t played = 0;                // samples
  int64_t tailLeft = 0;              // samples of the tail still to come

  Engine(const std::string& modulePath, int32_t block, float color, float pedal);

  void play(int32_t samples, int32_t blockSize);
  void moveAndWait(float pedal, int64_t samples);
  template <typename Action> void playWith(int32_t samples, Action beforeBlock);
};

Engine::Engine(const std::string& modulePath, int32_t block, float color, float pedal)
    : runner(modulePath), block(block) {
  runner.setSampleRate(static_cast<float>(kBenchRateHz));
  runner.setBlockSize(std::max(block, kApproachBlock));
  runner.resume();
  runner.setParameter(kColor, color);
  runner.setParameter(kPedalPos, pedal);
  play(kBenchSamples, kApproachBlock);
}

void Engine::play(int32_t samples, int32_t blockSize) {
  for (int32_t done = 0; done < samples; done += blockSize)
    runner.process(benchSignal() + done, output.data(), blockSize);
}

// At least as many samples as asked for, the last of them in the block size to be measured, so that its
// arrays exist.
void Engine::moveAndWait(float pedal, int64_t samples) {
  runner.setParameter(kPedalPos, pedal);
  for (int64_t done = block; done < samples; done += kApproachBlock)
    runner.process(benchSignal(), output.data(), kApproachBlock);
  runner.process(benchSignal(), output.data(), block);
}

template <typename Action> void Engine::playWith(int32_t samples, Action beforeBlock) {
  for (int32_t done = 0; done < samples; done += block) {
    beforeBlock(played);
    runner.process(benchSignal() + done, output.data(), block);
    played += block;
  }
}

using EnginePointer = std::shared_ptr<Engine>;

Case atRest(const EnginePointer& e) {
  return {"engine", "rest", e->block, kAnyItems, {}, [e](int32_t n) { e->play(n, e->block); }};
}

// Up and down once per second between a tenth and nine tenths, a new position before every block.
Case moving(const EnginePointer& e) {
  return {"engine", "moving", e->block, kAnyItems, {}, [e](int32_t n) {
            e->playWith(n, [&](int64_t played) {
              const auto phase = static_cast<float>(played % 48000) / 24000.0f;
              e->runner.setParameter(kPedalPos, 0.1f + 0.8f * (phase < 1.0f ? phase : 2.0f - phase));
            });
          }};
}

// From the moment when the smoothed pedal, narrowed, stands still, while it still changes in its last bits.
Case afterMove(const EnginePointer& e) {
  constexpr float kHere = 0.3f, kThere = 0.7f;
  const Tail up = findTail(kHere, kThere), down = findTail(kThere, kHere);
  const int64_t start = std::max(up.start, down.start);
  const auto length = static_cast<int32_t>(std::min(up.end, down.end) - start - kApproachBlock);
  const auto go = [e, start](int32_t) {
    const bool atThere = e->runner.parameter(kPedalPos) == kThere;
    e->moveAndWait(atThere ? kHere : kThere, start);
  };
  return {"engine", "tail", e->block, length, go, [e](int32_t n) { e->play(n, e->block); }};
}

// The same after a move to exactly 0, where it lasts until flush-to-zero ends it.
Case decaying(const EnginePointer& e) {
  constexpr float kThere = 0.7f;
  const Tail tail = findTail(kThere, 0.0f);
  const auto go = [e, tail](int32_t items) {
    if (e->tailLeft < items) {
      e->moveAndWait(kThere, static_cast<int64_t>(2.0 * kBenchRateHz));
      e->moveAndWait(0.0f, tail.start);
      e->tailLeft = tail.end - tail.start - kApproachBlock;
    }
    e->tailLeft -= items;
  };
  return {"engine", "decay", e->block, kAnyItems, go, [e](int32_t n) { e->play(n, e->block); }};
}

void startFades(const Engine& e, int64_t fade) {
  const bool odd = fade % 2 != 0;
  e.runner.setParameter(kOnOff, odd ? 0.0f : 1.0f);
  e.runner.setParameter(kColor, odd ? kOctaveEitherWay : kOctaveUp);
}

// A new fade of On/Off and of Color as soon as the last ones are through; blocks longer than a fade start
// one each.
void keepFading(const Engine& e, int64_t played) {
  const int64_t step = (kFadeSamples + e.block - 1) / e.block * e.block;
  if (played % step == 0) startFades(e, played / step);
}

void turnTone(const Engine& e, int64_t played) {
  e.runner.setParameter(kTone, 0.2f + 0.6f * static_cast<float>(played / e.block % 100) / 100.0f);
}

Case fading(const EnginePointer& e) {
  return {"engine", "fades",
          e->block, kAnyItems,
          {},       [e](int32_t n) {
            e->playWith(n, [&](int64_t played) { keepFading(*e, played); }); }};
}

Case turningTone(const EnginePointer& e) {
  return {"engine", "tone",
          e->block, kAnyItems,
          {},       [e](int32_t n) {
            e->playWith(n, [&](int64_t played) { turnTone(*e, played); }); }};
}

Case fadingAndTurning(const EnginePointer& e) {
  return {"engine", "fades+tone", e->block, kAnyItems, {}, [e](int32_t n) {
            e->playWith(n, [&](int64_t played) {
              keepFading(*e, played);
              turnTone(*e, played);
            });
          }};
}

} // namespace

std::vector<Case> engineCases(const std::string& modulePath) {
  struct State {
    Case (*make)(const EnginePointer&);
    float color;
  };
  constexpr State kStates[] = {{atRest, kOctaveUp},          {moving, kOctaveUp}, {afterMove, kOctaveUp},
                               {decaying, kOctaveEitherWay}, {fading, kOctaveUp}, {turningTone, kOctaveUp},
                               {fadingAndTurning, kOctaveUp}};
  std::vector<Case> cases;
  for (const State& state : kStates) {
    for (const int32_t block : kBenchBlocks)
      cases.push_back(state.make(std::make_shared<Engine>(modulePath, block, state.color, kSomewhere)));
  }
  return cases;
}

Case restingEngineCase(const std::string& modulePath, int32_t block) {
  return atRest(std::make_shared<Engine>(modulePath, block, kOctaveUp, kSomewhere));
}

Case setUpCase(const std::string& modulePath) {
  auto runner = std::make_shared<EffectRunner>(modulePath);
  auto calls = std::make_shared<int>(0);
  return {"engine", "set-up", 0, 1, {}, [runner, calls](int32_t items) {
            for (int32_t k = 0; k < items; ++k)
              runner->setSampleRate(++*calls % 2 ? 48000.0f : 44100.0f);
          }};
}
