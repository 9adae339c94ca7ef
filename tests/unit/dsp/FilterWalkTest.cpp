// The walk from one set of coefficients to another, against old + k / n of the difference.
#include "Bits.h"
#include "FilterRequest.h"

#include <doctest/doctest.h>
#include <vector>

namespace {

struct Coefficients {
  double ff0, ff1, ff2, fb1, fb2;
};

Coefficients of(const IIRFilter& f) { return {f.ff0, f.ff1, f.ff2, f.fb1, f.fb2}; }

// Step by multiplication with 1 / n, as the increments are formed.
Coefficients between(const Coefficients& a, const Coefficients& b, double n, double k) {
  const auto part = [&](double from, double to) { return from + (to - from) * (1.0 / n) * k; };
  return {part(a.ff0, b.ff0), part(a.ff1, b.ff1), part(a.ff2, b.ff2), part(a.fb1, b.fb1), part(a.fb2, b.fb2)};
}

struct PlainState {
  double s1 = 0.0, s2 = 0.0;

  double onePole(const Coefficients& c, double x) { return s1 = c.ff0 * s1 + c.fb1 * x; }

  double direct(const Coefficients& c, double x) {
    const double y = c.ff0 * x + s1;
    s1 = c.ff1 * x + s2 + c.fb1 * y;
    s2 = c.ff2 * x + c.fb2 * y;
    return y;
  }

  double run(bool smoother, const Coefficients& c, double x) {
    return smoother ? onePole(c, x) : direct(c, x);
  }
};

double input(int i) { return (i * 29 % 83) / 41.0 - 1.0; }

double walked(IIRFilter& filter, double x) {
  filter.ipIirProcessing(&x);
  return x;
}

void checkWalk(int32_t type, int n) {
  CAPTURE(type);
  CAPTURE(n);
  IIRFilter filter = designed(request(type, 400.0));
  PlainState plain;
  const Coefficients old = of(filter);
  for (int i = 0; i < 20; ++i) {
    double y = input(i);
    filter.iirProcessing(&y);
    CHECK(bitsOf(y) == bitsOf(plain.run(type == 13, old, input(i))));
  }
  filterPrm_tag prm = request(type, 5000.0);
  filter.ipFDexcute(&prm, n);
  const Coefficients target = of(filter);
  for (int k = 0; k <= n + 5; ++k) {
    const Coefficients c = k <= n ? between(old, target, n, k) : target;
    CAPTURE(k);
    CHECK(bitsOf(walked(filter, input(k))) == bitsOf(plain.run(type == 13, c, input(k))));
  }
}

} // namespace

TEST_CASE("sample k of a walk uses old plus k steps, then the new coefficients for good") {
  for (int32_t type : {0, 1, 2, 4, 10, 11, 13})
    for (int n : {1, 2, 3, 8, 100})
      checkWalk(type, n);
}

TEST_CASE("a walk remembers its start, its steps and its length") {
  IIRFilter f = designed(request(kPeaking, 400.0));
  const Coefficients old = of(f);
  filterPrm_tag prm = request(kPeaking, 5000.0);
  f.ipFDexcute(&prm, 10);
  CHECK(bitsOf(f.oldFf0) == bitsOf(old.ff0));
  CHECK(bitsOf(f.oldFf1) == bitsOf(old.ff1));
  CHECK(bitsOf(f.oldFf2) == bitsOf(old.ff2));
  CHECK(bitsOf(f.oldFb1) == bitsOf(old.fb1));
  CHECK(bitsOf(f.oldFb2) == bitsOf(old.fb2));
  CHECK(bitsOf(f.stepFf0) == bitsOf((f.ff0 - old.ff0) * (1.0 / 10)));
  CHECK(bitsOf(f.stepFf1) == bitsOf((f.ff1 - old.ff1) * (1.0 / 10)));
  CHECK(bitsOf(f.stepFf2) == bitsOf((f.ff2 - old.ff2) * (1.0 / 10)));
  CHECK(bitsOf(f.stepFb1) == bitsOf((f.fb1 - old.fb1) * (1.0 / 10)));
  CHECK(bitsOf(f.stepFb2) == bitsOf((f.fb2 - old.fb2) * (1.0 / 10)));
  CHECK(f.rampPos == 0.0);
  CHECK(f.rampLength == 10.0);
}

TEST_CASE("a walk counts its samples and ends one past its length, where it stays") {
  IIRFilter f = designed(request(0, 400.0));
  filterPrm_tag prm = request(0, 500.0);
  f.ipFDexcute(&prm, 3);
  for (double position : {1.0, 2.0, 3.0, 4.0, 4.0, 4.0}) {
    walked(f, 0.5);
    CHECK(f.rampPos == position);
  }
  CHECK(bitsOf(f.oldFf0) == bitsOf(f.ff0));
  CHECK(bitsOf(f.oldFb1) == bitsOf(f.fb1));
  CHECK(bitsOf(f.stepFf0) == bitsOf(0.0));
  CHECK(bitsOf(f.stepFb1) == bitsOf(0.0));
}

TEST_CASE("a walk can be turned to a new design half way: it starts from the design, not from the way") {
  IIRFilter f = designed(request(0, 400.0));
  filterPrm_tag prm = request(0, 5000.0);
  f.ipFDexcute(&prm, 10);
  const double firstTarget = f.ff0;
  for (int i = 0; i < 5; ++i)
    walked(f, 0.5);
  prm = request(0, 1000.0);
  f.ipFDexcute(&prm, 10);
  CHECK(bitsOf(f.oldFf0) == bitsOf(firstTarget));
  CHECK(f.rampPos == 0.0);
}

TEST_CASE("a walk to another type clears the state and takes the new form at once") {
  IIRFilter f = designed(request(0, 400.0));
  f.state1 = 9.0;
  const Coefficients old = of(f);
  filterPrm_tag prm = request(13, 400.0);
  f.ipFDexcute(&prm, 4);
  CHECK(f.state1 == 0.0);
  PlainState plain;
  const Coefficients target = of(f);
  for (int k = 0; k <= 4; ++k)
    CHECK(bitsOf(walked(f, 0.5)) == bitsOf(plain.onePole(between(old, target, 4, k), 0.5)));
}

TEST_CASE("without a walk the first walking sample meets zero coefficients, the next ones the design") {
  for (int32_t type : {0, 2, 13}) {
    CAPTURE(type);
    IIRFilter f = designed(request(type, 400.0));
    IIRFilter plain = f;
    CHECK(bitsOf(walked(f, 0.75)) == bitsOf(0.0));
    CHECK(bitsOf(f.state1) == bitsOf(0.0));
    CHECK(bitsOf(f.state2) == bitsOf(0.0));
    CHECK(f.rampPos == 1.0);
    for (int i = 0; i < 10; ++i) {
      double y = input(i);
      plain.iirProcessing(&y);
      CHECK(bitsOf(walked(f, input(i))) == bitsOf(y));
    }
  }
}
