// Sample rates that cannot be run, before, between and after good ones, and a pedal that has none yet.
#include "OddNumbers.h"
#include "engine/PedalNumbers.h"
#include "tests/property/Duo.h"
#include "tests/record/Module.h"
#include "tests/support/Bits.h"
#include "vst/Opcodes.h"

namespace {

struct Rate {
  float hz;
  bool runs; // a fade of 16 ms has a sample, and two seconds of samples fit into 31 bits
};

const Rate kRates[] = {
    {0.0f, false},      {-0.0f, false},      {0.5f, false},           {1.0f, false},
    {10.0f, false},     {15.0f, false},      {62.0f, false},          {62.5f, true},
    {44100.5f, true},   {1e6f, true},        {0x1p30f, false},        {1e20f, false},
    {-1.0f, false},     {-62.5f, false},     {-44100.0f, false},      {-1e20f, false},
    {kQuietNaN, false}, {-kQuietNaN, false}, {kFloatInfinity, false}, {-kFloatInfinity, false}};

void play(Duo& duo) {
  duo->setParameter(kColor, 0.5f);
  duo->setParameter(kPedalPos, 0.625f);
  duo.blocks(3, 100);
  duo->setParameter(kColor, 0.8f);
  duo->setParameter(kTone, 0.3f);
  duo.block(300, true);
  duo->setParameter(kPedalPos, 0.0f);
  duo->setParameter(kTone, 0.8f);
  duo.blocks(2, 200);
}

// What passes must keep its bits: these would not survive any arithmetic.
void checkPassesThrough(const Duo& duo) {
  std::vector<double> input(std::begin(kOddDoubles), std::end(kOddDoubles)), output(input.size(), 7.0);
  double* inputs[] = {input.data()};
  double* outputs[] = {output.data()};
  const auto samples = static_cast<int32_t>(input.size());
  duo.record()->processDoubleReplacingEntry(duo.record(), inputs, outputs, samples);
  CHECK(sameBits(output, input));
}

} // namespace

TEST_CASE("a rate that cannot be run passes audio through, before and after a good one") {
  for (const Rate& rate : kRates) {
    CAPTURE(rate.hz);
    Duo duo;
    for (int turn = 0; turn < 2; ++turn) {
      duo->setSampleRate(rate.hz);
      if (!rate.runs) checkPassesThrough(duo);
      play(duo);
      CHECK((duo.count(PlainEvent::PassThroughBlock) == 0) == rate.runs);
    }
    for (float good : {48000.0f, 48000.0f, 8000.0f}) { // the rate that was in force before, and another one
      duo->setSampleRate(good);
      play(duo);
      duo->setSampleRate(rate.hz);
      duo->setSampleRate(rate.hz);
      duo->resume();
      duo->loadProgram(3);
      duo->setBlockSize(4096);
      if (!rate.runs) checkPassesThrough(duo);
      play(duo);
    }
    CHECK(duo.count(PlainEvent::PlainNumber) > 500);
  }
}

TEST_CASE("before any rate, blocks pass through and change nothing") {
  Duo duo;
  checkPassesThrough(duo);
  duo->resume();
  duo->suspend();
  duo->setBlockSize(64);
  checkPassesThrough(duo);
  duo->loadProgram(5);
  duo->selectProgram(2);
  duo->selectProgram(-3);
  for (float odd : kOddFloats)
    for (int index = -1; index < 6; ++index)
      duo->setParameter(index, odd);
  for (int samples : {100, 100, 0, -7})
    duo.block(samples);
  duo->loadProgram(9);
  duo->setParameter(kOnOff, 1.0f);
  duo->setSampleRate(44100.0f);
  play(duo);
  CHECK(duo.count(PlainEvent::OnSample) > 500);
}

TEST_CASE("a first rate of exactly -1 is the one in force: not even resuming follows") {
  for (float rate : {-1.0f, 0.0f}) {
    CAPTURE(rate);
    const ModuleEffect effect;
    SlotExchange exchange(effect.object(), kTreadshiftSlots);
    exchange.record(Slot::resume);
    effect.send(kOpSetSampleRate, 0, 0, nullptr, rate);
    CHECK(slotCalls.size() == (rate == -1.0f ? 0u : 1u));
  }
}
