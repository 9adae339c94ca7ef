#include "PitchMeter.h"

#include "Player.h"

#include <array>
#include <cmath>

namespace {

constexpr int kUnknowns = 4; // cosine and sine of either tap
using Row = std::array<double, kUnknowns>;

struct Weights {
  double one, other;
};

double weight(double s) { return std::sin(0.5 * kPi * s); }

// Normal equations of the fit, the right-hand side as the last column.
struct Equations {
  double matrix[kUnknowns][kUnknowns + 1] = {};
  double power = 0.0;

  void add(const Row& row, double y) {
    for (int i = 0; i < kUnknowns; ++i) {
      for (int j = 0; j < kUnknowns; ++j)
        matrix[i][j] += row[i] * row[j];
      matrix[i][kUnknowns] += row[i] * y;
    }
    power += y * y;
  }
};

// Elimination with the diagonal as pivots; a tap that is silent throughout has none and is left out.
double explainedPower(Equations equations) {
  auto& m = equations.matrix;
  double explained = 0.0;
  for (int pivot = 0; pivot < kUnknowns; ++pivot) {
    if (m[pivot][pivot] < 1e-9) continue;
    for (int row = pivot + 1; row < kUnknowns; ++row) {
      const double factor = m[row][pivot] / m[pivot][pivot];
      for (int column = pivot; column <= kUnknowns; ++column)
        m[row][column] -= factor * m[pivot][column];
    }
    explained += m[pivot][kUnknowns] * m[pivot][kUnknowns] / m[pivot][pivot];
  }
  return explained;
}

// The share of the power that no pair of tones at this frequency explains. weights: of the two taps. The tone
// is turned on from sample to sample, which takes no sine of each: over 6000 samples it is off by 1e-12.
double residualAt(const std::vector<double>& sound, const std::vector<Weights>& weights, double radians) {
  Equations equations;
  const double turnCos = std::cos(radians), turnSin = std::sin(radians);
  double c = 1.0, s = 0.0;
  for (std::size_t n = 0; n < sound.size(); ++n) {
    const auto [one, other] = weights[n];
    equations.add({one * c, one * s, other * c, other * s}, sound[n]);
    const double turned = c * turnCos - s * turnSin;
    s = s * turnCos + c * turnSin;
    c = turned;
  }
  return 1.0 - explainedPower(equations) / equations.power;
}

} // namespace

PitchReading readPitch(const std::vector<double>& sound, const std::vector<double>& sweep, double expectedHz,
                       double rateHz, double range) {
  std::vector<Weights> weights;
  for (const double position : sweep)
    weights.push_back({weight(position), weight(1.0 - position)});
  const auto residual = [&](double cents) {
    return residualAt(sound, weights, 2.0 * kPi * expectedHz / rateHz * std::exp2(cents / 1200.0));
  };
  double best = -range, least = 2.0;
  for (double width = range, centre = 0.0; width > 0.02; width /= 5.0) {
    for (int i = -10; i <= 10; ++i) {
      const double cents = centre + width * i / 10.0;
      const double here = residual(cents);
      if (here < least) {
        least = here;
        best = cents;
      }
    }
    centre = best;
  }
  return {best, least};
}
