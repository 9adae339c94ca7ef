// Parameters and programs from other threads against a running block. A thread checker sees what a plain
// run only survives.
#include "ExposedTreadshift.h"
#include "tests/support/Meanwhile.h"

#include <cmath>
#include <doctest/doctest.h>

namespace {

constexpr int kBlocks = 300;

} // namespace

TEST_CASE("parameters, programs and program numbers may change during blocks") {
  ExposedTreadshift e;
  e.setSampleRate(8000.0f);
  AEffect* record = e.getAeffect();
  int unsound = 0;
  {
    const Meanwhile parameters([&](int round) {
      record->setParameterEntry(record, round % 5, static_cast<float>(round % 9) / 8.0f);
      record->getParameterEntry(record, round % 5);
    });
    const Meanwhile programs([&](int round) {
      e.setProgram(static_cast<long>(round % 16));
      record->dispatchEntry(record, 2, 0, round % 20 - 2, nullptr, 0.0f);
      record->dispatchEntry(record, 3, 0, 0, nullptr, 0.0f);
    });
    for (int block = 0; block < kBlocks; ++block)
      for (double y : e.block(testSound(64, 64 * block)))
        unsound += !std::isfinite(y);
  }
  CHECK(unsound == 0);
}

TEST_CASE("a block sees a program change wholly or not at all") {
  ExposedTreadshift e;
  for (int program = 0; program < 2; ++program) // every value of a program is its number
    for (float& value : e.programs[program].values)
      value = static_cast<float>(program);
  e.setProgram(0L);
  e.setSampleRate(8000.0f);
  e.block(testSound(64));
  int mixed = 0;
  int seen[2] = {};
  {
    const Meanwhile programs([&](int round) { e.setProgram(static_cast<long>(round % 2)); });
    for (int block = 0; block < kBlocks || !seen[0] || !seen[1]; ++block) {
      e.block(testSound(16));
      std::this_thread::yield();      // the lock is not fair: without this the other thread may starve
      const float taken = e.lastTone; // what the block remembers of each parameter
      mixed += taken != static_cast<float>(e.lastPedal) || taken != e.onOffSwitch->lastValue ||
               taken != e.colorSwitch->lastValue;
      ++seen[taken == 1.0f];
    }
  }
  CHECK(mixed == 0);
  CHECK(seen[0] > 0);
  CHECK(seen[1] > 0);
}
