// The curves: every kind against its formula, with the roundings to single precision where they belong.
#include "engine/ParamCurve.h"
#include "tests/support/Allocations.h"
#include "tests/support/Bits.h"

#include <cmath>
#include <cstddef>
#include <doctest/doctest.h>
#include <functional>
#include <limits>
#include <new>
#include <vector>

namespace {

struct CurveBounds {
  double lo, hi;
};

const std::vector<CurveBounds> kCurveBounds = {
    {0.998, 0.749}, {0.0, 0.965}, {6.0, 0.0}, {0.3, 0.3}, {-2.5, 7.1}};

std::vector<float> values() {
  std::vector<float> all = {0.0f, 1.0f, -0.5f, 1.5f};
  for (int i = 1; i < 200; ++i)
    all.push_back(static_cast<float>(i) / 200.0f);
  return all;
}

// Rounds a step to single precision whatever the compiler thinks of it.
float single(double x) {
  volatile float rounded = static_cast<float>(x);
  return rounded;
}

float mirrored(const CurveBounds& bounds, float value) {
  return bounds.lo < bounds.hi ? single(1.0 - static_cast<double>(value)) : value;
}

// A sum, difference or product of two floats is exact or has one rounding in doubles that the rounding to
// float absorbs, so a step in doubles narrowed at once is the step in floats.
double mapped(const CurveBounds& bounds, float f) {
  const float a = single(bounds.lo), b = single(bounds.hi);
  const float least = a < b ? a : b, most = a < b ? b : a;
  const float span = single(static_cast<double>(most) - static_cast<double>(least));
  const float part = single(static_cast<double>(f) * static_cast<double>(span));
  return single(static_cast<double>(least) + static_cast<double>(part));
}

// A curve's fields but its bounds.
struct Shape {
  int32_t kind;
  float scale, centre, offset, exponent;
  std::vector<float> coefficients = {};
};

// Checks a shape between all bounds against f of x, f already narrowed.
void checkShape(const Shape& shape, const std::function<float(float)>& f) {
  for (const CurveBounds& bounds : kCurveBounds) {
    ParamCurve curve(shape.kind, bounds.lo, bounds.hi, shape.scale, shape.centre, shape.offset,
                     shape.exponent);
    curve.setPolynomial(shape.coefficients.data(), static_cast<int32_t>(shape.coefficients.size()));
    for (float value : values()) {
      CAPTURE(shape.kind);
      CAPTURE(value);
      const double expected = mapped(bounds, f(mirrored(bounds, value))), actual = curve.evaluate(value);
      if (std::isnan(expected))
        CHECK(std::isnan(actual));
      else
        CHECK(bitsOf(actual) == bitsOf(expected));
    }
  }
}

template <typename Field> std::ptrdiff_t offsetIn(const ParamCurve& curve, const Field& field) {
  return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&curve);
}

} // namespace

TEST_CASE("kind 0: offset plus scale times a power, formed in double, narrowed once") {
  for (const Shape& shape : {Shape{0, 1.0f, 0.0f, 0.0f, 3.0f}, Shape{0, -8.0f, 0.35f, 1.0f, 3.0f},
                             Shape{0, 0.7f, 0.1f, 0.2f, 2.5f}, Shape{0, 3.0f, 0.0f, -1.0f, 0.1f}}) {
    checkShape(shape, [&](float x) {
      const double base = single(static_cast<double>(x) - static_cast<double>(shape.centre));
      const double power = std::pow(base, static_cast<double>(shape.exponent));
      return single(static_cast<double>(shape.offset) + static_cast<double>(shape.scale) * power);
    });
  }
}

TEST_CASE("kind 1: x to the root of 2, all in single precision") {
  CHECK(bitsOf(single(std::sqrt(2.0))) == 0x3FB504F3);
  checkShape({1, 5.0f, 6.0f, 7.0f, 8.0f}, [](float x) { return ::powf(x, 1.41421354f); });
}

TEST_CASE("kind 2: arctangent about the centre, its inner product in single, its quotient in double") {
  for (const Shape& shape : {Shape{2, 2.5f, 0.5f, 9.0f, 9.0f}, Shape{2, 2.5f, 0.2f, 9.0f, 9.0f},
                             Shape{2, 0.3f, 0.5f, 9.0f, 9.0f}, Shape{2, -1.7f, 0.2f, 9.0f, 9.0f}}) {
    checkShape(shape, [&](float x) {
      const float distance = single(static_cast<double>(x) - static_cast<double>(shape.centre));
      const float angle = single(2.0 * static_cast<double>(shape.scale) * static_cast<double>(distance));
      const volatile float halfInSingle = ::atanf(shape.scale); // memory takes off what a register has more
      const double half = halfInSingle;
      return single((std::atan(static_cast<double>(angle)) + half) / (2.0 * half));
    });
  }
}

