// Maps a parameter of 0..1 to a coefficient between two bounds.
#pragma once

#include "engine/RealTime.h"

#include <cstdint>

// The evaluation is in single precision where the fields are floats; its last bits are part of the sound.
struct ParamCurve {
  // Shapes of f(x). Any other kind number: f = x.
  enum Kind : int32_t {
    kPower = 0,      // f = offset + scale * (x - centre)^exponent
    kFixedPower = 1, // f = x^sqrt(2)
    kArctangent =
        2,          // f = (atan(2 scale (x - centre)) + atan(scale)) / (2 atan(scale)): 0..1 about centre 0.5
    kPolynomial = 3 // f = coeffs[order-1] + coeffs[order-2] x + ... + coeffs[0] x^(order-1)
  };

  // A curve of the fields below, unchecked. Allocates nothing. [host, processing stopped]
  ParamCurve(int32_t kind, double lo, double hi, float scale, float centre, float offset, float exponent);
  ~ParamCurve();

  ParamCurve(const ParamCurve&) = delete;
  ParamCurve& operator=(const ParamCurve&) = delete;

  // Copies the coefficients of a polynomial, highest power first. source: `count` floats; a null source or
  // a count below 1 leaves the curve without coefficients, and f is 0 then. Allocates; throws
  // std::bad_alloc, with the curve as it was, when memory cannot be had. [host, processing stopped]
  void setPolynomial(const float* source, int32_t count);

  // The coefficient at `value` (0..1; other values extrapolate): min(lo, hi) + f(x) * (max - min), with
  // x = 1 - value when lo < hi, else value. Allocates nothing. [audio]
  double evaluate(float value) const noexcept TREADSHIFT_REALTIME;

  float* coeffs; // owned; null unless setPolynomial gave some
  int32_t kind;  // Kind
  double lo;     // bound; below hi the curve is mirrored
  double hi;     // the other bound
  float scale;
  float centre;
  float offset;
  float exponent; // kPower
  int32_t order;  // number of coefficients (kPolynomial)

private:
  float shape(float x) const noexcept TREADSHIFT_REALTIME;
  float polynomial(float x) const noexcept TREADSHIFT_REALTIME;
};
