// The life of each field: what the constructor gives it, what a new rate, the rate in force, a resume, a
// program and a block do to it. One case per row of docs/state.md.
#include "BusyEffect.h"
#include "tests/support/ScriptedHost.h"
#include "tests/unit/dsp/Bits.h"

#include <algorithm>
#include <cstring>
#include <doctest/doctest.h>
#include <functional>
#include <limits>
#include <pthread.h>
#include <thread>

namespace {

using Fields = std::vector<double>; // every field fits a double, pointers aside

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kNewRate = 48000.0f;

struct Event {
  const char* name;
  std::function<void(BusyEffect&)> happen;
};

const Event kSameRate = {"the rate in force", [](BusyEffect& e) { e.setSampleRate(44100.0f); }};
const Event kNewRateSet = {"a new rate", [](BusyEffect& e) { e.setSampleRate(kNewRate); }};
const Event kResume = {"resume", [](BusyEffect& e) { e.resume(); }};
const Event kHostProgram = {"the host's program change", [](BusyEffect& e) { e.selectProgram(3); }};
const Event kOwnProgram = {"the effect's program change", [](BusyEffect& e) { e.setProgram(3L); }};
const Event kBlock = {"a block", [](BusyEffect& e) { e.block(testSound(100)); }};

const std::vector<Event> kQuiet = {kSameRate, kResume, kHostProgram, kOwnProgram};

std::vector<Event> quietAnd(const Event& more) {
  std::vector<Event> all = kQuiet;
  all.push_back(more);
  return all;
}

bool sameBits(const Fields& a, const Fields& b) {
  return a.size() == b.size() && differences(a.data(), b.data(), static_cast<int>(a.size())) == 0;
}

template <typename Read> void checkKept(const std::vector<Event>& events, Read read) {
  for (const Event& event : events) {
    CAPTURE(event.name);
    BusyEffect e;
    const auto before = read(e);
    event.happen(e);
    CHECK(before == read(e));
  }
}

// Fields of a fresh effect, and of a busy one right after a new rate.
template <typename Read> void checkMade(Read read, const Fields& constructed, const Fields& atNewRate) {
  const ExposedTreadshift fresh;
  CHECK(sameBits(read(fresh), constructed));
  BusyEffect e;
  kNewRateSet.happen(e);
  CHECK(sameBits(read(e), atNewRate));
}

// Null at first; with a new rate an object other than the one before, whose fields are `made`.
template <typename Place, typename Read> void checkRebuilt(Place place, Read read, const Fields& made) {
  const ExposedTreadshift fresh;
  CHECK(place(fresh) == nullptr);
  BusyEffect e;
  REQUIRE(place(e) != nullptr);
  CHECK_FALSE(sameBits(read(e), made)); // else nothing would tell the old object from the new one
  kNewRateSet.happen(e);
  REQUIRE(place(e) != nullptr);
  CHECK(sameBits(read(e), made));
}

Fields parameters(const ExposedTreadshift& e) { return {e.onOff, e.mode, e.tone, e.color, e.pedalPos}; }

Fields programValues(const ExposedTreadshift& e) {
  Fields all;
  for (int program = 0; program < 16; ++program)
    all.insert(all.end(), e.programs[program].values, e.programs[program].values + kParameterCount);
  return all;
}

std::string programNames(const ExposedTreadshift& e) {
  std::string all;
  for (int program = 0; program < 16; ++program)
    all += std::string(e.programs[program].name) + '|';
  return all;
}

Fields lineOf(const ExposedTreadshift& e) { return {e.delayLine, e.delayLine + e.delayLength}; }
Fields switchOf(const ParamSwitch& fade) {
  return {static_cast<double>(fade.state), static_cast<double>(fade.position), fade.lastValue};
}

Fields pitchOf(const ExposedTreadshift& e) { return {e.cents, e.pitchRatio, e.sweepRate, e.pitchPedal}; }

bool allFinite(const std::vector<double>& sound) {
  return std::ranges::all_of(sound, [](double x) { return std::isfinite(x); });
}

bool noneFinite(const std::vector<double>& sound) {
  return std::ranges::none_of(sound, [](double x) { return std::isfinite(x); });
}

} // namespace

