// Who owns which filter, what happens when one cannot be had, and the one slot that callers use.
#include "Bits.h"
#include "OscillatorMaking.h"
#include "tests/support/Allocations.h"

#include <doctest/doctest.h>
#include <new>
#include <vector>

namespace {

constexpr double kRate = 44100.0; // Hz

int filtersOf(Wave wave) {
  switch (wave) {
  case Wave::triangle:
    return 2;
  case Wave::sine:
  case Wave::halfSine:
  case Wave::random:
    return 0;
  default:
    return 1;
  }
}

IIRFilter* smootherOf(Wave wave, lfoBase* lfo) {
  if (wave == Wave::triangle) return static_cast<lfoTriangle*>(lfo)->smoother;
  return static_cast<lfoSmoothed*>(lfo)->smoother;
}

struct WatchedFilter : IIRFilter {
  WatchedFilter(std::vector<int>& gone, int number) : IIRFilter(request()), gone(gone), number(number) {}
  ~WatchedFilter() override { gone.push_back(number); }

  static filterPrm_tag* request() {
    static filterPrm_tag prm;
    prm = {0, 100.0, 0.0, 0.0, 1.0, 0.0, kRate};
    return &prm;
  }

  std::vector<int>& gone;
  int number;
};

} // namespace

TEST_CASE("an oscillator takes one block for itself and one per filter, and gives all back") {
  for (Wave wave : kEveryWave) {
    CAPTURE(static_cast<int>(wave));
    const long before = allocations::live();
    lfoBase* lfo = newOscillator(wave, 10.0, 0.0, kRate);
    CHECK(allocations::live() - before == 1 + filtersOf(wave));
    delete lfo;
    CHECK(allocations::live() == before);
  }
}

TEST_CASE("running allocates nothing") {
  for (Wave wave : kEveryWave) {
    const auto lfo = oscillator(wave, 10.0, 0.0, kRate);
    std::vector<double> out(500);
    const long before = allocations::taken();
    for (int n : {500, 1, 0, 499})
      lfo->Excute(440.0, 0.1, 0.1, n, out.data(), 0);
    CHECK(allocations::taken() == before);
  }
}

TEST_CASE("filters are deleted through their table, the smoother first, null ones passed over") {
  std::vector<int> gone;
  auto* triangle = new lfoTriangle(10.0, 0.0, kRate);
  delete triangle->smoother;
  delete triangle->rateFilter;
  triangle->smoother = new WatchedFilter(gone, 1);
  triangle->rateFilter = new WatchedFilter(gone, 2);
  delete static_cast<lfoBase*>(triangle);
  CHECK(gone == std::vector<int>{1, 2});

  auto* saw = new lfoSaw(10.0, 0.0, kRate);
  delete saw->smoother;
  saw->smoother = nullptr;
  delete static_cast<lfoBase*>(saw);
}

TEST_CASE("a filter that cannot be had stays null and the wave runs without it") {
  for (Wave wave : kEveryWave) {
    if (filtersOf(wave) == 0) continue;
    CAPTURE(static_cast<int>(wave));
    std::unique_ptr<lfoBase> lfo;
    {
      const allocations::FailNth second(2); // the first is the oscillator
      lfo.reset(newOscillator(wave, 10.0, 0.2, kRate));
    }
    CHECK(smootherOf(wave, lfo.get()) == nullptr);
    PlainOscillator plain(wave, 0.0, 0.2, kRate);
    const auto expected = plain.block(440.0, 0.1, 0.1, 300);
    std::vector<double> out(300);
    lfo->Excute(440.0, 0.1, 0.1, 300, out.data(), 0);
    CHECK(differences(out.data(), expected.data(), 300) == 0);
  }
}

TEST_CASE("a triangle without its rate filter runs its first call") {
  std::unique_ptr<lfoTriangle> lfo;
  {
    const allocations::FailNth third(3);
    lfo.reset(new lfoTriangle(0.0, 0.0, kRate));
  }
  CHECK(lfo->smoother != nullptr);
  CHECK(lfo->rateFilter == nullptr);
  double out[4];
  lfo->Excute(440.0, 0.1, 0.1, 4, out, 0);
  CHECK(lfo->firstCall == 0);
}

TEST_CASE("Excute is the third slot of every member's table") {
  using Excute = void (*)(lfoBase*, double, double, double, int, double*, int);
  for (Wave wave : kEveryWave) {
    CAPTURE(static_cast<int>(wave));
    const auto lfo = oscillator(wave, 0.0, 0.25, kRate);
    const auto same = oscillator(wave, 0.0, 0.25, kRate);
    double bySlot[32], byName[32];
    void* function = (*reinterpret_cast<void***>(lfo.get()))[2];
    reinterpret_cast<Excute>(function)(lfo.get(), 440.0, 0.1, 0.1, 32, bySlot, 0);
    same->Excute(440.0, 0.1, 0.1, 32, byName, 0);
    CHECK(differences(bySlot, byName, 32) == 0);
  }
}
