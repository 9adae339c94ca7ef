// Blocks longer than anything inside the effect, and shorter than none.
#include "engine/PedalNumbers.h"
#include "tests/property/Duo.h"

#include <climits>

namespace {

constexpr int kHistories = 48000; // samples that the sweep can remember

} // namespace

TEST_CASE("blocks around and far beyond the histories of the sweep") {
  for (int samples : {kHistories - 1, kHistories, kHistories + 1, 2 * kHistories + 1, 1 << 18}) {
    CAPTURE(samples);
    Duo duo(44100.0f);
    duo->setParameter(kColor, colorParameter(6));
    duo->setParameter(kPedalPos, 0.3f);
    duo.block(64);
    duo.block(samples);
    duo->setParameter(kColor, colorParameter(2));
    duo.block(samples, true);
    CHECK(duo.count(PlainEvent::SwitchOver) == 1);
    CHECK((duo.count(PlainEvent::BlockBeyondHistories) == 2) == (samples > kHistories));
    duo.blocks(10, 100);
  }
}

// While the pedal rests at the heel of rows 1 and 2 the sweep stands still, and goes on standing in the block
// of the change to a row that dives; nothing ends the tap's growth of 31/32 of a sample per sample there.
TEST_CASE("a tap outgrows the delay line, by one turn and by many") {
  for (int samples : {17000, 17000 * 7}) {
    CAPTURE(samples);
    Duo duo(8000.0f);
    duo->setParameter(kColor, colorParameter(samples == 17000 ? 1 : 2));
    duo.block(300);
    duo->setParameter(kColor, colorParameter(samples == 17000 ? 7 : 6));
    duo.block(samples);
    CHECK(duo.count(PlainEvent::TapOutgrewDelayLine) > 0);
    duo.blocks(100, 200);
  }
}

TEST_CASE("an empty block writes nothing") {
  for (int samples : {0, -1, -48001, INT_MIN}) {
    CAPTURE(samples);
    Duo duo(8000.0f);
    duo.block(samples); // the first block of all
    duo->setParameter(kPedalPos, 0.7f);
    duo->setParameter(kColor, colorParameter(3));
    duo.block(samples, true);
    duo.blocks(5, 100);
    CHECK(duo.count(PlainEvent::SwitchOver) == 1);
  }
}
