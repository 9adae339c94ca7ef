// Each allocation of set-up fails in turn: audio passes, nothing leaks, and the next try plays as if nothing
// had been.
#include "OddNumbers.h"
#include "engine/PedalNumbers.h"
#include "tests/property/PedalPair.h"
#include "tests/record/Module.h"
#include "tests/support/Allocations.h"
#include "tests/support/Bits.h"
#include "tests/support/TestSound.h"
#include "vst/Opcodes.h"

#include <doctest/doctest.h>
#include <exception>

namespace {

constexpr float kRate = 8000.0f, kOtherRate = 11025.0f;
constexpr int kLarge = 5000;    // samples: more than any pedal here has been told of
constexpr float kNoRate = 0.0f; // what the plain pedal is told where the module has no memory for a rate

// Both pedals; unlike the plain one, the module may be short of memory.
class Bench {
public:
  Bench() : pair(plain, module) {}

  void play(int samples) {
    pair.process(testSound(samples, played), samples, false);
    played += samples;
    if (pair.difference()) FAIL(describe(*pair.difference()));
  }
  void playAWhile() {
    pair.setParameter(kPedalPos, 0.6f);
    for (int samples : {100, 1, 300, 64})
      play(samples);
    pair.setParameter(kPedalPos, 0.0f);
    for (int samples : {100, 300})
      play(samples);
  }

  PlainSide plain;
  ModulePedal module;
  PedalPair pair;

private:
  int played = 0;
};

struct Counted {
  long taken; // allocations that succeeded
  long kept;  // of them and of those before, less what was given back
};

// Calls with the n-th allocation failing; 0: none fails.
template <typename Call> Counted count(long n, Call call) {
  const long taken = allocations::taken(), live = allocations::live();
  {
    const allocations::FailNth failing(n);
    call();
  }
  const Counted counted{allocations::taken() - taken, allocations::live() - live};
  CHECK(std::uncaught_exceptions() == 0);
  return counted;
}

// Samples that would not survive any arithmetic, and room for what becomes of them.
struct OddBlock {
  explicit OddBlock(int samples) : input(samples), output(samples, 7.0) {
    for (int i = 0; i < samples; ++i)
      input[i] = kOddDoubles[i % std::size(kOddDoubles)];
  }
  void run(const ModulePedal& module) { // takes no memory of its own
    double* inputs[] = {input.data()};
    double* outputs[] = {output.data()};
    const auto samples = static_cast<int32_t>(input.size());
    module.record()->processDoubleReplacingEntry(module.record(), inputs, outputs, samples);
  }
  bool hasPassed() const { return sameBits(input, output); }
  std::vector<double> input, output;
};

void checkModulePassesThrough(const ModulePedal& module, int samples) {
  OddBlock block(samples);
  block.run(module);
  CHECK(block.hasPassed());
}

void* moduleWithoutMemory() { return moduleFactory(kFactoryNames[0])(plainHost); }

void setRate(Bench& bench, float rateHz) { bench.module.setSampleRate(rateHz); }

// Fails each allocation of a rate in turn, on a pedal as `prepare` leaves it.
template <typename Prepare> void checkEveryFailureOfARate(Prepare prepare, float rateHz) {
  Bench measured;
  prepare(measured);
  const long all = count(0, [&] { setRate(measured, rateHz); }).taken;
  REQUIRE(all >= 14); // delay line, sweep, 4 curves, 2 filters, 2 switches with 2 tables each
  int refused = 0;
  for (long n = 1; n <= all; ++n) {
    CAPTURE(n);
    const long live = allocations::live();
    {
      Bench bench;
      prepare(bench);
      count(n, [&] { setRate(bench, rateHz); });
      const bool runs = count(0, [&] { setRate(bench, rateHz); }).taken == 0; // in force already
      if (runs) {
        bench.plain.setSampleRate(rateHz); // what failed was not needed, or was tried for in advance
      } else {
        ++refused;
        bench.plain.setSampleRate(kNoRate);
        bench.plain.setSampleRate(rateHz);
      }
      bench.playAWhile();
    }
    CHECK(allocations::live() == live);
  }
  CHECK(refused >= 14);
}

} // namespace

