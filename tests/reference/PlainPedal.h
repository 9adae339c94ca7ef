// The pedal once more, written for reading: what a host sees and hears of the module, one step after the
// other, with vectors as long as they need to be. Tests hold the module against it bit for bit.
#pragma once

#include "PlainEvents.h"
#include "PlainFilter.h"
#include "PlainTriangle.h"

#include <optional>
#include <vector>

// x rounded to single precision. A function of its own, because a compiler that turns a loop of such
// conversions into vector code has been seen to leave the rounding out.
float narrowed(double x);

class PlainPedal {
public:
  // rateHz: any float; at a rate that leaves nothing to run, blocks pass through.
  void setSampleRate(float rateHz);
  // Silences the delay line and nothing else, unless a state is no finite number: then all starts anew.
  void resume();
  // index: 0 On/Off, 1 Mode, 2 Tone, 3 Color, 4 PedalPos, others are ignored.
  void setParameter(int index, float value);
  float parameter(int index) const; // index: 0..4
  // The host's program change: only the number counts; 16 and above are refused, negative ones are not.
  void selectProgram(int number);
  int program() const { return currentProgram; }
  // The effect's own program change: number 0..15 and its five values, others are ignored.
  void loadProgram(int number);
  // One block; input and output may be the same array; n below 1 runs no sample.
  void process(const double* input, double* output, int n);

  PlainEvents events; // what happened so far

private:
  struct Curve { // from Tone to a coefficient
    int kind;    // 0 power, 2 arctangent
    double lo, hi;
    float scale, centre, offset, exponent;
  };
  struct FadeSwitch {
    int length = 0; // samples
    std::vector<double> fadeIn, fadeOut;
    double idleGain = 1.0;
    int position = 0;
    float lastValue = 0.0f;
    int state = 0;         // 0 idle, 1 fading out, 2 fading in
    int changesInFade = 0; // changes since the fade began
  };

  void setUp();
  bool isSpoilt() const;
  void setUpToneCurves();
  void setUpSwitch(FadeSwitch& fade, float value) const;
  void setColor();
  bool setPitch(float pedal);
  void setGains(double p);
  static double toneCoefficient(const Curve& curve, float tone);

  void processFlushed(const double* input, double* output, int n);
  void updateTone();
  void startFirstBlock();
  void noteChange(FadeSwitch& fade, float value, PlainEvent whenIdle);
  static double nextGain(FadeSwitch& fade);
  void playSwitches(int n);
  double readTap(double delay);
  double advanceTap(double delay);

  // parameters and programs
  float onOff = 1.0f, mode = 0.0f, tone = 0.8f, color = 0.5f, pedalPos = 0.0f;
  struct Program {
    float values[5] = {1.0f, 0.0f, 0.8f, 0.5f, 0.0f};
  };
  std::vector<Program> programs = std::vector<Program>(16);
  int currentProgram = 0;

  // set-up
  bool running = false; // the rate in force can be run
  bool firstBlock = true;
  double rateHz = -1.0;
  int delayLength = 0;   // samples
  double minDelay = 0.0; // samples
  int sweepLength = 0;   // samples
  double sweepLengthInv = 0.0;
  std::vector<Curve> curves;

  // control
  double cents = 0, lastCents = 0, centsAtToe = 0, centsAtHeel = 0;
  double pitchRatio = 1.0;
  double sweepRate = 0.0; // Hz
  int mixMode = 0;
  double dryGain = 0, wetGain = 0;
  double toneCoef[4] = {}, prevToneCoef[4] = {};
  float lastTone = -1.0f;
  FadeSwitch onOffSwitch, colorSwitch;
  double lastPedal = 0, lastSmoothedPedal = 0;

  // sound
  std::optional<PlainTriangle> sweep;
  std::optional<PlainFilter> pedalSmoother, shiftFilter;
  std::vector<double> delayLine;
  int writeIndex = 0;
  double tapPos1 = 0, tapPos2 = 0; // samples
  double toneLow = 0, toneHigh = 0;

  // one block
  std::vector<double> onOffGain, colorGain;
  std::vector<float> onOffValue;
};
