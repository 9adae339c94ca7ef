#include "fuzz/OscillatorScript.h"

#include "dsp/lfoShapes.h"
#include "dsp/lfoTriangle.h"
#include "fuzz/Check.h"
#include "tests/reference/PlainOscillator.h"
#include "tests/reference/PlainTriangle.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <optional>
#include <vector>

namespace {

constexpr int kMostBlocks = 12;
constexpr int kLongestBlock = 96; // samples
constexpr double kUntouched = -7.25;

// Oscillators are large; one place for all of them spares most of the time that an execution takes.
struct Place {
  alignas(16) unsigned char bytes[sizeof(lfoTriangle)];
};
Place place;

struct InPlace {
  void operator()(lfoBase* oscillator) const { oscillator->~lfoBase(); }
};
using Owned = std::unique_ptr<lfoBase, InPlace>;

struct Making {
  Wave wave;
  double smoothFreq, startPhase, sampleRate;
};

template <typename Shape> Owned made(const Making& making) {
  static_assert(sizeof(Shape) <= sizeof place);
  return Owned(new (place.bytes) Shape(making.smoothFreq, making.startPhase, making.sampleRate));
}

Owned made(const Making& making, ScriptBytes& script) {
  switch (making.wave) {
  case Wave::sine:
    return made<lfoSin>(making);
  case Wave::halfSine:
    return made<lfoHalfSin>(making);
  case Wave::saw:
    return made<lfoSaw>(making);
  case Wave::reverseSaw:
    return made<lfoRvSaw>(making);
  case Wave::triangle2:
    return made<lfoTriangle2>(making);
  case Wave::rectangular:
    return made<lfoRectangular>(making);
  case Wave::random:
    return made<lfoRand>(making);
  default:
    if (script.flag()) return made<lfoTriangle>(making);
    return Owned(new (place.bytes)
                     lfoTriangle(making.smoothFreq, making.startPhase, making.sampleRate, script.float64()));
  }
}

bool isOrdinary(const Making& making) {
  return std::isfinite(making.startPhase) && making.sampleRate >= 1e-3 && making.sampleRate <= 1e12 &&
         (making.smoothFreq <= 0.0 || making.smoothFreq >= 1e-9);
}

bool isOrdinary(double number) { return std::abs(number) <= 1e12; }

struct Block {
  double rate, upper, lower;
  int samples;
  int historyOffset;
};

Block blockFrom(ScriptBytes& script) {
  Block block{};
  const int kind = script.byte();
  block.samples = kind < 0xF8 ? kind % kLongestBlock : -script.below(2000);
  block.rate = script.float64();
  const int more = script.byte();
  block.upper = (more & 1) != 0 ? script.float64() : 0.1;
  block.lower = (more & 2) != 0 ? script.float64() : 0.1;
  if ((more & 4) != 0) block.historyOffset = script.int32();
  if ((more & 8) != 0) block.historyOffset = lfoBase::kHistoryLength - script.below(100);
  return block;
}

// Any shape but the triangle.
class ShapePair {
public:
  ShapePair(const Making& making, ScriptBytes& bytes)
      : script(bytes), oscillator(made(making, script)),
        plain(making.wave, making.smoothFreq, making.startPhase, making.sampleRate),
        ordinary(isOrdinary(making)) {}

  void play() {
    for (int i = 0; i < kMostBlocks && !script.isEmpty(); ++i)
      playBlock(blockFrom(script));
  }

private:
  void playBlock(const Block& block) {
    std::vector<double> got(std::max(block.samples, 0), kUntouched);
    oscillator->Excute(block.rate, block.upper, block.lower, block.samples, got.data(), block.historyOffset);
    ordinary = ordinary && isOrdinary(block.rate) && isOrdinary(block.upper) && isOrdinary(block.lower);
    if (!ordinary) return;
    const std::vector<double> wanted = plain.block(block.rate, block.upper, block.lower, block.samples);
    for (std::size_t i = 0; i < got.size(); ++i)
      expect(sameNumber(got[i], wanted[i]), "an oscillator's sample differs from its plain form's");
    expect(sameNumber(oscillator->phase, plain.phase), "an oscillator's phase differs from its plain form's");
  }

