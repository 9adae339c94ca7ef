#include "engine/ParamCurve.h"

#include "dsp/ExactArithmetic.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kRoot2 = 1.41421356f;

// The 32-bit library hands single-precision results back with more precision than a float, which not every
// compiler takes off again; a store to memory does.
float stored(float result) {
  const volatile float inMemory = result;
  return inMemory;
}

} // namespace

ParamCurve::ParamCurve(int32_t kind, double lo, double hi, float scale, float centre, float offset,
                       float exponent)
    : coeffs(nullptr), kind(kind), lo(lo), hi(hi), scale(scale), centre(centre), offset(offset),
      exponent(exponent), order(0) {}

ParamCurve::~ParamCurve() { delete[] coeffs; }

void ParamCurve::setPolynomial(const float* source, int32_t count) {
  const int32_t kept = source ? std::max<int32_t>(count, 0) : 0;
  float* const copy = kept > 0 ? new float[kept] : nullptr;
  std::copy_n(source, kept, copy);
  delete[] coeffs;
  coeffs = copy;
  order = kept;
}

double ParamCurve::evaluate(float value) const noexcept {
  const float x = lo < hi ? 1.0f - value : value;
  const float f = shape(x);
  const float low = static_cast<float>(lo);
  const float high = static_cast<float>(hi);
  const float least = std::min(low, high);
  const float most = std::max(low, high);
  return least + f * (most - least);
}

float ParamCurve::shape(float x) const noexcept {
  switch (kind) {
  case kPower: {
    const double base = x - centre; // subtracted in single precision, then widened
    return static_cast<float>(offset + scale * std::pow(base, static_cast<double>(exponent)));
  }
  case kFixedPower:
    return stored(std::pow(x, kRoot2));
  case kArctangent: {
    const double angle = 2.0f * scale * (x - centre); // formed in single precision, then widened
    const double half = stored(std::atan(scale));
    return static_cast<float>((std::atan(angle) + half) / (2.0 * half));
  }
  case kPolynomial:
    return polynomial(x);
  default:
    return x;
  }
}

float ParamCurve::polynomial(float x) const noexcept {
  float sum = 0.0f;
  float power = 1.0f;
  for (int32_t i = order - 1; i >= 0; --i) {
    sum += coeffs[i] * power;
    power *= x;
  }
  return sum;
}
