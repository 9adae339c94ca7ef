// The designs against their analogue prototypes, which are transformed here in extended precision by the
// bilinear transform in its general form, and by complex evaluation of the response.
#include "Bits.h"
#include "FilterRequest.h"

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

std::complex<double> analogueResponse(const Prototype& p, double freqHz, double rateHz) {
  const std::complex<double> s(0.0, static_cast<double>(warped(freqHz, rateHz)));
  const auto at = [s](const std::array<Real, 3>& c) {
    return static_cast<double>(c[0]) + static_cast<double>(c[1]) * s + static_cast<double>(c[2]) * s * s;
  };
  return at(p.n) / at(p.d);
}

std::complex<double> response(const IIRFilter& filter, double freqHz, double rateHz) {
  const std::complex<double> z = std::polar(1.0, static_cast<double>(-2 * kPi * freqHz / rateHz)); // z^-1
  const std::complex<double> numerator = filter.ff0 + filter.ff1 * z + filter.ff2 * z * z;
  return numerator / (1.0 - filter.fb1 * z - filter.fb2 * z * z);
}

double gainAtZero(const IIRFilter& f) { return (f.ff0 + f.ff1 + f.ff2) / (1.0 - f.fb1 - f.fb2); }
double gainAtNyquist(const IIRFilter& f) { return (f.ff0 - f.ff1 + f.ff2) / (1.0 + f.fb1 - f.fb2); }

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

void checkResponse(const IIRFilter& filter, const Prototype& prototype, double rateHz) {
  for (double part : {0.0005, 0.01, 0.05, 0.11, 0.25, 0.4, 0.47}) {
    CAPTURE(part);
    const auto expected = analogueResponse(prototype, part * rateHz, rateHz);
    CHECK(std::abs(response(filter, part * rateHz, rateHz) - expected) <=
          1e-9 * std::max(1.0, std::abs(expected)));
  }
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
            checkResponse(filter, prototypeOf(prm), rate);
          }
        }
      }
    }
  }
}

TEST_CASE("gains at 0 Hz and at half the rate are those of the prototype at 0 and infinity") {
  const double two = std::pow(10.0, 6.0 / 20.0); // the request's +6 dB
  const double expected[13][2] = {{1, 0}, {0, 1}, {1, 0}, {0, 1}, {0, 0},   {1, 1},  {1, 0},
                                  {0, 1}, {0, 0}, {1, 1}, {1, 1}, {two, 1}, {1, two}};
  for (int32_t type = 0; type <= 12; ++type) {
    CAPTURE(type);
    const IIRFilter filter = designed(request(type, 1000.0));
    CHECK(gainAtZero(filter) == doctest::Approx(expected[type][0]).epsilon(1e-11));
    CHECK(gainAtNyquist(filter) == doctest::Approx(expected[type][1]).epsilon(1e-11));
  }
}

TEST_CASE("feedback is stored negated, so a low pass far below the rate feeds back almost 1 and -1") {
  const IIRFilter first = designed(request(kLowPass1, 10.0));
  CHECK(first.fb1 > 0.99);
  CHECK(first.fb1 < 1.0);
  const IIRFilter second = designed(request(kLowPass2, 10.0));
  CHECK(second.fb1 > 1.99);
  CHECK(second.fb1 < 2.0);
  CHECK(second.fb2 < -0.99);
  CHECK(second.fb2 > -1.0);
}

TEST_CASE("designs at their corner frequency have the prototype's gain there") {
  const double corner = 3000.0;
  const double halfPower = std::sqrt(0.5);
  const auto gainAt = [&](int32_t type, double q, double gainDb) {
    filterPrm_tag prm{type, corner, 900.0, 2500.0, q, gainDb, kTestRate};
    return std::abs(response(IIRFilter(&prm), corner, kTestRate));
  };
  for (int32_t type : {0, 1, 2, 3})
    CHECK(gainAt(type, 5.0, 0.0) == doctest::Approx(halfPower).epsilon(1e-10)); // Q plays no part
  for (int32_t type : {6, 7}) {
    CHECK(gainAt(type, 1.0, 0.0) == doctest::Approx(halfPower).epsilon(1e-10));
    CHECK(gainAt(type, 5.0, 0.0) == doctest::Approx(5.0 * halfPower).epsilon(1e-10)); // Q over root 2
  }
  CHECK(gainAt(8, 5.0, 0.0) == doctest::Approx(1.0).epsilon(1e-10));
  CHECK(gainAt(9, 5.0, 0.0) < 1e-9);
  CHECK(gainAt(10, 5.0, 20.0) == doctest::Approx(10.0).epsilon(1e-10));
  CHECK(gainAt(10, 5.0, -20.0) == doctest::Approx(0.1).epsilon(1e-10));
}

