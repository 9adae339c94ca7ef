// The designs against their analogue prototypes, which are transformed here in extended precision by the
// bilinear transform in its general form.
#include "FilterRequest.h"
#include "tests/support/Bits.h"

#include <array>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <doctest/doctest.h>
#include <limits>

namespace {

using Real = long double;

constexpr Real kPi = 3.14159265358979323846264338327950288L;
const Real kRoot2 = std::sqrt(2.0L);

// Analogue transfer function (n0 + n1 s + n2 s^2) / (d0 + d1 s + d2 s^2), its frequency unit such that the
// digital frequency w stands at tan(w / 2).
struct Prototype {
  std::array<Real, 3> n, d;
  int order;
};

Real warped(double freqHz, double rateHz) { return std::tan(kPi * freqHz / rateHz); }
Real gainOf(double gainDb) { return std::pow(10.0L, gainDb / 20.0L); }

// A prototype with its corner at 1, moved to K.
Prototype atCorner(Real K, std::array<Real, 3> n, std::array<Real, 3> d, int order) {
  const Real K2 = order == 2 ? K * K : 0.0L;
  if (order == 1) return {{n[0] * K, n[1], 0}, {d[0] * K, d[1], 0}, 1};
  return {{n[0] * K2, n[1] * K, n[2]}, {d[0] * K2, d[1] * K, d[2]}, 2};
}

Prototype betweenEdges(const filterPrm_tag& prm, bool pass) {
  const Real low = warped(prm.freqLow, prm.sampleRate), high = warped(prm.freqHigh, prm.sampleRate);
  const Real width = high - low, centre2 = low * high;
  if (pass) return {{0, width, 0}, {centre2, width, 1}, 2};
  return {{centre2, 0, 1}, {centre2, width, 1}, 2};
}

Prototype peaking(const filterPrm_tag& prm, Real K) {
  const Real Q = prm.q;
  const Real G = gainOf(std::abs(prm.gainDb));
  if (prm.gainDb > 0) return atCorner(K, {1, G / Q, 1}, {1, 1 / Q, 1}, 2);
  return atCorner(K, {1, 1 / Q, 1}, {1, G / Q, 1}, 2);
}

Prototype prototypeOf(const filterPrm_tag& prm) {
  const Real K = warped(prm.freq, prm.sampleRate), Q = prm.q, G = gainOf(prm.gainDb), r = kRoot2;
  switch (prm.type) {
  case 0:
    return atCorner(K, {1, 0, 0}, {1, 1, 0}, 1);
  case 1:
    return atCorner(K, {0, 1, 0}, {1, 1, 0}, 1);
  case 2:
    return atCorner(K, {1, 0, 0}, {1, r, 1}, 2);
  case 3:
    return atCorner(K, {0, 0, 1}, {1, r, 1}, 2);
  case 4:
    return betweenEdges(prm, true);
  case 5:
    return betweenEdges(prm, false);
  case 6:
    return atCorner(K, {1, 0, 0}, {1, r / Q, 1}, 2);
  case 7:
    return atCorner(K, {0, 0, 1}, {1, r / Q, 1}, 2);
  case 8:
    return atCorner(K, {0, 1 / Q, 0}, {1, 1 / Q, 1}, 2);
  case 9:
    return atCorner(K, {1, 0, 1}, {1, 1 / Q, 1}, 2);
  case 10:
    return peaking(prm, K);
  case 11:
    return atCorner(K, {G, 1, 0}, {1, 1, 0}, 1);
  case 12:
    return atCorner(K, {1, G, 0}, {1, 1, 0}, 1);
  default:
    std::abort();
  }
}

// s = (1 - z^-1) / (1 + z^-1), multiplied out.
std::array<Real, 3> bilinear(const std::array<Real, 3>& p, int order) {
  if (order == 1) return {p[0] + p[1], p[0] - p[1], 0};
  return {p[0] + p[1] + p[2], 2 * p[0] - 2 * p[2], p[0] - p[1] + p[2]};
}

// What a filter makes of a steady tone, linear.
double gainAt(const filterPrm_tag& prm, double freqHz) {
  const IIRFilter filter = designed(prm);
  const auto z = std::polar(1.0, static_cast<double>(-2 * kPi * freqHz / prm.sampleRate)); // z^-1
  return std::abs((filter.ff0 + filter.ff1 * z + filter.ff2 * z * z) /
                  (1.0 - filter.fb1 * z - filter.fb2 * z * z));
}

constexpr double kUnit = std::numeric_limits<double>::epsilon();

// Each coefficient is a short chain of roundings behind a tan whose argument was rounded twice and whose
// last bits differ between libraries: ten units of 1 or of the coefficient cover it.
void checkCoefficient(double actual, Real expected) {
  CAPTURE(actual);
  CAPTURE(static_cast<double>(expected));
  CHECK(std::abs(static_cast<double>(actual - expected)) <=
        10.0 * kUnit * std::max(1.0, std::abs(static_cast<double>(expected))));
}

void checkCoefficients(const IIRFilter& filter, const Prototype& prototype) {
  const auto b = bilinear(prototype.n, prototype.order);
  const auto a = bilinear(prototype.d, prototype.order);
  checkCoefficient(filter.ff0, b[0] / a[0]);
  checkCoefficient(filter.ff1, b[1] / a[0]);
  checkCoefficient(filter.ff2, b[2] / a[0]);
  checkCoefficient(filter.fb1, -a[1] / a[0]);
  checkCoefficient(filter.fb2, -a[2] / a[0]);
  CHECK(filter.ffOrder == prototype.order);
  CHECK(filter.fbOrder == prototype.order);
}

// Power gain of a smoother with pole p: |(1 - p) / (1 - p e^-jw)|^2.
Real smootherPower(Real p, double freqHz, double rateHz) {
  const Real c = std::cos(2 * kPi * freqHz / rateHz);
  return (1 - p) * (1 - p) / (1 - 2 * p * c + p * p);
}

} // namespace

