#include "fuzz/FilterScript.h"

#include "dsp/IIRFilter.h"
#include "fuzz/Check.h"
#include "tests/reference/PlainFilter.h"

#include <cmath>

namespace {

constexpr int kMostSteps = 48;
constexpr int kMostSamples = 16; // of a step

// The plain form takes types as the filter does, as 16-bit numbers.
PlainFilterRequest requestFrom(ScriptBytes& script) {
  PlainFilterRequest request{};
  const int type = script.byte();
  request.type = type < 0xF0 ? type % 16 : static_cast<std::int16_t>(script.int32());
  request.freq = script.float64();
  request.sampleRate = script.float64();
  const int more = script.byte();
  request.q = (more & 1) != 0 ? script.float64() : 1.0;
  request.gainDb = (more & 2) != 0 ? script.float64() : 0.0;
  request.freqLow = (more & 4) != 0 ? script.float64() : 0.0;
  request.freqHigh = (more & 8) != 0 ? script.float64() : 0.0;
  return request;
}

filterPrm_tag recordOf(const PlainFilterRequest& request, bool wideType) {
  const int type = wideType ? request.type + 0x10000 : request.type; // the upper half counts for nothing
  return {type,      request.freq,   request.freqLow,   request.freqHigh,
          request.q, request.gainDb, request.sampleRate};
}

// Beyond these the square of K leaves the range of normal numbers, where the order of a product's factors,
// which is free, shows in its bits.
bool isOrdinary(double number) {
  const double size = std::abs(number);
  return number == 0.0 || (size >= 1e-60 && size <= 1e60);
}

bool isOrdinary(const PlainFilterRequest& request) {
  return isOrdinary(request.freq) && isOrdinary(request.freqLow) && isOrdinary(request.freqHigh) &&
         isOrdinary(request.q) && isOrdinary(request.gainDb) && isOrdinary(request.sampleRate);
}

class FilterPair {
public:
  explicit FilterPair(ScriptBytes& bytes)
      : script(bytes), request(requestFrom(script)), ordinary(isOrdinary(request)),
        record(recordOf(request, script.flag())), filter(&record), plain(request) {
    checkDesign();
  }

  void play() {
    for (int step = 0; step < kMostSteps && !script.isEmpty(); ++step)
      takeStep();
  }

private:
  void takeStep();
  void filterSamples(int count, bool walking);
  void design(bool walking);
  void checkDesign() const;

  ScriptBytes& script;
  PlainFilterRequest request;
  bool ordinary; // all designs so far
  filterPrm_tag record;
  IIRFilter filter;
  PlainFilter plain;
};

void FilterPair::takeStep() {
  const int choice = script.byte();
  const int count = 1 + (choice >> 3) % kMostSamples;
  switch (choice & 7) {
  case 0:
  case 1:
  case 2:
    return filterSamples(count, false);
  case 3:
  case 4:
    return filterSamples(count, true);
  case 5:
    return design(false);
  case 6:
    return design(true);
  default:
    filter.refresh();
    plain.refresh();
  }
}

void FilterPair::filterSamples(int count, bool walking) {
  double x = script.float64();
  const double move = script.float64();
  for (int i = 0; i < count; ++i, x += move) {
    double got = x;
    if (walking)
      filter.ipIirProcessing(&got);
    else
      filter.iirProcessing(&got);
    const double wanted = walking ? plain.runGliding(x) : plain.run(x);
    if (ordinary) expect(sameNumber(got, wanted), "a filter's sample differs from its plain form's");
  }
}

void FilterPair::design(bool walking) {
  request = requestFrom(script);
  ordinary = ordinary && isOrdinary(request);
  record = recordOf(request, script.flag());
  if (walking) {
    const int samples = script.int32();
    filter.ipFDexcute(&record, samples);
    plain.glideTo(request, samples);
  } else {
    filter.FDexcute(&record);
    plain.design(request);
  }
  checkDesign();
}

void FilterPair::checkDesign() const {
  expect(sameNumber(record.freq, request.freq), "a design writes back another frequency");
  expect(sameNumber(record.q, request.q), "a design writes back another quality");
  if (!ordinary) return;
  const double got[] = {filter.ff0, filter.ff1,    filter.ff2,   filter.fb1,
                        filter.fb2, filter.state1, filter.state2};
  const double wanted[] = {plain.ff0, plain.ff1, plain.ff2, plain.fb1, plain.fb2, plain.state1, plain.state2};
  for (int i = 0; i < 7; ++i)
    expect(sameNumber(got[i], wanted[i]), "a design differs from its plain form");
}

} // namespace

void playFilter(ScriptBytes& script) { FilterPair(script).play(); }