TEST_CASE("whichever allocation of a rate fails, the first or another, the same rate again repairs it") {
  checkEveryFailureOfARate([](Bench&) {}, kRate);
  checkEveryFailureOfARate(
      [](Bench& bench) {
        bench.pair.setSampleRate(kOtherRate);
        bench.playAWhile();
      },
      kRate);
}

TEST_CASE("while a rate has no memory the effect passes audio through and answers as ever") {
  int refused = 0;
  long firstKept = 0;
  for (long n = 1; n <= 14; ++n) {
    CAPTURE(n);
    Bench bench;
    bench.pair.setSampleRate(kOtherRate);
    bench.playAWhile();
    const long kept = count(n, [&] { setRate(bench, kRate); }).kept;
    if (kept >= -2) continue; // the sweep's own two filters are not needed
    if (++refused == 1) firstKept = kept;
    CHECK(kept == firstKept); // nothing of what was had before the failure
    const long before = allocations::live();
    checkModulePassesThrough(bench.module, 50);
    AEffect* record = bench.module.record();
    record->dispatchEntry(record, kOpResumeOrSuspend, 0, 1, nullptr, 0.0f);
    record->dispatchEntry(record, kOpSetBlockSize, 0, 5000, nullptr, 0.0f);
    record->setParameterEntry(record, kTone, 0.25f);
    CHECK(record->getParameterEntry(record, kTone) == 0.25f);
    checkModulePassesThrough(bench.module, 5000);
    CHECK(allocations::live() <= before); // none of it took memory
    record->setParameterEntry(record, kTone, 0.8f);
    bench.plain.setSampleRate(kNoRate);
    bench.pair.setSampleRate(kOtherRate); // the rate of before, which is built anew
    bench.playAWhile();
  }
  CHECK(refused == 12);
}

TEST_CASE(
    "whichever allocation of a block fails, its audio passes and the effect goes on as if it had not been") {
  constexpr long kArrays = 3; // On/Off values, and the gains of two switches
  for (long n = 1; n <= kArrays; ++n) {
    CAPTURE(n);
    const long live = allocations::live();
    {
      Bench bench;
      bench.pair.setSampleRate(kRate);
      bench.playAWhile();
      OddBlock block(kLarge);
      CHECK(count(n, [&] { block.run(bench.module); }).taken == n - 1);
      CHECK(block.hasPassed());
      const std::vector<double> sound = testSound(100);
      std::vector<double> heard(100), expected(100);
      CHECK(count(0, [&] { bench.module.process(sound.data(), heard.data(), 100); }).taken == 0);
      bench.plain.process(sound.data(), expected.data(), 100);
      CHECK(sameBits(heard, expected));                     // what small blocks need has stayed
      count(n, [&] { bench.module.setBlockSize(kLarge); }); // the block itself gets the memory
      bench.play(kLarge);
      bench.playAWhile();
    }
    CHECK(allocations::live() == live);
  }
}

TEST_CASE("with no memory at all nothing is thrown, audio passes, and memory brings the sound back") {
  Bench bench;
  OddBlock block(50), largeBlock(kLarge);
  bench.pair.setSampleRate(kRate);
  bench.playAWhile();
  {
    const allocations::RefuseLargerThan nothing(0);
    CHECK(moduleWithoutMemory() == nullptr);
    largeBlock.run(bench.module);
    bench.module.setBlockSize(kLarge);
    for (float rate : {kOtherRate, 44100.0f, kOtherRate}) {
      bench.module.setSampleRate(rate);
      bench.module.resume();
      block.run(bench.module);
    }
  }
  CHECK(std::uncaught_exceptions() == 0);
  CHECK(largeBlock.hasPassed());
  CHECK(block.hasPassed());
  bench.plain.setSampleRate(kNoRate);
  bench.pair.setSampleRate(kOtherRate);
  bench.playAWhile();
  bench.play(kLarge);
}