TEST_CASE("every design is the bilinear transform of its analogue prototype") {
  for (int32_t type = 0; type <= 12; ++type) {
    for (double rate : {8000.0, 44100.0, 48000.0, 96000.0}) {
      for (double part : {0.0002, 0.01, 0.1, 0.25, 0.37}) {
        for (double q : {0.3, 1.0, 6.5}) {
          for (double gain : {-18.0, -0.5, 0.0, 0.5, 12.0}) {
            filterPrm_tag prm{type, part * rate, 0.03 * rate, 0.2 * rate, q, gain, rate};
            CAPTURE(type);
            CAPTURE(rate);
            CAPTURE(part);
            CAPTURE(q);
            CAPTURE(gain);
            const IIRFilter filter(&prm);
            checkCoefficients(filter, prototypeOf(prm));
          }
        }
      }
    }
  }
}

TEST_CASE("a design has its name's gain at 0 Hz, at its frequency and at half the rate") {
  struct Row {
    int32_t type;
    double q, gainDb;
    double gains[3];
  };
  const double half = std::sqrt(0.5), two = std::pow(10.0, 6.0 / 20.0);
  for (const Row& row :
       {Row{kLowPass1, 5, 0, {1, half, 0}}, // Q plays no part in the first four
        Row{kHighPass1, 5, 0, {0, half, 1}}, Row{kLowPass2, 5, 0, {1, half, 0}},
        Row{kHighPass2, 5, 0, {0, half, 1}}, Row{kLowPassQ, 1, 0, {1, half, 0}},
        Row{kLowPassQ, 5, 0, {1, 5 * half, 0}}, // Q over root 2
        Row{kHighPassQ, 5, 0, {0, 5 * half, 1}}, Row{kBandPassQ, 5, 0, {0, 1, 0}},
        Row{kNotchQ, 5, 0, {1, 0, 1}}, Row{kPeaking, 5, 20, {1, 10, 1}}, Row{kPeaking, 5, -20, {1, 0.1, 1}},
        Row{kLowShelf, 1, 6, {two, std::hypot(two, 1) * half, 1}},
        Row{kHighShelf, 1, 6, {1, std::hypot(two, 1) * half, two}}}) {
    CAPTURE(row.type);
    CAPTURE(row.q);
    filterPrm_tag prm = request(row.type, 3000.0);
    prm.q = row.q;
    prm.gainDb = row.gainDb;
    const double places[] = {0.0, 3000.0, 0.5 * kTestRate};
    for (int i = 0; i < 3; ++i)
      CHECK(std::abs(gainAt(prm, places[i]) - row.gains[i]) < 1e-9);
  }
  for (const double edge : {900.0, 2500.0}) {
    CHECK(gainAt(request(kBandPass, 1000.0), edge) == doctest::Approx(half).epsilon(1e-9));
    CHECK(gainAt(request(kBandStop, 1000.0), edge) == doctest::Approx(half).epsilon(1e-9));
  }
}