  ScriptBytes& script;
  Owned oscillator;
  PlainOscillator plain;
  bool ordinary; // all numbers so far
};

// The sweep oscillator, with what its owner does to it.
class TrianglePair {
public:
  TrianglePair(const Making& making, ScriptBytes& bytes)
      : script(bytes), owner(made(making, script)), sweep(static_cast<lfoTriangle&>(*owner)),
        plain(making.smoothFreq, making.startPhase, making.sampleRate), smooths(making.smoothFreq > 0.0),
        ordinary(isOrdinary(making)) {}

  void play() {
    for (int i = 0; i < kMostBlocks && !script.isEmpty(); ++i) {
      const int choice = script.byte() % 8;
      if (choice == 0) turnAround();
      if (choice == 1) rewind();
      const Block block = blockFrom(script);
      ordinary = ordinary && isOrdinary(block.rate) && isOrdinary(block.upper) && isOrdinary(block.lower);
      if (choice == 2 && !smooths)
        walkBlock(block);
      else
        playBlock(block);
    }
  }

private:
  void turnAround() {
    sweep.turnAround();
    plain.falling = !plain.falling;
  }

  void rewind() {
    if (historyLength == 0) return;
    const int at = script.below(historyLength);
    sweep.phase = sweep.phaseHistory[at];
    sweep.falling = sweep.directionHistory[at];
    plain.phase = plain.phaseHistory[at];
    plain.falling = plain.directionHistory[at] != 0;
  }

  std::vector<double> plainBlock(const Block& block) {
    plain.start(block.rate, block.upper, block.lower, block.samples, 0);
    plain.finish();
    return {plain.values.begin(), plain.values.begin() + std::max(block.samples, 0)};
  }

  void playBlock(const Block& block) {
    std::vector<double> got(std::max(block.samples, 0), kUntouched);
    sweep.Excute(block.rate, block.upper, block.lower, block.samples, got.data(), block.historyOffset);
    const std::vector<double> wanted = plainBlock(block);
    for (std::size_t i = 0; i < got.size() && ordinary; ++i) {
      expect(sameNumber(got[i], wanted[i]), "the sweep's sample differs from its plain form's");
      const std::size_t slot = block.historyOffset + i;
      if (slot >= lfoBase::kHistoryLength) continue;
      expect(sameNumber(sweep.phaseHistory[slot], plain.phaseHistory[i]),
             "the sweep's history is another one");
      expect(sweep.directionHistory[slot] == (plain.directionHistory[i] != 0),
             "the sweep's direction history is another one");
    }
    if (block.samples > 0) historyLength = block.historyOffset == 0 ? block.samples : 0;
    checkPhase();
  }

  // The same run as the effect takes it: the owner moves the phase.
  void walkBlock(const Block& block) {
    double step = sweep.startGlide(block.rate, block.samples);
    const std::vector<double> wanted = plainBlock(block);
    for (int i = 0; i < block.samples; ++i) {
      if (i > 0) step = sweep.glideStep(i);
      if (ordinary) expect(sameNumber(sweep.phase, plain.phaseHistory[i]), "the sweep's walk is another one");
      lfoTriangle::advance(sweep.phase, sweep.falling, step);
    }
    historyLength = 0; // a walk records nothing
    checkPhase();
  }

  void checkPhase() const {
    if (!ordinary) return;
    expect(sameNumber(sweep.phase, plain.phase), "the sweep's phase differs from its plain form's");
    expect((sweep.falling != 0) == plain.falling, "the sweep runs in another direction than its plain form");
  }

  ScriptBytes& script;
  Owned owner;
  lfoTriangle& sweep;
  PlainTriangle plain;
  bool smooths;
  bool ordinary;         // all numbers so far
  int historyLength = 0; // entries from the first one on that both histories have alike
};

Making makingFrom(ScriptBytes& script) {
  const Wave wave = kEveryWave[script.byte() % std::size(kEveryWave)];
  const int more = script.byte();
  const double smoothFreq = (more & 1) != 0 ? script.float64() : 0.0;
  const double startPhase = (more & 2) != 0 ? script.float64() : 0.0;
  const double sampleRate = (more & 4) != 0 ? script.float64() : 48000.0;
  return {wave, smoothFreq, startPhase, sampleRate};
}

} // namespace

void playOscillator(ScriptBytes& script) {
  const Making making = makingFrom(script);
  if (making.wave == Wave::triangle)
    TrianglePair(making, script).play();
  else
    ShapePair(making, script).play();
}
