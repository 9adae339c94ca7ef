// A recursive filter of first or second order, and the one-pole smoother, written for reading: the second
// opinion on the filters of the pedal.
#pragma once

// What a filter is asked to be. Designing writes the frequency and quality actually used back into it.
struct PlainFilterRequest {
  int type;          // 0..12; any other number is the one-pole smoother
  double freq;       // Hz; not positive: 20; at most half the sample rate
  double freqLow;    // Hz, types 4 and 5
  double freqHigh;   // Hz, types 4 and 5
  double q;          // not positive: 1
  double gainDb;     // dB, types 10, 11 and 12
  double sampleRate; // Hz
};

class PlainFilter {
public:
  // Designs for the request; the state is zero.
  explicit PlainFilter(PlainFilterRequest& request);

  // New coefficients at once. The state survives unless the type changes.
  void design(PlainFilterRequest& request);
  // Filters one sample.
  double run(double x);

  // New coefficients over the next n samples, taken by runGliding.
  void glideTo(PlainFilterRequest& request, int n);
  double runGliding(double x);

  // Forgets the past.
  void refresh();

  // Coefficients; feedback signs are folded in. Smoother: ff0 is the pole, fb1 the gain of the input.
  double fb1 = 0, fb2 = 0, ff0 = 0, ff1 = 0, ff2 = 0;
  double state1 = 0, state2 = 0;

private:
  void designPeaking(double k, double q, double gainDb);
  void designSmoother(double freq, double sampleRate);
  double runWith(double b1, double b2, double a0, double a1, double a2, double x);

  double oldFb1 = 0, oldFb2 = 0, oldFf0 = 0, oldFf1 = 0, oldFf2 = 0;
  double stepFb1 = 0, stepFb2 = 0, stepFf0 = 0, stepFf1 = 0, stepFf2 = 0;
  bool smoother = false;
  int lastType = -1;
  double glidePosition = 0; // samples
  double glideLength = 0;   // samples
};
