// Sample rates that cannot be run, before, between and after good ones, and a pedal that has none yet.
#include "OddNumbers.h"
#include "tests/property/Duo.h"
#include "tests/record/Module.h"
#include "vst/Opcodes.h"

#include <algorithm>

namespace {

constexpr int kOnOff = 0, kTone = 2, kColor = 3, kPedalPos = 4;

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
  for (double odd : kOddDoubles) {
    double input[] = {odd, 0.25, odd}, output[] = {7.0, 7.0, 7.0};
    double* inputs[] = {input};
    double* outputs[] = {output};
    duo.record()->processDoubleReplacingEntry(duo.record(), inputs, outputs, 3);
    for (int i = 0; i < 3; ++i)
      CHECK(std::bit_cast<std::uint64_t>(output[i]) == std::bit_cast<std::uint64_t>(input[i]));
  }
}

} // namespace

TEST_CASE("each odd rate comes first, then a good one") {
  for (const Rate& rate : kRates) {
    CAPTURE(rate.hz);
    Duo duo;
    duo->setSampleRate(rate.hz);
    if (!rate.runs) checkPassesThrough(duo);
    play(duo);
    CHECK((duo.count(PlainEvent::PassThroughBlock) == 0) == rate.runs);
    duo->setSampleRate(44100.0f);
    play(duo);
    CHECK(duo.count(PlainEvent::PlainNumber) > 500);
  }
}

TEST_CASE("each odd rate comes between two good ones, and again, with everything else a host does") {
  for (const Rate& rate : kRates) {
    CAPTURE(rate.hz);
    Duo duo(48000.0f);
    play(duo);
    duo->setSampleRate(rate.hz);
    duo->setSampleRate(rate.hz);
    duo->resume();
    duo->loadProgram(3);
    duo->setBlockSize(4096);
    if (!rate.runs) checkPassesThrough(duo);
    play(duo);
    duo->setSampleRate(48000.0f); // the rate that was in force before
    play(duo);
    duo->setSampleRate(rate.hz);
    duo->setSampleRate(8000.0f);
    play(duo);
  }
}

TEST_CASE("before any rate a block passes, and resume, programs and parameters do no harm") {
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
  duo.blocks(3, 100);
  duo.block(0);
  duo.block(-7);
  CHECK(duo.count(PlainEvent::PassThroughBlock) > 0);
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

TEST_CASE("a first rate of exactly -1 leaves the pedal without one") {
  Duo duo;
  duo->setSampleRate(-1.0f);
  checkPassesThrough(duo);
  duo->setSampleRate(-1.0f);
  play(duo);
  duo->setSampleRate(44100.0f);
  play(duo);
  duo->setSampleRate(-1.0f); // now a rate like any other that cannot be run
  checkPassesThrough(duo);
  duo->setSampleRate(44100.0f);
  play(duo);
}
