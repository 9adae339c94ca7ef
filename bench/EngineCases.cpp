#include "bench/EngineCases.h"

#include "bench/Signal.h"
#include "bench/Tail.h"
#include "engine/PedalNumbers.h"
#include "host/EffectRunner.h"

#include <algorithm>
#include <array>
#include <memory>
#include <span>
#include <stdexcept>

namespace {

constexpr int32_t kBlocks[] = {1, 16, 64, 256, 1024, 4096}; // samples
constexpr int32_t kFaintBlocks[] = {64, 256};               // samples: for what differs in its input alone
constexpr int32_t kApproachBlock = 64;                      // samples: blocks that lead up to a timed run

constexpr float kOctaveUp = 0.3f;         // Color: 0 cents at the heel, 1200 at the toe
constexpr float kOctaveEitherWay = 0.55f; // Color: -1200 cents at the heel, 1200 at the toe
constexpr float kSomewhere = 0.6f;        // PedalPos
constexpr int32_t kFadeSamples = 1536;    // out and in: twice 16 ms

// One effect that has been running for a while.
struct Engine {
  EffectRunner runner;
  int32_t block;                       // samples
  std::array<double, 4096> output{};   // largest block
  int64_t played = 0;                  // samples of timed runs
  int64_t tailLeft = 0;                // samples of the decay still to come
  const double* heard = benchSignal(); // in timed runs

  Engine(const std::string& modulePath, int32_t block, float color);

