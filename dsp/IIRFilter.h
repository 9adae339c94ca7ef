// A first- or second-order recursive filter that designs its own coefficients and runs in place.
#pragma once

#include "dsp/ExactArithmetic.h"
#include "dsp/ScopedNames.h"

#include <cstdint>

namespace treadshift {

// A design request. The design writes `freq` and `q` back as it used them.
struct filterPrm_tag {
  int32_t type;      // FilterType, of which 16 bits are kept; any other number: one-pole smoother
  double freq;       // Hz; 0 or less: 20 Hz; above half the rate: half the rate
  double freqLow;    // Hz, lower band edge (kBandPass, kBandStop); used unchecked
  double freqHigh;   // Hz, upper band edge (kBandPass, kBandStop); used unchecked
  double q;          // quality factor; 0 or less: 1
  double gainDb;     // dB (kPeaking, kLowShelf, kHighShelf)
  double sampleRate; // Hz; 0 gives coefficients that are not finite
};

enum FilterType {
  kLowPass1 = 0,  // first order
  kHighPass1 = 1, // first order
  kLowPass2 = 2,  // Butterworth
  kHighPass2 = 3, // Butterworth
  kBandPass = 4,  // between two edges
  kBandStop = 5,  // between two edges
  kLowPassQ = 6,  // Q of 1 is the Butterworth response
  kHighPassQ = 7, // likewise
  kBandPassQ = 8,
  kNotchQ = 9,
  kPeaking = 10,
  kLowShelf = 11,       // first order: gain at 0 Hz, 1 at half the rate
  kHighShelf = 12,      // first order: 1 at 0 Hz, gain at half the rate
  kOnePoleSmoother = 13 // power gain at freq is half (-3 dB)
};

// Designs by the bilinear transform with pre-warped frequency; runs as transposed direct form II, or as a
// one-pole recursion for smoothers. Nothing allocates and nothing throws. One thread at a time: the
// operations lock nothing. Literature: Zoelzer (ed.), DAFX, 2nd edition, chapter 2, for the designs from K =
// tan(pi f / fs); Oppenheim and Schafer, Discrete-Time Signal Processing, chapters 6 and 7, for form and
// transform.
class IIRFilter {
public:
  // Designs at once, with silent state. prm: not null; see FDexcute. [audio; host, processing stopped]
  explicit IIRFilter(filterPrm_tag* prm) noexcept;
  virtual ~IIRFilter() = default;

  // Designs new coefficients. The state survives a design of the same type, so that retuning does not
  // click, and is cleared by a change of type. prm: not null; `freq` and `q` are written back.
  // [audio; host, processing stopped]
  void FDexcute(filterPrm_tag* prm) noexcept;

  // Filters one sample in place. x: not null; a sample that is not finite stays in the state. [audio]
  void iirProcessing(double* x) noexcept;

  // Starts a linear walk of n samples from the present coefficients to a new design: sample k (0..n) uses
  // old + k/n of the difference. n: 1 or more; 0 gives steps that are not finite, below 0 the old
  // coefficients stay for good. prm: as FDexcute. [audio; host, processing stopped]
  void ipFDexcute(filterPrm_tag* prm, int n) noexcept;

  // Filters one sample in place with the walking coefficients, and walks on. [audio]
  // Before any ipFDexcute the first sample meets old coefficients of zero, later ones the design.
  void ipIirProcessing(double* x) noexcept;

  // Starts a smoother settled: with `value` for ever at its input it stays there. [audio]
  void settleAt(double value) noexcept { state1 = (1.0 - fb1) * value / ff0; }

  // Silences the state. [audio]
  void refresh() noexcept { state1 = state2 = 0.0; }

  // Coefficients. Feedback is stored negated, so that processing adds. A smoother keeps its input gain
  // (1 - p) in fb1 and its pole p in ff0.
  double fb1 = 0.0, fb2 = 0.0, ff0 = 0.0, ff1 = 0.0, ff2 = 0.0;

  // The walk: coefficients at its start and their steps per sample.
  double oldFb1 = 0.0, oldFb2 = 0.0, oldFf0 = 0.0, oldFf1 = 0.0, oldFf2 = 0.0;
  double stepFb1 = 0.0, stepFb2 = 0.0, stepFf0 = 0.0, stepFf1 = 0.0, stepFf2 = 0.0;

  double state1 = 0.0, state2 = 0.0;

  double pi = 3.141592653589794; // two last places above the nearest double; kept because it is in the sound
  int16_t type = 0;
  int16_t prevType = -1;   // -1: none yet
  int32_t ffOrder = 0;     // 1 or 2; informative
  int32_t fbOrder = 0;     // 1 or 2; 0: one-pole form
  double rampPos = 0.0;    // samples walked
  double rampLength = 0.0; // samples to walk

private:
  // Results of a design: the numerator and the negated denominator, all divided by a0.
  struct Coefficients {
    double ff0, ff1, ff2, fb1, fb2;
  };

  Coefficients design(const filterPrm_tag& prm) const noexcept;
  void setOrders() noexcept;
  void keepOldCoefficients() noexcept;
  void walkOn() noexcept;

  // One sample through coefficients c.
  void filterSample(double* x, const Coefficients& c) noexcept {
    if (fbOrder == 0) {
      const double y = c.ff0 * state1 + c.fb1 * *x;
      state1 = y;
      *x = y;
      return;
    }
    const double y = c.ff0 * *x + state1;
    state1 = c.ff1 * *x + state2 + c.fb1 * y;
    state2 = c.ff2 * *x + c.fb2 * y;
    *x = y;
  }
};

inline void IIRFilter::iirProcessing(double* x) noexcept { filterSample(x, {ff0, ff1, ff2, fb1, fb2}); }

inline void IIRFilter::ipIirProcessing(double* x) noexcept {
  filterSample(x, {oldFf0 + stepFf0 * rampPos, oldFf1 + stepFf1 * rampPos, oldFf2 + stepFf2 * rampPos,
                   oldFb1 + stepFb1 * rampPos, oldFb2 + stepFb2 * rampPos});
  walkOn();
}

} // namespace treadshift
