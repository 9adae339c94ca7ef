// Numbers that are none, infinite, huge or denormal: in parameters and in the audio, alone and together, and
// the way back from them.
#include "OddNumbers.h"
#include "engine/PedalNumbers.h"
#include "tests/property/Duo.h"

#include <algorithm>

namespace {

constexpr float kRate = 8000.0f;
constexpr float kOtherRate = 1000.0f;
constexpr float kGood[kParameterCount] = {1.0f, 0.0f, 0.8f, 0.8f,
                                          0.3f}; // row 6, whose dry gain follows the pedal

// Fades are through and ramps have met their targets.
void settle(Duo& duo) {
  for (int index = 0; index < kParameterCount; ++index)
    duo->setParameter(index, kGood[index]);
  duo.blocks(4, 100);
}

void playOddly(Duo& duo, double odd) {
  std::vector<double> input = duo.sound(40);
  duo.blockOf(input, 40);
  input[7] = odd;
  duo.blockOf(input, 40);
  std::fill(input.begin(), input.end(), odd);
  duo.blockOf(input, 40, true);
  duo.block(40);
}

} // namespace

TEST_CASE("each odd value in each parameter, before the first block and after it") {
  for (float odd : kOddFloats) {
    for (int index = 0; index < kParameterCount; ++index) {
      CAPTURE(odd);
      CAPTURE(index);
      Duo duo;
      duo->setParameter(index, odd);
      duo->setSampleRate(kRate);
      duo.blocks(2, 60);
      settle(duo);
      duo->setParameter(index, odd);
      duo.block(1);
      duo.blocks(3, 60);
      duo.block(0);
      settle(duo);
      duo->resume();
      duo.blocks(2, 60);
      duo->setParameter(index, odd);
      duo->setSampleRate(kOtherRate); // built while the value is in force
      duo.blocks(2, 60);
      settle(duo);
    }
  }
}

TEST_CASE("odd values in all parameters at once") {
  for (float first : kOddFloats) {
    for (float second : kOddFloats) {
      CAPTURE(first);
      CAPTURE(second);
      Duo duo(kRate);
      settle(duo);
      for (int index = 0; index < kParameterCount; ++index)
        duo->setParameter(index, index % 2 == 0 ? first : second);
      duo.blocks(2, 60);
      duo.block(300, true);
      settle(duo);
    }
  }
}

TEST_CASE("each odd value in the audio, in each colour, on and off") {
  for (double odd : kOddDoubles) {
    for (int row = 0; row < 8; ++row) {
      CAPTURE(odd);
      CAPTURE(row);
      Duo duo(kRate);
      duo->setParameter(kColor, 0.125f * static_cast<float>(row));
      duo->setParameter(kPedalPos, 0.4f);
      playOddly(duo, odd);
      duo->setParameter(kOnOff, 0.0f);
      playOddly(duo, odd);
      duo->resume();
      duo.blocks(4, 100);
      playOddly(duo, odd);
      duo->setSampleRate(kOtherRate);
      duo.blocks(2, 100);
    }
  }
}

TEST_CASE("odd values in the audio and in a parameter together") {
  for (double oddSample : kOddDoubles) {
    for (float oddValue : kOddFloats) {
      CAPTURE(oddSample);
      CAPTURE(oddValue);
      Duo duo(kRate);
      for (int index : {kTone, kColor, kPedalPos, kOnOff}) {
        duo->setParameter(index, oddValue);
        playOddly(duo, oddSample);
      }
      settle(duo);
    }
  }
}

// A recursive filter never forgets what is not finite.
TEST_CASE("what no finite number has spoilt for good is whole again after a resume or a new rate") {
  for (bool isRate : {true, false}) {
    for (int index : {static_cast<int>(kTone), static_cast<int>(kPedalPos), kParameterCount + 0}) {
      CAPTURE(isRate);
      CAPTURE(index);
      Duo duo(kRate);
      settle(duo);
      const auto spoiltSamples = [&] {
        const std::int64_t before = duo.count(PlainEvent::NotANumber);
        duo.blocks(20, 100);
        return duo.count(PlainEvent::NotANumber) - before;
      };
      duo->setParameter(index, kQuietNaN); // of what is no parameter: the audio instead
      duo.blockOf(std::vector<double>(200, index == kParameterCount ? kOddDoubles[0] : 0.5), 200);
      settle(duo);
      CHECK(spoiltSamples() > 0);
      if (isRate)
        duo->setSampleRate(kOtherRate);
      else
        duo->resume();
      CHECK(spoiltSamples() == 0);
    }
  }
}
