// The pedal as it is heard: its rates, its first block, blocks of any kind, and what they leave alone. Its
// sound to the bit is the second implementation's to judge.
#include "engine/PitchPedal.h"
#include "Blocks.h"
#include "tests/support/Allocations.h"
#include "tests/support/ControlWord.h"
#include "tests/support/TestSound.h"
#include "tests/support/Bits.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>
#include <limits>
#include <vector>

namespace {

using Sound = std::vector<double>;

constexpr double kTiniest = std::numeric_limits<double>::denorm_min();
constexpr double kLeastNormal = std::numeric_limits<double>::min();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

// Row 0 fades from shifted to dry: at the toe the sound is the dry one alone, and its gain is the pedal.
constexpr PedalSettings kDryOnly = {1.0f, 0.8f, 0.0f, 1.0f};
// Row 2 at the heel is the shifted sound alone, bent by nothing: late by 5 ms and filtered.
constexpr PedalSettings kLate = {1.0f, 0.8f, 0.3125f, 0.0f};

PedalSettings inRow(int row, float pedalPos, float onOff = 1.0f) {
  return {onOff, 0.8f, colorParameter(row), pedalPos};
}

struct Bench {
  PitchPedal pedal;

  Bench(double rate, const PedalSettings& settings, int32_t samples = 1024) {
    newRate(rate, settings, samples);
  }
  void newRate(double rate, const PedalSettings& settings, int32_t samples = 1024) {
    pedal.setRate(rate, settings, samples);
    pedal.clear();
  }

  Sound play(const PedalSettings& settings, const Sound& input) {
    Sound output(input.size(), 777.0);
    REQUIRE(pedal.isReady());
    REQUIRE(pedal.reserve(static_cast<int32_t>(input.size())));
    pedal.run(input.data(), output.data(), static_cast<int32_t>(input.size()), settings);
    return output;
  }
  Sound playAll(const PedalSettings& settings, const Sound& input, const std::vector<int>& sizes) {
    Sound all;
    for (std::size_t block = 0; all.size() < input.size(); ++block) {
      const std::size_t size = std::min<std::size_t>(sizes[block % sizes.size()], input.size() - all.size());
      const auto from = input.begin() + static_cast<std::ptrdiff_t>(all.size());
      const Sound output = play(settings, {from, from + static_cast<std::ptrdiff_t>(size)});
      all.insert(all.end(), output.begin(), output.end());
    }
    return all;
  }
};

bool sameBits(const Sound& a, const Sound& b) {
  return a.size() == b.size() && differences(a.data(), b.data(), static_cast<int>(a.size())) == 0;
}

bool isFinite(const Sound& sound) {
  return std::all_of(sound.begin(), sound.end(), [](double x) { return std::isfinite(x); });
}

Sound impulse(int samples) {
  Sound sound(samples, 0.0);
  sound[0] = 1.0;
  return sound;
}

// Sets the control register for a scope.
class ScopedWord {
public:
  explicit ScopedWord(unsigned bits) : before(word::read()) { word::write(bits); }
  ~ScopedWord() { word::write(before); }

private:
  unsigned before;
};

} // namespace

TEST_CASE(
    "a rate is usable from 62.5 Hz on, where a fade has a sample, as long as two seconds have a length") {
  struct Row {
    double rate;
    bool isUsable;
  };
  const double infinity = std::numeric_limits<double>::infinity();
  for (const Row& row : {Row{62.5, true},
                         {63.0, true},
                         {8000.5, true},
                         {192000.0, true},
                         {62.4, false},
                         {15.0, false},
                         {1.0, false},
                         {0.0, false},
                         {-1.0, false},
                         {-44100.0, false},
                         {1073741824.0, false},
                         {3e9, false},
                         {1e300, false},
                         {static_cast<double>(kNan), false},
                         {infinity, false},
                         {-infinity, false}}) {
    CAPTURE(row.rate);
    CHECK(PitchPedal::canRun(row.rate) == row.isUsable);
    PitchPedal pedal;
    CHECK(pedal.rate() == -1.0);
    CHECK_FALSE(pedal.isReady());
    pedal.setRate(44100.0, kLate, 64);
    CHECK(pedal.isReady());
    pedal.setRate(row.rate, kLate, 64);
    CHECK(pedal.isReady() == row.isUsable);
    CHECK(bitsOf(pedal.rate()) == bitsOf(row.rate));
  }
  CHECK(PitchPedal::canRun(1073741823.0));
}

