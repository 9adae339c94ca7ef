#include "PedalPair.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>

namespace {

constexpr std::size_t kRememberedActions = 16;
constexpr std::size_t kGuardSamples = 4; // behind each block
constexpr double kGuard = -7.25;         // what stands there

template <typename... Values> std::string text(const char* format, Values... values) {
  char buffer[256];
  std::snprintf(buffer, sizeof buffer, format, values...);
  return buffer;
}

unsigned long long bits(double x) { return std::bit_cast<std::uint64_t>(x); }

} // namespace

bool sameSample(double a, double b) { return (std::isnan(a) && std::isnan(b)) || bits(a) == bits(b); }

std::string describe(const Difference& d) {
  return text("%s differs at sample %lld (block %lld, index %d): expected %016llx (%.17g), got %016llx "
              "(%.17g)",
              d.where.c_str(), static_cast<long long>(d.sample), static_cast<long long>(d.block), d.index,
              bits(d.expected), d.expected, bits(d.actual), d.actual) +
         "; last actions: " + d.lastActions;
}

void PedalPair::note(const std::string& action) {
  lastActions.push_back(action);
  if (lastActions.size() > kRememberedActions) lastActions.pop_front();
}

void PedalPair::setSampleRate(float rateHz) {
  note(text("rate %.9g", static_cast<double>(rateHz)));
  expected.setSampleRate(rateHz);
  actual.setSampleRate(rateHz);
}

void PedalPair::setBlockSize(int samples) {
  note(text("block size %d", samples));
  expected.setBlockSize(samples);
  actual.setBlockSize(samples);
}

void PedalPair::resume() {
  note("resume");
  expected.resume();
  actual.resume();
}

void PedalPair::suspend() {
  note("suspend");
  expected.suspend();
  actual.suspend();
}

void PedalPair::setParameter(int index, float value) {
  note(text("parameter %d %.9g", index, static_cast<double>(value)));
  expected.setParameter(index, value);
  actual.setParameter(index, value);
}

void PedalPair::selectProgram(int number) {
  note(text("select program %d", number));
  expected.selectProgram(number);
  actual.selectProgram(number);
}

void PedalPair::loadProgram(int number) {
  note(text("load program %d", number));
  expected.loadProgram(number);
  actual.loadProgram(number);
}

void PedalPair::process(const std::vector<double>& input, int n, bool inPlace) {
  if (firstDifference) return;
  note(text(inPlace ? "block %d in place" : "block %d", n));
  const std::size_t length = std::max(n, 0);
  std::vector<double> source(input.begin(), input.begin() + length);
  source.resize(length + kGuardSamples, kGuard);
  std::vector<double> wanted = inPlace ? source : std::vector<double>(source.size(), kGuard);
  std::vector<double> got = wanted;
  const std::vector<double> sourceBefore = source;

  expected.process(inPlace ? wanted.data() : source.data(), wanted.data(), n);
  actual.process(inPlace ? got.data() : source.data(), got.data(), n);

  compare("output", wanted, got);
  if (!inPlace) compare("input", sourceBefore, source);
  samplesCompared += length;
  ++blocks;
}

void PedalPair::compare(const std::string& where, const std::vector<double>& wanted,
                        const std::vector<double>& got) {
  const std::size_t length = wanted.size() - kGuardSamples;
  for (std::size_t i = 0; i < wanted.size() && !firstDifference; ++i) {
    if (sameSample(wanted[i], got[i])) continue;
    std::string actions;
    for (const std::string& action : lastActions)
      actions += (actions.empty() ? "" : ", ") + action;
    firstDifference = Difference{i < length ? where : "behind the block",
                                 samplesCompared + static_cast<std::int64_t>(i),
                                 blocks,
                                 static_cast<int>(i),
                                 wanted[i],
                                 got[i],
                                 actions};
  }
}