TEST_CASE("state of the live parameters") {
  const Fields program0 = {1.0, 0.0, 0.8f, 0.5, 0.0};
  checkMade(parameters, program0, {0.0, 0.0, 0.8f, 0.9f, 0.7f});
  checkKept({kSameRate, kResume, kHostProgram, kBlock}, parameters);
  BusyEffect e;
  kOwnProgram.happen(e);
  CHECK(parameters(e) == program0);
}

TEST_CASE("state of the programs' values") {
  Fields made;
  for (int program = 0; program < 16; ++program)
    for (double value : Fields{1.0, 0.0, 0.8f, 0.5, 0.0})
      made.push_back(value);
  Fields edited = made;
  edited[0] = 0.0; // the live values of program 0
  edited[3] = 0.9f;
  edited[4] = 0.7f;
  checkMade(programValues, made, edited);
  checkKept(quietAnd(kBlock), programValues);
}

TEST_CASE("state of the programs' names") {
  std::string inits;
  for (int program = 0; program < 16; ++program)
    inits += "Init|";
  CHECK(programNames(ExposedTreadshift()) == inits);
  std::vector<Event> events = quietAnd(kBlock);
  events.push_back(kNewRateSet);
  for (const Event& event : events) {
    CAPTURE(event.name);
    BusyEffect e;
    char name[] = "Dive";
    e.setProgramName(name);
    event.happen(e);
    CHECK(programNames(e) == "Dive|" + inits.substr(5));
  }
}

TEST_CASE("state of currentProgram") {
  const auto read = [](const ExposedTreadshift& e) { return Fields{static_cast<double>(e.currentProgram)}; };
  checkMade(read, {0.0}, {0.0});
  for (const Event& event : {kHostProgram, kOwnProgram}) {
    BusyEffect e;
    event.happen(e);
    CHECK(e.currentProgram == 3);
    for (const Event& other : {kSameRate, kNewRateSet, kResume, kBlock})
      other.happen(e);
    CHECK(e.currentProgram == 3);
  }
}

TEST_CASE("state of the base class's sampleRate and blockSize") {
  const auto read = [](ExposedTreadshift& e) {
    return Fields{e.getSampleRate(), static_cast<double>(e.blockSize)};
  };
  ExposedTreadshift fresh;
  CHECK(read(fresh) == Fields{44100.0, 1024.0});
  fresh.setSampleRate(kNewRate);
  fresh.setBlockSize(77);
  CHECK(read(fresh) == Fields{44100.0, 77.0});
  std::vector<Event> events = quietAnd(kBlock);
  events.push_back(kNewRateSet);
  checkKept(events, read);
}

TEST_CASE("state of the record, the callback and the editor") {
  std::vector<Event> events = quietAnd(kBlock);
  events.push_back(kNewRateSet);
  checkKept(events, [](ExposedTreadshift& e) {
    const char* bytes = reinterpret_cast<const char*>(e.getAeffect());
    return std::string(bytes, bytes + sizeof(AEffect));
  });
  const ScriptedHost host;
  ExposedTreadshift e(ScriptedHost::callback);
  for (float rate : {44100.0f, kNewRate}) {
    e.setSampleRate(rate);
    e.block(testSound(100));
    CHECK((e.hostCallback == ScriptedHost::callback));
    CHECK(e.editor == nullptr);
  }
}

TEST_CASE("state of the framework's baseTime and headerVersion") {
  const auto read = [](const ExposedTreadshift& e) {
    return Fields{e.baseTime, static_cast<double>(e.headerVersion)};
  };
  checkMade(read, {0.0, 1.0}, {0.0, 1.0});
  checkKept(quietAnd(kBlock), read);
}

TEST_CASE("state of the lock") {
  std::vector<Event> events = quietAnd(kBlock);
  events.push_back(kNewRateSet);
  for (const Event& event : events) {
    CAPTURE(event.name);
    BusyEffect e;
    event.happen(e);
    // The lock is a mutex and nothing else; for another thread one that is held here is not free.
    auto* mutex = reinterpret_cast<pthread_mutex_t*>(&e.lock);
    int taken = -1;
    std::thread([&] {
      taken = pthread_mutex_trylock(mutex);
      if (taken == 0) pthread_mutex_unlock(mutex);
    }).join();
    CHECK(taken == 0);
  }
}