TEST_CASE("the shifted sound comes 5 ms late at the least") {
  struct Row {
    double rate;
    int late; // samples: the nearer one that an input is heard in
  };
  for (const Row& row : {Row{1000.0, 5}, {8000.0, 40}, {44100.0, 220}, {48000.0, 240}, {96000.0, 480}}) {
    CAPTURE(row.rate);
    Bench bench(row.rate, kLate);
    bench.play(kLate, Sound(100, 0.0)); // the tone comes up from nothing
    const Sound heard = bench.play(kLate, impulse(600));
    for (int i = 0; i < row.late; ++i)
      CHECK(heard[i] == 0.0);
    CHECK(heard[row.late] != 0.0);
  }
}

TEST_CASE("the first block starts at rest at its settings, whatever they were when the rate was set") {
  for (const PedalSettings& now : {inRow(7, 0.7f, 0.0f), inRow(2, 0.5f), inRow(0, 1.0f)}) {
    Bench before(44100.0, now), after(44100.0, inRow(1, 1.0f, 0.5f));
    for (int from = 0; from < 5000; from += 500)
      CHECK(sameBits(before.play(now, testSound(500, from)), after.play(now, testSound(500, from))));
  }
  const Sound sound = testSound(64);
  CHECK(sameBits(Bench(44100.0, inRow(5, 0.0f)).play(inRow(5, 0.7f, 0.0f), sound), sound)); // off at once
  CHECK(sameBits(Bench(44100.0, inRow(5, 0.0f)).play(kDryOnly, sound), sound)); // no ramp, no fade
}

TEST_CASE("a later rate starts anew: silent, its fades idle, the pedal coming up from the heel") {
  const Sound ones(40, 1.0);
  Bench bench(44100.0, inRow(3, 0.3f));
  bench.play(inRow(3, 0.3f), testSound(5000));
  bench.play(inRow(7, 0.9f, 0.0f), testSound(300)); // in the middle of both fades
  bench.newRate(8000.0, kDryOnly);
  const Sound heard = bench.play(kDryOnly, ones);
  CHECK(heard[0] == 1.0); // the pitch of the pedal's place, until it moves
  const double pole = smootherPoleAt(8000.0);
  double smoothed = 0.0; // after 40 samples of 5 ms the shifted sound has not begun
  for (int i = 1; i < 40; ++i) {
    smoothed = pole * smoothed + (1.0 - pole) * (i / 39.0);
    CHECK(heard[i] == doctest::Approx(smoothed).epsilon(1e-6));
  }

  Bench fresh(44100.0, kLate); // whose first block is behind it
  fresh.play(kLate, {});
  fresh.newRate(48000.0, inRow(4, 0.6f));
  bench.newRate(48000.0, inRow(4, 0.6f));
  for (int from = 0; from < 8000; from += 400)
    CHECK(sameBits(bench.play(inRow(4, 0.6f), testSound(400, from)),
                   fresh.play(inRow(4, 0.6f), testSound(400, from))));
}

TEST_CASE("clearing silences the line and lets the filters ring out") {
  const PedalSettings dark = {1.0f, 0.0f, kLate.color, 0.0f}; // the low branch alone
  Bench bench(1000.0, dark), kept(1000.0, dark);
  for (Bench* each : {&bench, &kept})
    each->playAll(dark, Sound(1000, 1.0), {100});
  bench.pedal.clear();
  const Sound cleared = bench.play(dark, Sound(200, 0.0)), echoed = kept.play(dark, Sound(200, 0.0));
  CHECK(cleared[0] > 0.01);
  for (int i = 0; i < 4; ++i)
    CHECK(cleared[i + 1] < 0.9 * cleared[i]);
  for (int i = 0; i < 5; ++i) // 5 ms of the sound before
    CHECK(echoed[i] == doctest::Approx(echoed[0]).epsilon(1e-6));
  CHECK(std::abs(cleared[199]) < 1e-9);
}

