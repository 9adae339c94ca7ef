#include "quality/Fourier.h"

#include <fftw3.h>
#include <memory>
#include <type_traits>

namespace {

struct PlanCloser {
  void operator()(fftw_plan plan) const { fftw_destroy_plan(plan); }
};
using Plan = std::unique_ptr<std::remove_pointer_t<fftw_plan>, PlanCloser>;

// The library takes the same memory as two doubles.
fftw_complex* raw(std::complex<double>* values) { return reinterpret_cast<fftw_complex*>(values); }

} // namespace

// Plans are estimated, not timed, so that the same sums are taken in every run.
Bins transform(const Sound& sound) {
  Sound copy(sound);
  Bins bins(sound.size() / 2 + 1);
  const Plan plan(fftw_plan_dft_r2c_1d(static_cast<int>(sound.size()), copy.data(), raw(bins.data()),
                                       FFTW_ESTIMATE | FFTW_DESTROY_INPUT));
  fftw_execute(plan.get());
  return bins;
}

std::vector<std::complex<double>> oneSidedInverse(const Bins& bins, int size) {
  std::vector<std::complex<double>> values(static_cast<std::size_t>(size));
  const double scale = 1.0 / size;
  for (std::size_t k = 0; k < bins.size(); ++k) {
    const bool ownMirror = k == 0 || k == bins.size() - 1;
    values[k] = bins[k] * (ownMirror ? scale : 2.0 * scale);
  }
  const Plan plan(
      fftw_plan_dft_1d(size, raw(values.data()), raw(values.data()), FFTW_BACKWARD, FFTW_ESTIMATE));
  fftw_execute(plan.get());
  return values;
}
