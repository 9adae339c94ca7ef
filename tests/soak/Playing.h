// Random playing for hours: a foot on the pedal, hands on the knobs, a host that changes its mind.
#pragma once

#include "tests/property/PedalPair.h"
#include "tests/soak/PlayedSound.h"

#include <cstdint>
#include <vector>

// What was done to the pedals.
struct PlayedCounts {
  std::int64_t samples = 0, blocks = 0, parameters = 0, programs = 0, resumes = 0, rates = 0;
};

// The same seed, rates and lengths give the same performance. It runs until something differs.
class Playing {
public:
  // rates: Hz, to choose from; one that stands there twice comes twice as often. pair: must outlive this.
  Playing(std::uint64_t seed, std::vector<float> rates, PedalPair& pair);

  // Plays on for so many seconds of audio, in phases that differ in rate, gesture and block size.
  void play(double seconds);

  // An impulse and then half a second of silence, without touching anything.
  void probe();

  // Sets the rate anew, by way of another one, and announces the largest block.
  void settle(float rateHz);

  const PlayedCounts& counts() const { return played; }

private:
  enum Gesture { kRest, kSweep, kJumps, kWobble, kToHeel, kGestures };

  void playPhase();
  void startPhase();
  void changeSomething(int n);
  void changeOne();
  void movePedal();
  void setRate(float value);
  void set(int index, float value);
  void changeProgram();
  void block(int n);
  int blockSize();

  Random random;
  std::vector<float> rates;
  PedalPair& pair;
  PlayedSound sound;
  std::vector<double> input;
  PlayedCounts played;
  float rate = 0.0f;        // Hz in force; 0: none yet
  float pedal = 0.0f;       // as last set, as far as is known
  double secondsLeft = 0.0; // of audio

  // one phase
  Gesture gesture = kRest;
  int fixedSize = 0;                   // samples; 0: a new size for every block
  float lowest = 0.0f, highest = 1.0f; // of the pedal
  float pedalSpeed = 0.0f;             // per second
  bool toneMoves = false;              // before every block
};