TEST_CASE("a NaN stays in a recursion until the rate is set anew, in a switch it does not") {
  struct Row {
    PedalSettings settings;
    double sample;
    bool isFinite;
  };
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const PedalSettings good = inRow(4, 0.3f);
  for (const Row& row : {Row{good, nan, false},
                         {good, std::numeric_limits<double>::infinity(), false},
                         {{1.0f, kNan, good.color, 0.3f}, 0.5, false},
                         {{1.0f, 0.8f, good.color, kNan}, 0.5, false},
                         {{kNan, 0.8f, good.color, 0.3f}, 0.5, true},
                         {{1.0f, 0.8f, kNan, 0.3f}, 0.5, true},
                         {good, 1e308, true}}) {
    Bench bench(8000.0, good);
    bench.play(good, testSound(500));
    CHECK(bench.pedal.isFinite());
    bench.play(row.settings, Sound(4, row.sample));
    bench.playAll(good, testSound(2 * 16000 + 1000), {1000}); // twice through the line
    CHECK(bench.pedal.isFinite() == row.isFinite);
    bench.newRate(8000.0, good);
    CHECK(bench.pedal.isFinite());
    CHECK(isFinite(bench.playAll(good, testSound(3000), {500})));
    CHECK(bench.pedal.isFinite());
  }
}

TEST_CASE("steady parameters give the same bits in any blocks, once the tone ramp is over") {
  const PedalSettings steady = inRow(4, 0.0f);
  const Sound sound = testSound(9000);
  const auto played = [&](const std::vector<int>& sizes) {
    Bench bench(44100.0, steady, 1);
    bench.play(steady, testSound(50));
    return bench.playAll(steady, sound, sizes);
  };
  const Sound whole = played({9000});
  for (const std::vector<int>& sizes : std::vector<std::vector<int>>{
           {1}, {2}, {64}, {63, 1}, {255, 257}, {256}, {500, 7, 0, 1, 256}, {4096}, {1, 2, 3, 4, 5}})
    CHECK(sameBits(played(sizes), whole));
}

TEST_CASE("input and output may be the same array") {
  for (int row = 0; row < 8; ++row) {
    Bench apart(44100.0, inRow(row, 0.3f)), inPlace(44100.0, inRow(row, 0.3f));
    for (int from = 0; from < 3000; from += 300) {
      const PedalSettings settings = inRow(row, from < 2000 ? 0.3f : 0.6f, from < 1000 ? 1.0f : 0.0f);
      Sound sound = testSound(300, from);
      const Sound expected = apart.play(settings, sound);
      inPlace.pedal.run(sound.data(), sound.data(), 300, settings);
      CHECK(sameBits(sound, expected));
    }
  }
}

TEST_CASE("an empty block is a block: it takes targets, begins fades, and is the first one") {
  Bench bench(8000.0, kDryOnly);
  bench.play(kDryOnly, {});
  const PedalSettings off = {0.0f, 0.8f, 0.0f, 1.0f};
  bench.play(off, {});
  const Sound heard = bench.play(off, Sound(200, 1.0)); // still fading out, to the other side of the silence
  for (int i = 0; i < 128; ++i)
    CHECK(heard[i] == doctest::Approx((128 - i) / 128.0));
  CHECK(heard[128] == 0.0);
  Bench moved(8000.0, kDryOnly);
  moved.play(kDryOnly, {});
  moved.play({1.0f, 0.8f, 0.0f, 0.5f}, {}); // the next ramp stands at its end already
  const Sound ramped = moved.play({1.0f, 0.8f, 0.0f, 0.5f}, Sound(3, 1.0));
  CHECK(ramped[0] < 1.0);
  CHECK(ramped[0] - ramped[1] == doctest::Approx(ramped[1] - ramped[2]).epsilon(0.01)); // no ramp, a smoother
}