TEST_CASE("state of rateHz and rateHzInt") {
  const auto read = [](const ExposedTreadshift& e) {
    return Fields{e.rateHz, static_cast<double>(e.rateHzInt)};
  };
  checkMade(read, {-1.0, 44100.0}, {48000.0, 48000.0});
  checkKept(quietAnd(kBlock), read);
}

TEST_CASE("state of delayLength, minDelay, sweepLength and sweepLengthInv") {
  const auto read = [](const ExposedTreadshift& e) {
    return Fields{static_cast<double>(e.delayLength), e.minDelay, static_cast<double>(e.sweepLength),
                  e.sweepLengthInv};
  };
  checkMade(read, {0.0, 0.0, 0.0, 0.0}, {96000.0, 240.0, 3145.0, 1.0 / 3145.0});
  checkKept(quietAnd(kBlock), read);
}

TEST_CASE("state of toneCurveSeed1 to toneCurveSeed4") {
  const auto read = [](const ExposedTreadshift& e) {
    return Fields{e.toneCurveSeed1, e.toneCurveSeed2, e.toneCurveSeed3, e.toneCurveSeed4};
  };
  checkMade(read, {0.0, 0.0, 0.0, 0.0}, {0.998, 0.767, 0.968, 0.0});
  checkKept(quietAnd(kBlock), read);
}

TEST_CASE("state of toneCurves") {
  for (int j = 0; j < 4; ++j)
    CHECK(ExposedTreadshift().toneCurves[j] == nullptr);
  const auto read = [](const ExposedTreadshift& e) {
    Fields all;
    for (const ParamCurve* curve : e.toneCurves)
      all.insert(all.end(), {static_cast<double>(curve->kind), curve->lo, curve->hi});
    return all;
  };
  BusyEffect e;
  CHECK(read(e) == Fields{0, 0.998, 0.749, 2, 0.0, 0.965, 0, 0.8, 0.45, 0, 6.0, 0.0});
  kNewRateSet.happen(e);
  CHECK(read(e) == Fields{0, 0.998, 0.767, 2, 0.0, 0.968, 0, 0.8, 0.45, 0, 6.0, 0.0});
  checkKept(quietAnd(kBlock), read);
}

TEST_CASE("state of shiftFilter") {
  const auto state = [](const ExposedTreadshift& e) { return Fields{e.shiftFilter->state1}; };
  checkRebuilt([](const ExposedTreadshift& e) { return e.shiftFilter; }, state, {0.0});
  checkKept(kQuiet, state);
  checkKept(quietAnd(kBlock), [](const ExposedTreadshift& e) { // the design
    return Fields{e.shiftFilter->ff0, e.shiftFilter->ff1, e.shiftFilter->fb1};
  });
  BusyEffect e;
  const Fields before = state(e);
  kBlock.happen(e);
  CHECK(state(e) != before);
}

TEST_CASE("state of pedalSmoother") {
  const auto state = [](const ExposedTreadshift& e) { return Fields{e.pedalSmoother->state1}; };
  checkRebuilt([](const ExposedTreadshift& e) { return e.pedalSmoother; }, state, {0.0});
  checkKept(kQuiet, state);
  BusyEffect e;
  const double before = e.pedalSmoother->state1;
  kBlock.happen(e); // rises from 0 to a pedal of 0.7
  CHECK(e.pedalSmoother->state1 > before);
  CHECK(e.pedalSmoother->state1 < 0.7);
}