TEST_CASE("peaking boost and cut of equal gain undo each other") {
  filterPrm_tag boost = request(kPeaking, 1500.0);
  filterPrm_tag cut = boost;
  cut.gainDb = -boost.gainDb;
  const IIRFilter up(&boost), down(&cut);
  for (double freq : {50.0, 1000.0, 1500.0, 4000.0, 20000.0}) {
    const auto both = response(up, freq, kTestRate) * response(down, freq, kTestRate);
    CHECK(std::abs(both - 1.0) < 1e-9);
  }
}

TEST_CASE("low pass with Q of 1 has the bits of the Butterworth low pass up to the order of its sums") {
  filterPrm_tag withQ = request(kLowPassQ, 1234.0);
  withQ.q = 1.0;
  const IIRFilter q = designed(withQ);
  const IIRFilter butterworth = designed(request(kLowPass2, 1234.0));
  checkCoefficient(q.ff0, butterworth.ff0);
  checkCoefficient(q.ff1, butterworth.ff1);
  checkCoefficient(q.ff2, butterworth.ff2);
  checkCoefficient(q.fb1, butterworth.fb1);
  checkCoefficient(q.fb2, butterworth.fb2);
}

TEST_CASE("shelves of 0 dB pass the signal unchanged") {
  for (int32_t type : {11, 12}) {
    filterPrm_tag prm = request(type, 700.0);
    prm.gainDb = 0.0;
    IIRFilter filter(&prm);
    CHECK(bitsOf(filter.ff0) == bitsOf(1.0));
    CHECK(bitsOf(filter.ff1) == bitsOf(-filter.fb1)); // the zero cancels the pole
    for (double x : {1.0, -0.25, 0.7, 0.0, 1e-3}) {
      double y = x;
      filter.iirProcessing(&y);
      CHECK(y == doctest::Approx(x).epsilon(1e-15));
    }
  }
}

TEST_CASE("the smoother's pole is its closed form, bit for bit, and has -3 dB at its frequency") {
  const double pi = 3.141592653589794;
  for (double rate : {8000.0, 44100.0, 48000.0, 96000.0}) {
    for (double freq : {1.0, 5.0, 100.0, 3000.0}) {
      CAPTURE(rate);
      CAPTURE(freq);
      const IIRFilter filter = designed(request(kOnePoleSmoother, freq, rate));
      const double g = 0.5011872337;
      const double c = std::cos(2.0 * pi * freq / rate);
      const double root = std::sqrt((c - 1.0) * g * ((g * c - 2.0) + g));
      CHECK(bitsOf(filter.ff0) == bitsOf(((g * c - 1.0) + root) / -0.4988127663));
      CHECK(bitsOf(filter.fb1) == bitsOf(1.0 - filter.ff0));
      // cos near 1 keeps only the bits above 1e-16 of 1 - cos, about (w / 2)^2: what is lost comes back here
      const double w = 2.0 * pi * freq / rate;
      CHECK(static_cast<double>(smootherPower(filter.ff0, freq, rate)) ==
            doctest::Approx(g).epsilon(4e-16 / (w * w) + 1e-9));
      CHECK(bitsOf(filter.ff1) == bitsOf(0.0));
      CHECK(bitsOf(filter.ff2) == bitsOf(0.0));
      CHECK(bitsOf(filter.fb2) == bitsOf(0.0));
      CHECK(filter.ffOrder == 1);
      CHECK(filter.fbOrder == 0);
    }
  }
}

TEST_CASE("a smoother of 5 Hz has its pole at 0.99928618 (44100 Hz) and 0.99934416 (48000 Hz)") {
  const IIRFilter at44100 = designed(request(kOnePoleSmoother, 5.0));
  CHECK(at44100.ff0 >= 0.99928618);
  CHECK(at44100.ff0 < 0.99928619);
  CHECK(at44100.fb1 >= 0.00071381);
  CHECK(at44100.fb1 < 0.00071383);
  const IIRFilter at48000 = designed(request(kOnePoleSmoother, 5.0, 48000.0));
  CHECK(at48000.ff0 >= 0.99934416);
  CHECK(at48000.ff0 < 0.99934417);
}