TEST_CASE("kind 3: a polynomial, ascending powers of x added up in single precision") {
  for (const std::vector<float>& coefficients : std::vector<std::vector<float>>{
           {0.7f}, {2.0f, -0.3f}, {0.1f, 0.2f, 0.3f}, {-1.5f, 0.25f, 1.0f, -0.125f, 0.6f}}) {
    checkShape({3, 1.0f, 2.0f, 3.0f, 4.0f, coefficients}, [&](float x) {
      float sum = coefficients.back(); // the highest power stands first
      float power = 1.0f;
      for (std::size_t i = 1; i < coefficients.size(); ++i) {
        power = single(static_cast<double>(power) * static_cast<double>(x));
        const float term = single(static_cast<double>(*(coefficients.rbegin() + i)) * power);
        sum = single(static_cast<double>(sum) + static_cast<double>(term));
      }
      return sum;
    });
  }
}

TEST_CASE("any other kind maps the value itself to the bounds") {
  for (int32_t kind : {4, -1, 100, std::numeric_limits<int32_t>::min()})
    checkShape({kind, 5.0f, 6.0f, 7.0f, 8.0f}, [](float x) { return x; });
}

TEST_CASE("a rising curve is mirrored, a falling or flat one is not") {
  const ParamCurve rising(9, 2.0, 6.0, 0, 0, 0, 0), falling(9, 6.0, 2.0, 0, 0, 0, 0);
  CHECK(rising.evaluate(0.25f) == 5.0);  // 2 + 0.75 * 4
  CHECK(falling.evaluate(0.25f) == 3.0); // 2 + 0.25 * 4
}

TEST_CASE("bounds are compared in double and used in single precision") {
  // 1 and 1 + 2^-40 are the same float: the curve is mirrored and flat
  const ParamCurve curve(9, 1.0, 1.0 + 0x1p-40, 0, 0, 0, 0);
  CHECK(bitsOf(curve.evaluate(0.25f)) == bitsOf(1.0));
  const ParamCurve narrowed(9, 0.998, 0.0, 0, 0, 0, 0);
  CHECK(bitsOf(narrowed.evaluate(1.0f)) == bitsOf(static_cast<double>(0.998f)));
}

TEST_CASE("no coefficients give f of 0, and null sources and counts below 1 take them away") {
  const float coefficients[] = {1.0f, 2.0f};
  const long before = allocations::live();
  {
    ParamCurve curve(3, 9.0, 5.0, 0, 0, 0, 0);
    CHECK(curve.coeffs == nullptr);
    CHECK(curve.order == 0);
    CHECK(curve.evaluate(0.5f) == 5.0);
    const auto giveAndTake = [&](const float* source, int32_t count) {
      curve.setPolynomial(coefficients, 2);
      CHECK(curve.order == 2);
      curve.setPolynomial(source, count);
      CHECK(curve.coeffs == nullptr);
      CHECK(curve.order == 0);
      CHECK(curve.evaluate(0.5f) == 5.0);
    };
    giveAndTake(nullptr, 2);
    giveAndTake(nullptr, 0);
    giveAndTake(coefficients, 0);
    giveAndTake(coefficients, -1);
    giveAndTake(coefficients, std::numeric_limits<int32_t>::min());
    curve.setPolynomial(coefficients, 2);
    CHECK(curve.coeffs != coefficients);      // a copy
    CHECK(allocations::live() == before + 1); // one set at a time
    curve.setPolynomial(curve.coeffs, 1);     // from itself
    CHECK(curve.evaluate(0.5f) == 9.0);
  }
  CHECK(allocations::live() == before);
}

TEST_CASE("coefficients that cannot be had leave the curve as it was") {
  const float coefficients[] = {1.0f, 2.0f, 3.0f};
  ParamCurve curve(3, 1.0, 0.0, 0, 0, 0, 0);
  curve.setPolynomial(coefficients, 2);
  {
    const allocations::FailNth next(1);
    CHECK_THROWS_AS(curve.setPolynomial(coefficients, 3), std::bad_alloc);
  }
  CHECK(curve.order == 2);
  CHECK(curve.evaluate(1.0f) == 3.0);
}

TEST_CASE("a curve's fields stand in order") {
  const ParamCurve curve(0, 1, 2, 3, 4, 5, 6);
  const std::ptrdiff_t offsets[] = {
      offsetIn(curve, curve.coeffs), offsetIn(curve, curve.kind),     offsetIn(curve, curve.lo),
      offsetIn(curve, curve.hi),     offsetIn(curve, curve.scale),    offsetIn(curve, curve.centre),
      offsetIn(curve, curve.offset), offsetIn(curve, curve.exponent), offsetIn(curve, curve.order)};
  CHECK(offsets[0] == 0);
  for (int i = 1; i < 9; ++i)
    CHECK(offsets[i] > offsets[i - 1]);
}

TEST_CASE("evaluating allocates nothing and takes any number") {
  const long before = allocations::taken();
  for (int32_t kind : {0, 1, 2, 3, 4}) {
    const ParamCurve curve(kind, 1.0, 0.0, 2.5f, 0.5f, 0.0f, 3.0f);
    curve.evaluate(std::numeric_limits<float>::infinity());
    curve.evaluate(std::numeric_limits<float>::quiet_NaN());
    curve.evaluate(-1e30f);
  }
  CHECK(allocations::taken() == before);
}