TEST_CASE("state of sweepLfo") {
  const auto state = [](const ExposedTreadshift& e) {
    return Fields{e.sweepLfo->phase, static_cast<double>(e.sweepLfo->falling),
                  static_cast<double>(e.sweepLfo->firstCall), e.sweepLfo->lastRate};
  };
  checkRebuilt([](const ExposedTreadshift& e) { return e.sweepLfo; }, state, {0.0, 0.0, 1.0, 0.0});
  checkKept(kQuiet, state);
  BusyEffect e;
  const double phase = e.sweepLfo->phase;
  kBlock.happen(e);
  CHECK(e.sweepLfo->phase != phase);
  CHECK(e.sweepLfo->firstCall == 0);
  CHECK(bitsOf(e.sweepLfo->lastRate) == bitsOf(e.sweepRate));
}

TEST_CASE("state of the sweep's histories") {
  BusyEffect e;
  kNewRateSet.happen(e);
  kBlock.happen(e);
  const lfoTriangle& lfo = *e.sweepLfo;
  CHECK(std::all_of(lfo.phaseHistory, lfo.phaseHistory + lfo.kHistoryLength,
                    [](double x) { return x == 0.0; }));
  CHECK(std::all_of(lfo.directionHistory, lfo.directionHistory + lfo.kHistoryLength,
                    [](uint8_t x) { return x == 0; }));
}

TEST_CASE("state of onOffSwitch") {
  const auto state = [](const ExposedTreadshift& e) { return switchOf(*e.onOffSwitch); };
  checkRebuilt([](const ExposedTreadshift& e) { return e.onOffSwitch; }, state, {0.0, 0.0, 0.0});
  checkKept(kQuiet, state);
  BusyEffect e; // 300 samples into a fade-out of 705
  CHECK(state(e) == Fields{1.0, 300.0, 0.0});
  kBlock.happen(e);
  CHECK(state(e) == Fields{1.0, 400.0, 0.0});
}

TEST_CASE("state of colorSwitch") {
  const auto state = [](const ExposedTreadshift& e) { return switchOf(*e.colorSwitch); };
  checkRebuilt([](const ExposedTreadshift& e) { return e.colorSwitch; }, state, {0.0, 0.0, 0.9f});
  checkKept(kQuiet, state);
  BusyEffect e;
  CHECK(state(e) == Fields{1.0, 300.0, 0.9f});
  kBlock.happen(e);
  CHECK(state(e) == Fields{1.0, 400.0, 0.9f});
}

TEST_CASE("state of the On/Off switch's value buffer") {
  ExposedTreadshift fresh;
  fresh.setBlockSize(64);
  fresh.setSampleRate(44100.0f);
  CHECK(fresh.onOffSwitch->valueCapacity == 64);
  CHECK(fresh.onOffSwitch->valueBuffer != nullptr);
  fresh.setSampleRate(kNewRate);
  CHECK(fresh.onOffSwitch->valueCapacity == 64);
  fresh.block(testSound(65));
  CHECK(fresh.onOffSwitch->valueCapacity == 65);
  fresh.block(testSound(10));
  CHECK(fresh.onOffSwitch->valueCapacity == 65);
  checkKept(kQuiet, [](const ExposedTreadshift& e) { return e.onOffSwitch->valueBuffer; });
}

TEST_CASE("state of delayLine") {
  CHECK(ExposedTreadshift().delayLine == nullptr);
  checkKept({kSameRate, kHostProgram, kOwnProgram}, lineOf);
  BusyEffect e;
  CHECK(e.delayLine[0] != 0.0);
  kResume.happen(e);
  CHECK(sameBits(lineOf(e), Fields(88200, 0.0)));
  e.block({0.25, 0.5});
  CHECK(e.delayLine[1300] == 0.25);
  CHECK(e.delayLine[1301] == 0.5);
  kNewRateSet.happen(e);
  CHECK(sameBits(lineOf(e), Fields(96000, 0.0)));
}

TEST_CASE("state of centsAtHeel, centsAtToe and mixMode") {
  const auto read = [](const ExposedTreadshift& e) {
    return Fields{e.centsAtHeel, e.centsAtToe, static_cast<double>(e.mixMode)};
  };
  checkMade(read, {0.0, 0.0, 0.0}, {-6000.0, 1200.0, 3.0}); // Color 0.9 is row 7
  checkKept(quietAnd(kBlock), read);
  BusyEffect e; // row 4 in force, the silent sample still to come
  CHECK(read(e) == Fields{-1200.0, 1200.0, 3.0});
  e.block(testSound(500));
  CHECK(read(e) == Fields{-6000.0, 1200.0, 3.0});
}

