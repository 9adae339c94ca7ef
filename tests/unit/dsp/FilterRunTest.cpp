// What a filter keeps, and one sample through it, by hand.
#include "FieldPlaces.h"
#include "FilterRequest.h"
#include "tests/support/Bits.h"

#include <doctest/doctest.h>

namespace {

template <typename Record, typename Field> int offsetIn(const Record& record, const Field& field) {
  return static_cast<int>(reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&record));
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
  const double* const doubles[] = {&prm.freq, &prm.freqLow, &prm.freqHigh,
                                   &prm.q,    &prm.gainDb,  &prm.sampleRate};
  for (int i = 0; i < 6; ++i)
    CHECK(offsetIn(prm, *doubles[i]) == first + 8 * i);
  CHECK(sizeof prm == first + 48);
}

TEST_CASE("a new filter is silent, has no walk pending and knows its type") {
  for (int32_t type : {-1, 0, 5, 13}) {
    const IIRFilter f = designed(request(type, 1000.0));
    CHECK(f.type == type);
    CHECK(f.prevType == type);
    for (double zero : {f.state1, f.state2, f.rampPos, f.rampLength, f.oldFb1, f.oldFb2, f.oldFf0, f.oldFf1,
                        f.oldFf2, f.stepFb1, f.stepFb2, f.stepFf0, f.stepFf1, f.stepFf2})
      CHECK(bitsOf(zero) == bitsOf(0.0));
  }
}

TEST_CASE("pi is the literal two places above the nearest double, in the coefficients too") {
  const IIRFilter f = designed(request(0, 11025.0));
  CHECK(bitsOf(f.pi) == 0x400921FB54442D1AULL); // ...2D18 is the nearest
  CHECK(f.fb1 < 0.0); // at a quarter of the rate the nearest pi gives a tan below 1, the literal one above
}

TEST_CASE("a sample through either form") {
  IIRFilter direct = designed(request(kLowPass1, 1000.0)); // of first order, and yet with two states
  direct.ff0 = 2.0, direct.ff1 = 3.0, direct.ff2 = 5.0, direct.fb1 = 7.0, direct.fb2 = 11.0;
  direct.state1 = 1.0, direct.state2 = 13.0;
  CHECK(filtered(direct, 1.0) == 3.0); // 2 + 1
  CHECK(direct.state1 == 37.0);        // 3 + 13 + 21
  CHECK(direct.state2 == 38.0);        // 5 + 33

  IIRFilter onePole = designed(request(kOnePoleSmoother, 5.0));
  onePole.ff0 = 0.5, onePole.fb1 = 0.25, onePole.ff1 = onePole.ff2 = onePole.fb2 = 99.0;
  onePole.state1 = 8.0, onePole.state2 = 77.0;
  CHECK(filtered(onePole, 4.0) == 5.0); // 4 + 1
  CHECK(onePole.state1 == 5.0);
  CHECK(onePole.state2 == 77.0);
}

TEST_CASE("a design keeps the state, another type or a refresh clears it") {
  struct Row {
    int32_t type, next;
    bool isKept;
  };
  for (const Row& row : {Row{0, 0, true}, Row{9, 9, true}, Row{13, 13, true}, Row{40, 40, true},
                         Row{0, 1, false}, Row{10, 0, false}, Row{13, 14, false}, Row{40, 41, false}}) {
    CAPTURE(row.type);
    CAPTURE(row.next);
    IIRFilter f = designed(request(row.type, 1000.0));
    f.state1 = 0.25;
    f.state2 = -0.5;
    filterPrm_tag next = request(row.next, 2000.0);
    f.FDexcute(&next);
    CHECK(f.state1 == (row.isKept ? 0.25 : 0.0));
    CHECK(f.state2 == (row.isKept ? -0.5 : 0.0));
    CHECK(f.prevType == row.next);
    const IIRFilter fresh = designed(request(row.next, 2000.0)); // nothing of the old design is left
    CHECK(bitsOf(f.ff2) == bitsOf(fresh.ff2));
    CHECK(bitsOf(f.fb2) == bitsOf(fresh.fb2));
    CHECK(f.fbOrder == fresh.fbOrder);
    f.state1 = f.state2 = 3.0;
    f.refresh();
    CHECK(f.state1 == 0.0);
    CHECK(f.state2 == 0.0);
    CHECK(bitsOf(f.fb1) == bitsOf(fresh.fb1));
  }
}

TEST_CASE("a walk remembers its start and its steps, counts its samples and ends one past its length") {
  IIRFilter f = designed(request(kPeaking, 400.0));
  const IIRFilter old = f;
  filterPrm_tag prm = request(kPeaking, 5000.0);
  f.ipFDexcute(&prm, 4);
  double IIRFilter::*const kFields[5][3] = {{&IIRFilter::ff0, &IIRFilter::oldFf0, &IIRFilter::stepFf0},
                                            {&IIRFilter::ff1, &IIRFilter::oldFf1, &IIRFilter::stepFf1},
                                            {&IIRFilter::ff2, &IIRFilter::oldFf2, &IIRFilter::stepFf2},
                                            {&IIRFilter::fb1, &IIRFilter::oldFb1, &IIRFilter::stepFb1},
                                            {&IIRFilter::fb2, &IIRFilter::oldFb2, &IIRFilter::stepFb2}};
  for (const auto& [now, start, step] : kFields) {
    CHECK(bitsOf(f.*start) == bitsOf(old.*now));
    CHECK(bitsOf(f.*step) == bitsOf((f.*now - old.*now) * 0.25));
  }
  CHECK(f.rampLength == 4.0);
  for (double position : {0.0, 1.0, 2.0, 3.0, 4.0, 5.0, 5.0}) {
    CHECK(f.rampPos == position);
    double x = 0.5;
    f.ipIirProcessing(&x);
  }
  for (const auto& [now, start, step] : kFields) {
    CHECK(bitsOf(f.*start) == bitsOf(f.*now));
    CHECK(bitsOf(f.*step) == bitsOf(0.0));
  }
}

TEST_CASE("a walk of fewer than no samples stays at its start") {
  IIRFilter f = designed(request(kPeaking, 400.0));
  IIRFilter old = f;
  filterPrm_tag prm = request(kPeaking, 5000.0);
  f.ipFDexcute(&prm, -3);
  for (int i = 0; i < 5; ++i) {
    double x = 0.5;
    f.ipIirProcessing(&x);
    CHECK(bitsOf(x) == bitsOf(filtered(old, 0.5)));
  }
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
