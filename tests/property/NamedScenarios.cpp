// Turns of the pedal that are easy to miss, each played on purpose.
#include "Duo.h"
#include "engine/PedalNumbers.h"

#include <doctest/doctest.h>

namespace {

constexpr float kRow2 = 0.25f, kRow3 = 0.375f, kRow6 = 0.75f;
constexpr int kFade8000 = 128; // samples: 0.016 s at 8000 Hz

// Row 2 at half pedal is at +600 cents, row 3 at -1200.
void playUpwardRowAtRest(Duo& duo) {
  duo->setParameter(kColor, kRow2);
  duo->setParameter(kPedalPos, 0.5f);
  duo->setSampleRate(8000.0f);
  duo.blocks(20, 200);
}

} // namespace

TEST_CASE("a colour switch-over flips the sweep of a resting pedal") {
  Duo duo;
  playUpwardRowAtRest(duo);
  duo->setParameter(kColor, kRow3);
  duo.block(4 * kFade8000);
  CHECK(duo.count(PlainEvent::SwitchOver) == 1);
  CHECK(duo.count(PlainEvent::SwitchOverFlipKept) == 1);
  CHECK(duo.count(PlainEvent::SwitchOverFlipRewound) == 0);
  duo.blocks(40, 256);
}

TEST_CASE("a colour switch-over flips the sweep, and a later re-run in the block rewinds it") {
  Duo duo;
  playUpwardRowAtRest(duo);
  duo->setParameter(kColor, kRow3);
  duo->setParameter(kPedalPos, 0.6f);
  duo.block(4 * kFade8000);
  CHECK(duo.count(PlainEvent::SwitchOver) == 1);
  CHECK(duo.count(PlainEvent::SwitchOverFlipKept) == 0);
  CHECK(duo.count(PlainEvent::SwitchOverFlipRewound) == 1);
  duo.blocks(40, 256);
}

TEST_CASE("a switch-over at the last sample of a block flips the sweep for the next one") {
  Duo duo;
  playUpwardRowAtRest(duo);
  duo->setParameter(kColor, kRow3);
  duo.block(kFade8000 + 1);
  CHECK(duo.count(PlainEvent::SwitchOverFlipKept) == 1);
  duo.blocks(40, 100);
}

TEST_CASE("a switch-over takes the raw pedal, not the smoothed one") {
  Duo duo(8000.0f); // row 4 at the heel: -1200 cents
  duo.blocks(4, 100);
  duo->setParameter(kColor, 0.625f); // row 5: -700 to 500
  duo.block(kFade8000);
  duo->setParameter(kPedalPos, 1.0f);
  duo.block(1); // in which the ramp does not move
  CHECK(duo.count(PlainEvent::SwitchOverFlipKept) == 1);
  duo.blocks(40, 100);
}

TEST_CASE("parameters changed between set-up and the first block flip the sweep") {
  Duo duo;
  duo->setParameter(kColor, kRow2);
  duo->setParameter(kPedalPos, 1.0f);
  duo->setSampleRate(8000.0f); // +1200 cents are in force
  duo->setParameter(kColor, kRow3);
  duo.block(300); // -2400
  CHECK(duo.count(PlainEvent::FirstBlockFlip) == 1);
  CHECK(duo.count(PlainEvent::SwitchOver) == 0);
  duo.blocks(10, 300);
}

TEST_CASE("a moving pedal in a block longer than the oscillator's histories") {
  Duo duo(44100.0f);
  duo->setParameter(kColor, kRow6);
  duo.block(64);
  duo->setParameter(kPedalPos, 1.0f);
  duo.block(48030);
  CHECK(duo.count(PlainEvent::RewindBeyondHistories) == 30);
  duo.blocks(10, 100);
}