TEST_CASE("state of cents, pitchRatio, sweepRate and pitchPedal") {
  const double cents = -6000.0 + 7200.0 * 0.7f;
  const double ratio = std::pow(2.0, cents * (1.0 / 1200.0));
  checkMade(pitchOf, {0.0, 1.0, 0.0, 0.0},
            {cents, ratio, std::abs(1.0 - ratio) * 48000.0 * (1.0 / 3145.0), 0.7f});
  checkKept(kQuiet, pitchOf);
  BusyEffect e;
  kBlock.happen(e);
  CHECK(bitsOf(e.pitchPedal) == bitsOf(static_cast<float>(e.lastSmoothedPedal)));
  CHECK(bitsOf(e.cents) == bitsOf(-1200.0 + 2400.0 * static_cast<double>(e.pitchPedal)));
}

TEST_CASE("state of lastCents") {
  const auto read = [](const ExposedTreadshift& e) { return Fields{e.lastCents}; };
  checkMade(read, {0.0}, {-6000.0 + 7200.0 * 0.7f});
  checkKept(kQuiet, read);
  BusyEffect e;
  kBlock.happen(e);
  CHECK(bitsOf(e.lastCents) == bitsOf(e.cents));
}

TEST_CASE("state of dryGain and wetGain") {
  const auto read = [](const ExposedTreadshift& e) { return Fields{e.dryGain, e.wetGain}; };
  checkMade(read, {0.0, 0.0}, {1.0, 1.0});
  checkKept(kQuiet, read);
  ExposedTreadshift e(44100.0f, 1.0f, 0.8f, colorOfRow(0), 1.0f);
  CHECK(read(e) == Fields{1.0, 0.0});
  e.block(testSound(100));
  e.setParameter(kPedalPos, 0.0f);
  e.block(testSound(100));
  CHECK(bitsOf(e.dryGain) == bitsOf(static_cast<double>(e.pitchPedal)));
  CHECK(e.dryGain < 1.0);
}

TEST_CASE("state of toneCoef, prevToneCoef and lastTone") {
  const auto read = [](const ExposedTreadshift& e) {
    Fields all(e.toneCoef, e.toneCoef + 4);
    all.insert(all.end(), e.prevToneCoef, e.prevToneCoef + 4);
    all.push_back(e.lastTone);
    return all;
  };
  const Fields zeroed = {0, 0, 0, 0, 0, 0, 0, 0, -1};
  checkMade(read, zeroed, zeroed);
  checkKept(quietAnd(kBlock), read); // Tone stands still
  BusyEffect e;
  e.setParameter(kTone, 1.0f);
  CHECK(e.lastTone == 0.8f);
  kBlock.happen(e);
  CHECK(e.lastTone == 1.0f);
  CHECK(e.toneCoef[3] == 6.0);
  CHECK(e.prevToneCoef[3] == 6.0);
}

TEST_CASE("state of firstBlock") {
  CHECK(ExposedTreadshift().firstBlock);
  ExposedTreadshift e;
  e.setSampleRate(44100.0f);
  CHECK(e.firstBlock);
  e.block(testSound(1));
  CHECK(!e.firstBlock);
  std::vector<Event> events = quietAnd(kBlock);
  events.push_back(kNewRateSet); // not set again
  checkKept(events, [](const ExposedTreadshift& busy) { return busy.firstBlock; });
}

TEST_CASE("state of lastPedal") {
  const auto read = [](const ExposedTreadshift& e) { return Fields{e.lastPedal}; };
  checkMade(read, {0.0}, {0.0});
  checkKept(kQuiet, read);
  BusyEffect e;
  e.setParameter(kPedalPos, 0.2f);
  CHECK(bitsOf(e.lastPedal) == bitsOf(static_cast<double>(0.7f)));
  kBlock.happen(e);
  CHECK(bitsOf(e.lastPedal) == bitsOf(static_cast<double>(0.2f)));
}

