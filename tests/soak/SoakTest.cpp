// A slice of the soak at each rate, and that its watch fires.
#include "tests/soak/Soak.h"
#include "tests/soak/OutputBound.h"
#include "tests/support/RandomRuns.h"

#include <algorithm>
#include <doctest/doctest.h>
#include <limits>
#include <memory>

namespace {

// A pedal with one thing wrong.
class WrongPedal : public PlainSide {
public:
  void process(const double* input, double* output, int n) override {
    PlainSide::process(input, output, n);
    if (n > 0) output[n - 1] += added;
  }
  void resume() override {
    PlainSide::resume();
    if (leaks) leaked.push_back(std::make_unique<double[]>(1000));
  }

  double added = 0.0;
  bool leaks = false;

private:
  std::vector<std::unique_ptr<double[]>> leaked;
};

constexpr double kBound = 2.0;

std::string faultWhenAdding(double added) {
  const double input[] = {0.5, 0.5};
  double output[2];
  WrongPedal wrong;
  WatchedPedal watched(wrong, kBound);
  wrong.added = added;
  watched.process(input, output, 2); // no rate: the input, passed through
  return watched.fault();
}

} // namespace

TEST_CASE("every rate in turn on one module") {
  const double seconds = wantsLongRun() ? 60.0 : 10.0;
  Soak soak;
  SoakReport report{};
  double peak = 0.0;
  std::uint64_t seed = 20;
  for (const float rate : {8000.0f, 22050.0f, 44100.0f, 48000.0f, 96000.0f, 192000.0f}) {
    CAPTURE(rate);
    const std::int64_t before = report.counts.samples;
    report = soak.play(++seed, {rate}, seconds);
    CHECK(report.fault == "");
    CHECK(report.counts.samples - before >= static_cast<std::int64_t>(seconds * rate));
    CHECK(report.peak < Soak::bound());
    CHECK(report.heldBytes > 768000); // the delay line alone
    peak = std::max(peak, report.peak);
  }
  CHECK(report.counts.blocks > 3000);
  CHECK(report.counts.programs > 30);
  CHECK(report.counts.resumes > 30);
  CHECK(report.counts.rates > 30);
  CHECK(peak > 1.0); // the loud sounds were heard
}

// By hand: y = sqrt(2) / 2 = 0.70711, low branch 2 * 0.92005 * y = 1.30115, high branch
// 6 * (1 + 1.968 / 0.032) * y = 265.165, and all of it 1.5 times: 1.5 * (1 + 1.30115 + 265.165) = 401.2.
TEST_CASE("the bound by hand") {
  CHECK(outputBound(1.0) == doctest::Approx(401.2).epsilon(1e-4));
  CHECK(outputBound(8.0) == doctest::Approx(8.0 * 401.2).epsilon(1e-4));
}

TEST_CASE("the watch finds samples beyond the bound and not-a-numbers") {
  CHECK(faultWhenAdding(0.0) == "");
  CHECK(faultWhenAdding(1.5) == "");
  CHECK(faultWhenAdding(1.75) == "output sample 1 is 2.25, the bound is 2");
  CHECK(faultWhenAdding(-3.0) == "output sample 1 is -2.5, the bound is 2");
  CHECK(faultWhenAdding(std::numeric_limits<double>::infinity()) != "");
  CHECK(faultWhenAdding(std::numeric_limits<double>::quiet_NaN()) != "");
}

TEST_CASE("the watch sees what the pedal keeps") {
  WrongPedal wrong;
  WatchedPedal watched(wrong, kBound);
  watched.setSampleRate(8000.0f);
  watched.resume();
  const std::int64_t before = watched.heldBytes();
  CHECK(before > 0);
  watched.resume();
  CHECK(watched.heldBytes() == before);
  wrong.leaks = true;
  watched.resume();
  CHECK(watched.heldBytes() >= before + 8000);
}
