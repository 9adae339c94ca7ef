// What a filter keeps, and one sample through it.
#include "Bits.h"
#include "FieldPlaces.h"
#include "FilterRequest.h"

#include <cmath>
#include <doctest/doctest.h>
#include <vector>

namespace {

template <typename Field> int offsetIn(const IIRFilter& filter, const Field& field) {
  return static_cast<int>(reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&filter));
}

template <typename Field> int offsetIn(const filterPrm_tag& prm, const Field& field) {
  return static_cast<int>(reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&prm));
}

// The difference equation of a second-order filter with its whole past, y[n] in direct form.
std::vector<double> directForm(const IIRFilter& f, const std::vector<double>& x) {
  std::vector<double> y(x.size());
  const auto at = [](const std::vector<double>& v, int i) { return i < 0 ? 0.0 : v[i]; };
  for (int n = 0; n < static_cast<int>(x.size()); ++n)
    y[n] = f.ff0 * x[n] + f.ff1 * at(x, n - 1) + f.ff2 * at(x, n - 2) + f.fb1 * at(y, n - 1) +
           f.fb2 * at(y, n - 2);
  return y;
}

double filtered(IIRFilter& filter, double x) {
  filter.iirProcessing(&x);
  return x;
}

} // namespace

TEST_CASE("a filter's fields stand in order behind its table, by the platform's alignment") {
  const IIRFilter f = designed(request(0, 1000.0));
  const int first = placeOfDouble(sizeof(void*)); // behind the table's address
  const double* const doubles[] = {&f.fb1,     &f.fb2,     &f.ff0,     &f.ff1,    &f.ff2,     &f.oldFb1,
                                   &f.oldFb2,  &f.oldFf0,  &f.oldFf1,  &f.oldFf2, &f.stepFb1, &f.stepFb2,
                                   &f.stepFf0, &f.stepFf1, &f.stepFf2, &f.state1, &f.state2,  &f.pi};
  for (int i = 0; i < 18; ++i)
    CHECK(offsetIn(f, *doubles[i]) == first + 8 * i);
  const int behind = first + 8 * 18;
  CHECK(offsetIn(f, f.type) == behind);
  CHECK(offsetIn(f, f.prevType) == behind + 2);
  CHECK(offsetIn(f, f.ffOrder) == behind + 4);
  CHECK(offsetIn(f, f.fbOrder) == behind + 8);
  const int walk = placeOfDouble(behind + 12);
  CHECK(offsetIn(f, f.rampPos) == walk);
  CHECK(offsetIn(f, f.rampLength) == walk + 8);
}

TEST_CASE("a request's doubles stand directly behind its type, by the platform's alignment") {
  const filterPrm_tag prm{};
  const int first = placeOfDouble(4);
  CHECK(offsetIn(prm, prm.type) == 0);
  CHECK(offsetIn(prm, prm.freq) == first);
  CHECK(offsetIn(prm, prm.freqLow) == first + 8);
  CHECK(offsetIn(prm, prm.freqHigh) == first + 16);
  CHECK(offsetIn(prm, prm.q) == first + 24);
  CHECK(offsetIn(prm, prm.gainDb) == first + 32);
  CHECK(offsetIn(prm, prm.sampleRate) == first + 40);
  CHECK(sizeof prm == first + 48);
}

TEST_CASE("a new filter is silent, has no walk pending and knows its type") {
  for (int32_t type : {-1, 0, 5, 13}) {
    const IIRFilter f = designed(request(type, 1000.0));
    CHECK(bitsOf(f.state1) == bitsOf(0.0));
    CHECK(bitsOf(f.state2) == bitsOf(0.0));
    CHECK(f.type == type);
    CHECK(f.prevType == type);
    CHECK(bitsOf(f.rampPos) == bitsOf(0.0));
    CHECK(bitsOf(f.rampLength) == bitsOf(0.0));
    for (double zero : {f.oldFb1, f.oldFb2, f.oldFf0, f.oldFf1, f.oldFf2, f.stepFb1, f.stepFb2, f.stepFf0,
                        f.stepFf1, f.stepFf2})
      CHECK(bitsOf(zero) == bitsOf(0.0));
  }
}

TEST_CASE("pi is the literal two places above the nearest double") {
  const IIRFilter f = designed(request(0, 1000.0));
  CHECK(bitsOf(f.pi) == 0x400921FB54442D1AULL); // ...2D18 is the nearest
}

TEST_CASE("the literal pi is in the coefficients") {
  const IIRFilter f = designed(request(0, 11025.0));
  // A quarter of the rate: the nearest pi gives a tan below 1, the literal 1.0000000000000002.
  const double K = std::tan(3.141592653589794 * 11025.0 / 44100.0);
  CHECK(K > 1.0);
  CHECK(bitsOf(f.ff0) == bitsOf(K / (1.0 + K)));
  CHECK(bitsOf(f.fb1) == bitsOf((1.0 - K) / (1.0 + K)));
  CHECK(f.fb1 < 0.0);
}

TEST_CASE("every design filters by its difference equation") {
  std::vector<double> x(400);
  for (int i = 0; i < 400; ++i)
    x[i] = (i * 37 % 101) / 50.0 - 1.0;
  for (int32_t type = 0; type <= 12; ++type) {
    CAPTURE(type);
    IIRFilter filter = designed(request(type, 1800.0));
    const std::vector<double> expected = directForm(filter, x);
    double worst = 0.0;
    for (int i = 0; i < 400; ++i)
      worst = std::max(worst, std::abs(filtered(filter, x[i]) - expected[i]));
    CHECK(worst < 1e-12);
  }
}