TEST_CASE("state of lastSmoothedPedal") {
  const auto read = [](const ExposedTreadshift& e) { return Fields{e.lastSmoothedPedal}; };
  checkMade(read, {0.0}, {0.0});
  checkKept(kQuiet, read);
  BusyEffect e;
  const double before = e.lastSmoothedPedal;
  kBlock.happen(e);
  CHECK(e.lastSmoothedPedal != before);
  CHECK(bitsOf(e.lastSmoothedPedal) == bitsOf(e.pedalSmoother->state1));
}

TEST_CASE("state of writeIndex") {
  const auto read = [](const ExposedTreadshift& e) { return Fields{static_cast<double>(e.writeIndex)}; };
  checkMade(read, {0.0}, {0.0});
  checkKept(kQuiet, read);
  BusyEffect e;
  CHECK(e.writeIndex == 1300);
  kBlock.happen(e);
  CHECK(e.writeIndex == 1400);
  e.block(testSound(88200)); // once round the line
  CHECK(e.writeIndex == 1400);
}

TEST_CASE("state of tapPos1 and tapPos2") {
  const auto read = [](const ExposedTreadshift& e) { return Fields{e.tapPos1, e.tapPos2}; };
  checkMade(read, {0.0, 0.0}, {240.0, 240.0});
  checkKept(kQuiet, read);
  BusyEffect e; // an octave down and rising: a tap lengthens by 1 minus the ratio
  const double before = e.tapPos2;
  kBlock.happen(e);
  CHECK(e.tapPos2 > before);
}

TEST_CASE("state of toneLowState and toneHighState") {
  const auto read = [](const ExposedTreadshift& e) { return Fields{e.toneLowState, e.toneHighState}; };
  checkMade(read, {0.0, 0.0}, {0.0, 0.0});
  checkKept(kQuiet, read);
  BusyEffect e;
  const Fields before = read(e);
  kBlock.happen(e);
  CHECK(before[0] != e.toneLowState);
  CHECK(before[1] != e.toneHighState);
}

TEST_CASE("state of sweepStart and turnPending") {
  const auto read = [](const ExposedTreadshift& e) {
    return Fields{static_cast<double>(e.sweepStart), static_cast<double>(e.turnPending)};
  };
  const ExposedTreadshift fresh;
  CHECK(read(fresh) == Fields{0.0, 0.0});
  std::vector<Event> events = kQuiet;
  events.push_back(kNewRateSet); // what a block left is put right by the next one
  checkKept(events, read);
  BusyEffect e;
  CHECK(e.sweepStart == 299); // the moving pedal began a run at every sample
  ExposedTreadshift still(44100.0f, 1.0f, 0.8f, colorOfRow(4), 0.0f);
  still.sweepStart = 77;
  still.turnPending = true;
  still.block(testSound(100));
  CHECK(read(still) == Fields{0.0, 0.0});
}

TEST_CASE("state of sweepBuffer, onOffGain, colorGain and scratchLength") {
  ExposedTreadshift e;
  CHECK(e.sweepBuffer == nullptr);
  CHECK(e.onOffGain == nullptr);
  CHECK(e.colorGain == nullptr);
  CHECK(e.scratchLength == 0);
  e.setBlockSize(64);
  CHECK(e.scratchLength == 0); // nothing before a rate
  e.setSampleRate(44100.0f);
  CHECK(e.scratchLength == 64);
  CHECK(e.sweepBuffer != nullptr);
  e.setSampleRate(kNewRate);
  CHECK(e.scratchLength == 64);
  e.block(testSound(65));
  CHECK(e.scratchLength == 65);
  e.setBlockSize(32);
  CHECK(e.scratchLength == 65);
  std::vector<Event> events = quietAnd(kBlock);
  events.push_back(kNewRateSet);
  checkKept(events, [](const ExposedTreadshift& busy) { return busy.sweepBuffer; });
}

TEST_CASE("state of lastBlockSize") {
  const auto read = [](const ExposedTreadshift& e) { return Fields{static_cast<double>(e.lastBlockSize)}; };
  checkMade(read, {0.0}, {0.0});
  checkKept(kQuiet, read);
  BusyEffect e;
  CHECK(e.lastBlockSize == 300);
  kBlock.happen(e);
  CHECK(e.lastBlockSize == 100);
}