  void set(int32_t parameter, float value) const { runner.setParameter(parameter, value); }
  void approach(int64_t samples);
  void moveAndWait(float pedal, int64_t samples);
  template <typename Action> void play(Action beforeBlock);
};

Engine::Engine(const std::string& modulePath, int32_t block, float color) : runner(modulePath), block(block) {
  runner.setSampleRate(static_cast<float>(kBenchRateHz));
  runner.setBlockSize(std::max(block, kApproachBlock));
  runner.resume();
  set(kColor, color);
  set(kPedalPos, kSomewhere);
  approach(kBenchSamples);
}

void Engine::approach(int64_t samples) {
  for (int64_t done = 0; done < samples; done += kApproachBlock)
    runner.process(benchSignal() + done % kBenchSamples, output.data(), kApproachBlock);
}

// At least as many samples as asked for, the last of them in the block size to be measured, so that its
// arrays exist.
void Engine::moveAndWait(float pedal, int64_t samples) {
  set(kPedalPos, pedal);
  approach(samples - block);
  runner.process(benchSignal(), output.data(), block);
}

template <typename Action> void Engine::play(Action beforeBlock) {
  for (int32_t done = 0; done < kBenchSamples; done += block, played += block) {
    beforeBlock(*this);
    runner.process(heard + done, output.data(), block);
  }
}

using EnginePointer = std::shared_ptr<Engine>;
using Prepare = std::function<void(int32_t runs)>;

template <typename Action>
Case playing(const char* state, const EnginePointer& e, Action beforeBlock, Prepare prepare = {}) {
  const auto run = [e, beforeBlock] { e->play(beforeBlock); };
  return {"engine", state, e->block, kBenchSamples, std::move(prepare), run};
}

// What a host changes before a block. Function objects, so that a call costs nothing.
constexpr auto nothing = [](const Engine&) {};

// Up and down once per second between a tenth and nine tenths.
constexpr auto movePedal = [](const Engine& e) {
  const auto phase = static_cast<float>(e.played % 48000) / 24000.0f;
  e.set(kPedalPos, 0.1f + 0.8f * (phase < 1.0f ? phase : 2.0f - phase));
};

// A new fade of On/Off and of Color as soon as the last ones are through; blocks longer than a fade start
// one each.
constexpr auto keepFading = [](const Engine& e) {
  const int64_t step = (kFadeSamples + e.block - 1) / e.block * e.block;
  if (e.played % step != 0) return;
  const bool odd = e.played / step % 2 != 0;
  e.set(kOnOff, odd ? 0.0f : 1.0f);
  e.set(kColor, odd ? kOctaveEitherWay : kOctaveUp);
};

constexpr auto turnTone = [](const Engine& e) {
  e.set(kTone, 0.2f + 0.6f * static_cast<float>(e.played / e.block % 100) / 100.0f);
};

constexpr auto fadeAndTurn = [](const Engine& e) {
  keepFading(e);
  turnTone(e);
};

Case atRest(const EnginePointer& e) { return playing("rest", e, nothing); }
Case moving(const EnginePointer& e) { return playing("moving", e, movePedal); }
Case fading(const EnginePointer& e) { return playing("fades", e, keepFading); }
Case turningTone(const EnginePointer& e) { return playing("tone", e, turnTone); }
Case fadingAndTurning(const EnginePointer& e) { return playing("fades+tone", e, fadeAndTurn); }

// From the moment when the smoothed pedal, narrowed, stands still, while it still changes in its last bits.
Case afterMove(const EnginePointer& e) {
  constexpr float kHere = 0.3f, kThere = 0.7f;
  const Tail up = findTail(kHere, kThere), down = findTail(kThere, kHere);
  const int64_t start = std::max(up.start, down.start);
  const int64_t length = std::min(up.end, down.end) - start - kApproachBlock;
  const auto go = [e, start, length](int32_t runs) {
    if (runs * kBenchSamples > length) throw std::runtime_error("the clock is too coarse for the tail");
    e->moveAndWait(e->runner.parameter(kPedalPos) == kThere ? kHere : kThere, start);
  };
  return playing("tail", e, nothing, go);
}

// The same after a move to exactly 0, where it lasts until flush-to-zero ends it. The first run of a series
// warms the case up, untimed.
Case decaying(const EnginePointer& e) {
  constexpr float kThere = 0.7f;
  constexpr auto kSettled = static_cast<int64_t>(2.0 * kBenchRateHz);
  const Tail tail = findTail(kThere, 0.0f);
  const auto go = [e, tail](int32_t runs) {
    const int64_t samples = int64_t{runs + 1} * kBenchSamples;
    if (e->tailLeft < samples) {
      e->moveAndWait(kThere, kSettled);
      e->moveAndWait(0.0f, tail.start);
      e->tailLeft = tail.end - tail.start - kApproachBlock;
    }
    e->tailLeft -= samples;
    e->play(nothing);
  };
  return playing("decay", e, nothing, go);
}

// From the end of a loud passage: the line empties itself, and a tenth of a second later the filters' states
// have decayed to where flush-to-zero ends them.
template <typename Action> Case fallingSilent(const char* state, const EnginePointer& e, Action beforeBlock) {
  e->heard = benchSilence();
  e->set(kTone, 0.5f);
  return playing(state, e, beforeBlock, [e](int32_t) { e->approach(kBenchSamples); });
}

Case silence(const EnginePointer& e) { return fallingSilent("silence", e, nothing); }
Case movingSilence(const EnginePointer& e) { return fallingSilent("silence+moving", e, movePedal); }

template <typename Action>
Case hearingDenormals(const char* state, const EnginePointer& e, Action beforeBlock) {
  e->heard = benchDenormals();
  return playing(state, e, beforeBlock);
}

Case denormals(const EnginePointer& e) { return hearingDenormals("denormals", e, nothing); }
Case movingDenormals(const EnginePointer& e) { return hearingDenormals("denormals+moving", e, movePedal); }
Case denormalsWhileOff(const EnginePointer& e) {
  e->set(kOnOff, 0.0f);
  e->approach(kFadeSamples);
  return hearingDenormals("denormals+off", e, nothing);
}

struct State {
  Case (*make)(const EnginePointer&);
  float color;
};

void addCases(std::vector<Case>& cases, const std::string& modulePath, std::span<const State> states,
              std::span<const int32_t> blocks) {
  for (const State& state : states) {
    for (const int32_t block : blocks)
      cases.push_back(state.make(std::make_shared<Engine>(modulePath, block, state.color)));
  }
}

} // namespace

std::vector<Case> engineCases(const std::string& modulePath) {
  constexpr State kStates[] = {{atRest, kOctaveUp},          {moving, kOctaveUp}, {afterMove, kOctaveUp},
                               {decaying, kOctaveEitherWay}, {fading, kOctaveUp}, {turningTone, kOctaveUp},
                               {fadingAndTurning, kOctaveUp}};
  constexpr State kFaintStates[] = {{silence, kOctaveEitherWay},
                                    {movingSilence, kOctaveEitherWay},
                                    {denormals, kOctaveEitherWay},
                                    {movingDenormals, kOctaveEitherWay},
                                    {denormalsWhileOff, kOctaveEitherWay}};
  std::vector<Case> cases;
  addCases(cases, modulePath, kStates, kBlocks);
  addCases(cases, modulePath, kFaintStates, kFaintBlocks);
  return cases;
}

Case restingEngineCase(const std::string& modulePath, int32_t block) {
  return atRest(std::make_shared<Engine>(modulePath, block, kOctaveUp));
}

Case setUpCase(const std::string& modulePath) {
  auto runner = std::make_shared<EffectRunner>(modulePath);
  auto calls = std::make_shared<int>(0);
  const auto run = [runner, calls] { runner->setSampleRate(++*calls % 2 ? 48000.0f : 44100.0f); };
  return {"engine", "set-up", 0, 1, {}, run};
}