TEST_CASE("a smoother has -3 dB at its frequency") {
  for (double rate : {8000.0, 44100.0, 48000.0, 96000.0}) {
    for (double freq : {1.0, 5.0, 100.0, 3000.0}) {
      CAPTURE(rate);
      CAPTURE(freq);
      const IIRFilter filter = designed(request(kOnePoleSmoother, freq, rate));
      // cos near 1 keeps only the bits above 1e-16 of 1 - cos, about (w / 2)^2: what is lost comes back here
      const double w = static_cast<double>(2 * kPi) * freq / rate;
      CHECK(static_cast<double>(smootherPower(filter.ff0, freq, rate)) ==
            doctest::Approx(0.5011872337).epsilon(4e-16 / (w * w) + 1e-9));
      CHECK(bitsOf(filter.fb1) == bitsOf(1.0 - filter.ff0));
      for (const double none : {filter.ff1, filter.ff2, filter.fb2})
        CHECK(bitsOf(none) == bitsOf(0.0));
      CHECK(filter.ffOrder == 1);
      CHECK(filter.fbOrder == 0);
    }
  }
  const IIRFilter slow = designed(request(kOnePoleSmoother, 5.0));
  CHECK(slow.ff0 >= 0.99928618);
  CHECK(slow.ff0 < 0.99928619);
}

TEST_CASE("every type number outside 0..12 is a smoother, judged by its lower 16 bits") {
  const IIRFilter smoother = designed(request(13, 50.0));
  for (int32_t type : {14, 99, -1, -2, -13, 32767, -32768, 0x18005}) {
    CAPTURE(type);
    const IIRFilter filter = designed(request(type, 50.0));
    CHECK(filter.type == static_cast<int16_t>(type));
    CHECK(filter.prevType == filter.type);
    CHECK(filter.fbOrder == 0);
    CHECK(bitsOf(filter.ff0) == bitsOf(smoother.ff0));
    CHECK(bitsOf(filter.fb1) == bitsOf(smoother.fb1));
  }
  const IIRFilter lowPass = designed(request(0x10000, 50.0));
  CHECK(lowPass.type == 0);
  CHECK(bitsOf(lowPass.ff0) == bitsOf(designed(request(0, 50.0)).ff0));
}

TEST_CASE("a frequency or a Q that cannot be used is replaced, in the request too") {
  struct Row {
    double freq, q;
    double usedFreq, usedQ;
  };
  const double infinity = std::numeric_limits<double>::infinity(), nan = std::nan("");
  for (const Row& row : {Row{1000, 0.8, 1000, 0.8}, Row{0.0, 0.8, 20, 0.8}, Row{-0.0, 0.8, 20, 0.8},
                         Row{-infinity, 0.8, 20, 0.8}, Row{nan, 0.8, 20, 0.8}, Row{22050, 0.8, 22050, 0.8},
                         Row{22050.5, 0.8, 22050, 0.8}, Row{1e300, 0.8, 22050, 0.8}, Row{1000, 0.0, 1000, 1},
                         Row{1000, -0.0, 1000, 1}, Row{1000, -3.0, 1000, 1}}) {
    for (const int32_t type : {kLowPass1, kLowPassQ, kPeaking, kOnePoleSmoother}) {
      CAPTURE(row.freq);
      CAPTURE(row.q);
      filterPrm_tag prm = request(type, row.freq), used = request(type, row.usedFreq);
      prm.q = row.q;
      used.q = row.usedQ;
      const IIRFilter filter(&prm), expected(&used);
      CHECK(bitsOf(prm.freq) == bitsOf(row.usedFreq));
      CHECK(bitsOf(prm.q) == bitsOf(row.usedQ));
      CHECK(bitsOf(filter.ff0) == bitsOf(expected.ff0));
      CHECK(bitsOf(filter.fb1) == bitsOf(expected.fb1));
      CHECK(bitsOf(prm.freqLow) == bitsOf(900.0)); // the rest stays
      CHECK(bitsOf(prm.freqHigh) == bitsOf(2500.0));
      CHECK(bitsOf(prm.gainDb) == bitsOf(6.0));
      CHECK(prm.type == type);
    }
  }
}

TEST_CASE("band edges are used unchecked, also in reverse and beyond half the rate") {
  filterPrm_tag prm{kBandPass, 1000.0, 3000.0, 1000.0, 1.0, 0.0, kTestRate};
  checkCoefficients(IIRFilter(&prm), prototypeOf(prm));
  prm = {kBandStop, 1000.0, -500.0, 40000.0, 1.0, 0.0, kTestRate}; // the sum in D does not cancel here
  checkCoefficients(IIRFilter(&prm), prototypeOf(prm));
}

TEST_CASE("a sample rate of 0 gives coefficients that are not finite, and no trap") {
  for (int32_t type = 0; type <= 13; ++type) {
    filterPrm_tag prm = request(type, 1000.0, 0.0);
    CHECK(!std::isfinite(designed(prm).fb1));
  }
}