TEST_CASE("a smoother converges to a constant input") {
  IIRFilter filter = designed(request(kOnePoleSmoother, 5.0));
  double y = 0.0;
  for (int i = 0; i < 60000; ++i) { // 0.99928618^60000 is 2e-19
    y = 0.75;
    filter.iirProcessing(&y);
  }
  CHECK(y == doctest::Approx(0.75).epsilon(1e-12));
}

TEST_CASE("every type number outside 0..12 is a smoother") {
  const IIRFilter smoother = designed(request(13, 50.0));
  for (int32_t type : {14, 99, -1, -2, -13, 32767, -32768}) {
    CAPTURE(type);
    const IIRFilter filter = designed(request(type, 50.0));
    CHECK(filter.type == type);
    CHECK(filter.prevType == type);
    CHECK(filter.fbOrder == 0);
    CHECK(bitsOf(filter.ff0) == bitsOf(smoother.ff0));
    CHECK(bitsOf(filter.fb1) == bitsOf(smoother.fb1));
  }
}

TEST_CASE("the type number is kept in 16 bits and decides there") {
  const IIRFilter lowPass = designed(request(0x10000, 500.0));
  CHECK(lowPass.type == 0);
  CHECK(lowPass.fbOrder == 1);
  CHECK(bitsOf(lowPass.ff0) == bitsOf(designed(request(0, 500.0)).ff0));
  const IIRFilter smoother = designed(request(0x10000 + 0x8005, 500.0));
  CHECK(smoother.type == -32763);
  CHECK(smoother.fbOrder == 0);
}

TEST_CASE("a frequency of 0 or less, or none, designs at 20 Hz and says so") {
  for (double freq : {0.0, -0.0, -100.0, -std::numeric_limits<double>::infinity(),
                      std::numeric_limits<double>::quiet_NaN()}) {
    filterPrm_tag prm = request(kLowPass1, freq);
    const IIRFilter filter(&prm);
    CHECK(bitsOf(prm.freq) == bitsOf(20.0));
    CHECK(bitsOf(filter.ff0) == bitsOf(designed(request(kLowPass1, 20.0)).ff0));
  }
}

TEST_CASE("a frequency above half the rate designs at half the rate and says so") {
  for (double freq : {30000.0, 22050.5, 1e300}) {
    filterPrm_tag prm = request(kLowPass1, freq);
    const IIRFilter filter(&prm);
    CHECK(bitsOf(prm.freq) == bitsOf(22050.0));
    // tan is huge there: K / (1 + K) is 1 and (1 - K) / (1 + K) is -1 but for a few units
    CHECK(filter.ff0 == doctest::Approx(1.0).epsilon(1e-14));
    CHECK(filter.fb1 == doctest::Approx(-1.0).epsilon(1e-14));
  }
}

TEST_CASE("usable requests are written back as they were") {
  filterPrm_tag prm = request(kPeaking, 1000.0);
  const IIRFilter filter(&prm);
  CHECK(bitsOf(prm.freq) == bitsOf(1000.0));
  CHECK(bitsOf(prm.q) == bitsOf(0.8));
  CHECK(bitsOf(prm.freqLow) == bitsOf(900.0));
  CHECK(bitsOf(prm.freqHigh) == bitsOf(2500.0));
  CHECK(bitsOf(prm.gainDb) == bitsOf(6.0));
  CHECK(prm.type == kPeaking);
}

TEST_CASE("a Q of 0 or less becomes 1 in the request, whatever the type") {
  for (int32_t type : {0, 6, 8, 10, 13}) {
    for (double q : {0.0, -0.0, -3.0}) {
      filterPrm_tag prm = request(type, 1000.0);
      prm.q = q;
      const IIRFilter filter(&prm);
      CHECK(bitsOf(prm.q) == bitsOf(1.0));
      filterPrm_tag one = request(type, 1000.0);
      one.q = 1.0;
      CHECK(bitsOf(filter.fb2) == bitsOf(designed(one).fb2));
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
