// From the constructor to the destructor: rates, resuming, parameters and programs.
#include "Blocks.h"
#include "tests/support/Allocations.h"
#include "tests/support/Meanwhile.h"
#include "tests/support/Bits.h"
#include "vst/Opcodes.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>
#include <limits>

namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kLateColor = 0.3125f;     // at the heel the shifted sound alone, 5 ms late
constexpr std::size_t kModest = 64 << 20; // bytes: a minute of sound

bool isFinite(const std::vector<double>& sound) {
  return std::all_of(sound.begin(), sound.end(), [](double x) { return std::isfinite(x); });
}

// Numbers whose bits a copy keeps and arithmetic would not.
void checkPassesThrough(Treadshift& effect) {
  const std::vector<double> input = {0.5,
                                     -0.0,
                                     std::numeric_limits<double>::denorm_min(),
                                     -1e-310,
                                     std::bit_cast<double>(0x7FF4000000000123ULL), // signalling
                                     -std::numeric_limits<double>::infinity(),
                                     1e300};
  const std::vector<double> output = play(effect, input);
  CHECK(differences(output.data(), input.data(), static_cast<int>(input.size())) == 0);
}

void checkSoundsLikeNew(Treadshift& effect) {
  const auto fresh = effectAt(kRate);
  for (int from = 0; from < 3000; from += 1000)
    CHECK(play(effect, testSound(1000, from)) == play(*fresh, testSound(1000, from)));
}

} // namespace

TEST_CASE("before any rate, blocks pass through and change nothing") {
  const auto effect = effectAt(0.0f);
  checkPassesThrough(*effect);
  effect->resume();
  effect->setBlockSize(512);
  effect->suspend();
  effect->setColor();
  effect->setPitch(0.5f);
  checkPassesThrough(*effect);
  effect->setSampleRate(kRate);
  checkSoundsLikeNew(*effect);
}

TEST_CASE("a rate that cannot be run passes audio through, before and after a good one") {
  const allocations::RefuseLargerThan modest(kModest);
  for (const float rate : {0.0f, 1.0f, 62.4f, -44100.0f, 1073741824.0f, 1e9f, 1e20f, kNan}) {
    CAPTURE(rate);
    const auto effect = effectAt(0.0f);
    effect->setSampleRate(rate);
    checkPassesThrough(*effect);
    effect->resume();
    effect->setSampleRate(rate);
    checkPassesThrough(*effect);
    effect->setSampleRate(kRate);
    checkSoundsLikeNew(*effect);
    effect->setSampleRate(rate);
    checkPassesThrough(*effect);
  }
}

TEST_CASE("the rate in force does nothing at all: the delay line survives") {
  const auto effect = effectAt(kRate, kLateColor), expected = effectAt(kRate, kLateColor);
  play(*effect, testSound(500));
  play(*expected, testSound(500));
  const long taken = allocations::taken();
  effect->setSampleRate(kRate);
  CHECK(allocations::taken() == taken);
  const std::vector<double> echo = play(*effect, std::vector<double>(500, 0.0));
  CHECK(echo[200] != 0.0);
  CHECK(echo == play(*expected, std::vector<double>(500, 0.0)));
}

TEST_CASE("a rate for which memory was short is asked for again") {
  const auto effect = effectAt(0.0f);
  {
    const allocations::FailNth failure(1);
    CHECK_NOTHROW(effect->setSampleRate(kRate));
  }
  checkPassesThrough(*effect);
  effect->setSampleRate(kRate);
  checkSoundsLikeNew(*effect);
}

TEST_CASE("the base class keeps its own rate") { CHECK(effectAt(96000.0f)->getSampleRate() == 44100.0f); }

TEST_CASE("a new rate and a resume clear the delay line") {
  const std::vector<double> silence(500, 0.0);
  for (const bool isRate : {true, false}) {
    const auto effect = effectAt(1000.0f, kLateColor);
    effect->setParameter(kTone, 0.0f); // dark: the filters die away without ringing
    play(*effect, std::vector<double>(1000, 1.0));
    if (isRate)
      effect->setSampleRate(1100.0f);
    else
      effect->resume();
    const std::vector<double> heard = play(*effect, silence);
    CHECK((heard[0] == 0.0) == isRate); // a resume lets the filters ring
    CHECK((heard[4] < 0.5 * heard[0]) != isRate);
  }
}

TEST_CASE("what no finite number has spoilt for good is whole again after a resume or a new rate") {
  for (const bool isRate : {true, false}) {
    for (int spoilt = 0; spoilt < 3; ++spoilt) { // the sound, Tone, PedalPos
      const auto effect = effectAt(8000.0f);
      if (spoilt > 0) effect->setParameter(spoilt == 1 ? kTone : kPedalPos, kNan);
      play(*effect, std::vector<double>(100, spoilt == 0 ? static_cast<double>(kNan) : 0.5));
      effect->setParameter(kTone, 0.8f);
      effect->setParameter(kPedalPos, 0.3f);
      if (isRate)
        effect->setSampleRate(kRate);
      else
        effect->resume();
      const auto expected = effectAt(8000.0f);
      play(*expected, {0.5}); // a first block, which starts at rest
      expected->setParameter(kPedalPos, 0.3f);
      expected->setSampleRate(kRate);
      if (!isRate) expected->setSampleRate(8000.0f);
      for (int block = 0; block < 10; ++block) {
        const std::vector<double> sound = testSound(300, 300 * block), heard = play(*effect, sound);
        CHECK(isFinite(heard));
        CHECK(heard == play(*expected, sound));
      }
    }
  }
}

TEST_CASE("Mode has no audible effect, whenever it changes") {
  const auto guitar = effectAt(kRate, 0.7f), bass = effectAt(kRate, 0.7f);
  for (int from = 0; from < 3000; from += 500) {
    bass->setParameter(kMode, 1.0f - static_cast<float>(from) / 6000.0f);
    CHECK(play(*guitar, testSound(500, from)) == play(*bass, testSound(500, from)));
  }
}

TEST_CASE("the effect's colour and pitch are taken from the live Color and a pedal") {
  const auto effect = effectAt(8000.0f, 0.0f, 1.0f); // the dry sound alone, its gain the pedal's
  for (int block = 0; block < 24; ++block)
    play(*effect, std::vector<double>(1000, 0.0)); // the pedal's smoother arrives
  effect->setPitch(0.25f);
  CHECK(play(*effect, {1.0})[0] == 0.25);
  effect->setParameter(kColor, 0.25f); // the shifted sound alone, as if there had been a switch-over
  effect->setColor();
  CHECK(play(*effect, {1.0})[0] == 0.0);
}

TEST_CASE("parameters, programs and program numbers may change during blocks") {
  const auto effect = effectAt(8000.0f);
  AEffect* record = effect->getAeffect();
  int unsound = 0;
  {
    const Meanwhile parameters([&](int round) {
      record->setParameterEntry(record, round % 5, static_cast<float>(round % 9) / 8.0f);
      record->getParameterEntry(record, round % 5);
    });
    const Meanwhile programs([&](int round) {
      effect->setProgram(static_cast<long>(round % 16));
      record->dispatchEntry(record, kOpSetProgram, 0, round % 20 - 2, nullptr, 0.0f);
      record->dispatchEntry(record, kOpGetProgram, 0, 0, nullptr, 0.0f);
    });
    for (int block = 0; block < 300; ++block)
      unsound += !isFinite(play(*effect, testSound(64, 64 * block)));
  }
  CHECK(unsound == 0);
}