TEST_CASE("the second-order form adds from left to right, with the old second state") {
  IIRFilter f = designed(request(kLowPass2, 1000.0));
  // state1 = (ff1 x + state2) + fb1 y = (1e16 + 1) - 1e16: the 1 is lost first, another order keeps it
  setCoefficients(f, 1.0, 1e16, 3.0, -1e16, -5.0);
  f.state1 = 0.0;
  f.state2 = 1.0;
  CHECK(bitsOf(filtered(f, 1.0)) == bitsOf(1.0));
  CHECK(bitsOf(f.state1) == bitsOf(0.0));
  CHECK(bitsOf(f.state2) == bitsOf(-2.0)); // 3 - 5
  // y = ff0 x + state1 takes the state of before: 0.5 * 4 + 0
  setCoefficients(f, 0.5, 8.0, 0.0, 16.0, 1.0);
  CHECK(bitsOf(filtered(f, 4.0)) == bitsOf(2.0));
  CHECK(bitsOf(f.state1) == bitsOf(62.0)); // (32 - 2) + 32
  CHECK(bitsOf(f.state2) == bitsOf(2.0));
}

TEST_CASE("first-order designs run through the same form, second state included") {
  IIRFilter f = designed(request(kLowPass1, 1000.0));
  setCoefficients(f, 2.0, 3.0, 5.0, 7.0, 11.0);
  f.state1 = 1.0;
  f.state2 = 13.0;
  CHECK(filtered(f, 1.0) == 3.0); // 2 + 1
  CHECK(f.state1 == 37.0);        // 3 + 13 + 21
  CHECK(f.state2 == 38.0);        // 5 + 33
}

TEST_CASE("the one-pole form is pole times state plus input gain times input, each product rounded") {
  IIRFilter f = designed(request(kOnePoleSmoother, 5.0));
  // (1 + e)^2 = 1 + 2e + e^2 rounds to 1 + 2e; a fused multiply-add would leave e^2 = 2^-60
  const double e = 0x1p-30;
  f.ff0 = 1.0 + e;
  f.state1 = 1.0 + e;
  f.fb1 = -1.0;
  f.ff1 = f.ff2 = f.fb2 = 99.0; // no part in it
  f.state2 = 77.0;
  CHECK(bitsOf(filtered(f, 1.0 + 2.0 * e)) == bitsOf(0.0));
  CHECK(bitsOf(f.state1) == bitsOf(0.0));
  f.ff0 = 0.5;
  f.fb1 = 0.25;
  f.state1 = 8.0;
  CHECK(filtered(f, 4.0) == 5.0);
  CHECK(f.state1 == 5.0);
  CHECK(f.state2 == 77.0);
}

TEST_CASE("a smoother primed at (1 - input gain) v / pole rests at v from its first sample") {
  IIRFilter f = designed(request(kOnePoleSmoother, 5.0));
  f.state1 = (1.0 - f.fb1) * 0.3 / f.ff0;
  for (int i = 0; i < 100; ++i)
    CHECK(filtered(f, 0.3) == doctest::Approx(0.3).epsilon(1e-14));
}

TEST_CASE("a design of the same type keeps the state, another type clears it") {
  for (int32_t type : {0, 2, 9, 13, 40}) {
    IIRFilter f = designed(request(type, 1000.0));
    f.state1 = 0.25;
    f.state2 = -0.5;
    filterPrm_tag same = request(type, 2000.0);
    f.FDexcute(&same);
    CHECK(bitsOf(f.state1) == bitsOf(0.25));
    CHECK(bitsOf(f.state2) == bitsOf(-0.5));
    filterPrm_tag other = request(type + 1, 2000.0);
    f.FDexcute(&other);
    CHECK(bitsOf(f.state1) == bitsOf(0.0));
    CHECK(bitsOf(f.state2) == bitsOf(0.0));
    CHECK(f.prevType == type + 1);
  }
}

TEST_CASE("two numbers of smoothers are two types") {
  IIRFilter f = designed(request(13, 5.0));
  f.state1 = 0.25;
  filterPrm_tag other = request(14, 5.0);
  f.FDexcute(&other);
  CHECK(bitsOf(f.state1) == bitsOf(0.0));
}

TEST_CASE("a new design leaves nothing of the old one behind") {
  IIRFilter f = designed(request(kPeaking, 1000.0));
  filterPrm_tag first = request(kLowPass1, 1000.0);
  f.FDexcute(&first);
  CHECK(bitsOf(f.ff2) == bitsOf(0.0));
  CHECK(bitsOf(f.fb2) == bitsOf(0.0));
  CHECK(f.ffOrder == 1);
  CHECK(f.fbOrder == 1);
}

TEST_CASE("refresh silences both states and nothing else") {
  IIRFilter f = designed(request(kPeaking, 1000.0));
  const IIRFilter before = f;
  f.state1 = 3.0;
  f.state2 = 4.0;
  f.refresh();
  CHECK(bitsOf(f.state1) == bitsOf(0.0));
  CHECK(bitsOf(f.state2) == bitsOf(0.0));
  CHECK(bitsOf(f.ff0) == bitsOf(before.ff0));
  CHECK(bitsOf(f.fb2) == bitsOf(before.fb2));
  CHECK(f.prevType == kPeaking);
}

TEST_CASE("a filter is deleted through its table, whose only operation is the destructor") {
  struct Watched : IIRFilter {
    Watched(filterPrm_tag* prm, bool& gone) : IIRFilter(prm), gone(gone) {}
    ~Watched() override { gone = true; }
    bool& gone;
  };
  bool gone = false;
  filterPrm_tag prm = request(0, 1000.0);
  IIRFilter* filter = new Watched(&prm, gone);
  delete filter;
  CHECK(gone);
}