TEST_CASE("state of centsToOctaves, halfPi, spareTime, spareLevel and spareZero") {
  const auto read = [](const ExposedTreadshift& e) {
    return Fields{e.centsToOctaves, e.halfPi, e.spareTime, e.spareLevel, e.spareZero};
  };
  const Fields constants = {1.0 / 1200.0, 1.57079632675, 0.025, 0.003162, 0.0};
  checkMade(read, constants, constants);
  checkKept(quietAnd(kBlock), read);
}

TEST_CASE("a sample that is no number stays in the filters until a resume or another rate") {
  for (double bad : {static_cast<double>(kNan), HUGE_VAL}) {
    CAPTURE(bad);
    ExposedTreadshift e;
    e.setSampleRate(44100.0f);
    e.block(testSound(2000));
    e.sample(bad);
    e.block(testSound(20000)); // the taps have met it
    CHECK(noneFinite(e.block(testSound(100))));
    e.setSampleRate(44100.0f); // in force: nothing happens
    CHECK(noneFinite(e.block(testSound(100))));
    e.setParameter(kOnOff, 0.0f);
    e.block(testSound(1500)); // off, faded
    CHECK(allFinite(e.block(testSound(100))));
    e.setParameter(kOnOff, 1.0f);
    e.block(testSound(1500));
    CHECK(noneFinite(e.block(testSound(100))));
    e.resume();
    CHECK(allFinite(e.block(testSound(2000))));
  }
}

TEST_CASE("a Tone that was no number stays in the tone filter until a resume or another rate") {
  ExposedTreadshift e;
  e.setSampleRate(44100.0f);
  e.block(testSound(1000));
  e.setParameter(kTone, kNan);
  e.block(testSound(1000));
  e.setParameter(kTone, 0.8f);
  e.block(testSound(1000));
  CHECK(noneFinite(e.block(testSound(100))));
  e.resume();
  CHECK(allFinite(e.block(testSound(2000))));
}

TEST_CASE("a pedal that was no number holds the pitch until a resume or another rate") {
  for (int row : {4, 0, 6}) {
    CAPTURE(row);
    ExposedTreadshift e(44100.0f, 1.0f, 0.8f, colorOfRow(row), 0.3f);
    e.block(testSound(1000));
    e.setParameter(kPedalPos, kNan);
    e.block(testSound(1000));
    e.setParameter(kPedalPos, 0.5f);
    e.block(testSound(1000));
    CHECK(std::isnan(e.cents));
    const double tap1 = e.tapPos1, tap2 = e.tapPos2;
    const std::vector<double> sound = e.block(testSound(5000));
    CHECK((row == 4 ? allFinite(sound) : noneFinite(sound))); // the mix of the others follows the pedal
    CHECK(e.tapPos1 == tap1);
    CHECK(e.tapPos2 == tap2);
    e.resume();
    CHECK(allFinite(e.block(testSound(1000))));
    CHECK(std::isfinite(e.cents));
  }
}

TEST_CASE("On/Off and Color that were no numbers leave nothing behind once their fades are over") {
  for (int index : {kOnOff, kColor}) {
    ExposedTreadshift e;
    e.setSampleRate(44100.0f);
    e.block(testSound(1000));
    e.setParameter(index, kNan);
    for (int block = 0; block < 5; ++block)
      e.block(testSound(1000));
    e.setParameter(index, index == kOnOff ? 1.0f : colorOfRow(4));
    for (int block = 0; block < 5; ++block)
      CHECK(allFinite(e.block(testSound(1000))));
    CHECK(e.onOffSwitch->rests(1.0f));
    CHECK(e.colorSwitch->rests(index == kOnOff ? 0.5f : colorOfRow(4)));
    e.setParameter(kColor, colorOfRow(3)); // a change while a fade-in ran would have been forgotten
    e.block(testSound(1000));
    CHECK(e.centsAtToe == -2400.0);
  }
}