TEST_CASE("blocks of one sample hear new targets one block late") {
  Bench bench(8000.0, inRow(0, 0.0f)); // at the heel the dry sound's gain is 0, and the shifted one is late
  CHECK(bench.play(inRow(0, 0.0f), {1.0})[0] == 0.0);
  CHECK(bench.play(inRow(0, 1.0f), {1.0})[0] == 0.0); // a ramp of one sample stands at its start
  CHECK(bench.play(inRow(0, 1.0f), {1.0})[0] == doctest::Approx(1.0 - smootherPoleAt(8000.0)).epsilon(1e-6));
}

TEST_CASE("a Color change within a row fades out and in with the same sound") {
  Bench bench(312.5, kDryOnly); // fades of five samples
  bench.play(kDryOnly, {1.0});
  const Sound heard = bench.play({1.0f, 0.8f, 0.0625f, 1.0f}, Sound(12, 1.0));
  const Sound gains = {1.0, 0.8, 0.6, 0.4, 0.2, 0.0, 0.2, 0.4, 0.6, 0.8, 1.0, 1.0};
  for (int i = 0; i < 12; ++i)
    CHECK(heard[i] == doctest::Approx(gains[i]));
}

TEST_CASE("a colour or a pitch chosen from outside holds until the pedal moves") {
  Bench bench(8000.0, kDryOnly);
  bench.playAll(kDryOnly, Sound(24000, 0.0), {1000}); // the smoother has settled
  bench.pedal.choosePitch(0.25f);
  CHECK(bench.play(kDryOnly, {1.0})[0] == 0.25);
  bench.pedal.chooseColor(inRow(6, 0.75f)); // dry gives way towards the toe
  CHECK(bench.play(kDryOnly, {1.0, 1.0})[1] == 0.25);
  bench.pedal.chooseColor(inRow(1, 0.0f));
  CHECK(bench.play(kDryOnly, {1.0, 1.0})[1] == 1.0);
}

TEST_CASE("running allocates nothing, whatever changes, and room for a block is made once") {
  Bench bench(44100.0, inRow(4, 0.3f), 256);
  Sound sound = testSound(256);
  const long before = allocations::taken();
  for (int round = 0; round < 40; ++round) {
    const auto value = static_cast<float>(round % 8) * 0.125f;
    bench.pedal.run(sound.data(), sound.data(), round % 3 == 0 ? 1 : 256,
                    {round % 5 == 0 ? 0.0f : 1.0f, value, value, 1.0f - value});
  }
  CHECK(bench.pedal.reserve(256));
  CHECK(allocations::taken() == before);
  CHECK(bench.pedal.reserve(257));
  CHECK(allocations::taken() == before + 3);
  CHECK(bench.pedal.reserve(257));
  CHECK(allocations::taken() == before + 3);
}

TEST_CASE("whichever allocation of a rate fails, nothing escapes or leaks and the same rate repairs it") {
  const long before = allocations::live();
  int ready = 0;
  for (long failing = 1; failing <= 20; ++failing) {
    PitchPedal pedal;
    {
      const allocations::FailNth failure(failing);
      pedal.setRate(44100.0, kLate, 100);
    }
    ready += pedal.isReady();
    if (!pedal.isReady() && allocations::live() != before) ready = -100; // what was had is given back at once
    pedal.setRate(44100.0, kLate, 100);
    if (!pedal.isReady() || !pedal.reserve(100)) ready = -100;
  }
  // Line, sweep and its 2 filters, 4 curves, 2 filters, 2 switches of 3, 3 arrays of a block: 19, of which
  // the sweep's filters can be missed, and the arrays until a block.
  CHECK(ready == 20 - 14);
  CHECK(allocations::live() == before);
  PitchPedal large;
  const allocations::RefuseLargerThan modest(64 << 20);
  large.setRate(1e9, kLate, 100);
  CHECK_FALSE(large.isReady());
}

TEST_CASE("a block flushes, rounds as its host does, and hands the host's word back whole") {
  const auto run = [](unsigned bits, unsigned& after) {
    Bench bench(44100.0, inRow(4, 0.3f));
    bench.play(inRow(4, 0.3f), testSound(1000));
    Sound sound = testSound(500);
    const ScopedWord host(bits);
    bench.pedal.run(sound.data(), sound.data(), 500, inRow(4, 0.9f));
    after = word::read();
    return sound;
  };
  unsigned after;
  const Sound nearest = run(word::kDefault, after);
  for (const unsigned bits :
       {word::kDefault, word::kDefault | word::kFlush, word::kDefault | word::kTinyOperandsAreZero,
        word::kDefault | word::kOneRaised, word::kDefault | word::kRounding,
        word::kDefault | word::kTinyOperandsAreZero | word::kRounding}) {
    CAPTURE(bits);
    const Sound sound = run(bits, after);
    CHECK((after & ~word::kRaised) == (bits & ~word::kRaised));
    CHECK(sameBits(sound, nearest) == ((bits & word::kRounding) == 0));
  }
}

TEST_CASE("off clears denormal input and keeps everything else, signs included") {
  const Sound input = {0.0,     -0.0,         kTiniest,      -kTiniest, 1e-310,
                       -1e-310, kLeastNormal, -kLeastNormal, 1.0,       -1e308};
  const Sound expected = {0.0, -0.0, 0.0, -0.0, 0.0, -0.0, kLeastNormal, -kLeastNormal, 1.0, -1e308};
  for (unsigned mode = 0; mode < 4; ++mode) { // however the host rounds
    Bench off(44100.0, inRow(4, 0.0f, 0.0f));
    Sound sound = input;
    {
      const ScopedWord host(word::kDefault | mode * (word::kRounding / 3));
      off.pedal.run(sound.data(), sound.data(), static_cast<int32_t>(sound.size()), inRow(4, 0.0f, 0.0f));
    }
    CHECK(sameBits(sound, expected));
  }
  for (const double x :
       Bench(44100.0, kDryOnly).play(kDryOnly, {kTiniest, -1e-310})) // and on, on the dry path
    CHECK(x == 0.0);
}

TEST_CASE("a gain above 1 lifts denormal input before anything flushes it") {
  const PedalSettings loud = inRow(0, 1.5f); // the dry sound's gain is the pedal's
  const double tiny = 2e-308, lifted = 3e-308;
  REQUIRE(tiny < kLeastNormal);
  Bench bench(8000.0, loud);
  CHECK(bench.play(loud, {tiny})[0] / lifted == doctest::Approx(1.0));
  bench.playAll(loud, Sound(40000, 0.0), {1000}); // the pedal is steady
  CHECK(bench.play(loud, {tiny})[0] / lifted == doctest::Approx(1.0));
}

TEST_CASE("any On/Off but exactly 1 is off") {
  const Sound sound = testSound(100);
  for (const float value : {0.0f, 0.5f, 0.99999994f, 1.0000001f, 2.0f, -1.0f})
    CHECK(sameBits(Bench(44100.0, inRow(2, 0.0f, value)).play(inRow(2, 0.0f, value), sound), sound));
  CHECK(Bench(44100.0, inRow(2, 0.0f)).play(inRow(2, 0.0f), sound)[0] == 0.0);
}

TEST_CASE("off the effect still listens: turned on again it sounds as if it had been on all the time") {
  Bench on(8000.0, inRow(4, 0.0f)), off(8000.0, inRow(4, 0.0f, 0.0f));
  on.playAll(inRow(4, 0.0f), testSound(5000), {100});
  off.playAll(inRow(4, 0.0f, 0.0f), testSound(5000), {100});
  off.play(inRow(4, 0.0f), testSound(256)); // both fades
  on.play(inRow(4, 0.0f), testSound(256));
  CHECK(sameBits(on.play(inRow(4, 0.0f), testSound(500)), off.play(inRow(4, 0.0f), testSound(500))));
}

TEST_CASE("tails end in zeros, never in denormal numbers") {
  Bench bench(8000.0, inRow(4, 0.0f));
  bench.play(inRow(4, 0.0f), testSound(2000));
  int denormal = 0;
  Sound tail;
  for (int block = 0; block < 200; ++block) { // 12 s: the line forgets in 2
    tail = bench.play(inRow(4, 0.0f), Sound(500, 0.0));
    denormal += static_cast<int>(std::count_if(
        tail.begin(), tail.end(), [](double y) { return y != 0.0 && std::fabs(y) < kLeastNormal; }));
  }
  CHECK(denormal == 0);
  CHECK(tail.back() == 0.0);
}
