// Numbers that are none, infinite, huge or denormal: in parameters, in `opt` and in the audio, alone and
// together, and the way back from them.
#include "OddNumbers.h"
#include "tests/property/Duo.h"
#include "vst/Opcodes.h"

#include <algorithm>

namespace {

constexpr int kOnOff = 0, kTone = 2, kColor = 3, kPedalPos = 4, kParameters = 5;
constexpr float kRate = 8000.0f;
constexpr float kOtherRate = 1000.0f;
constexpr float kGood[kParameters] = {1.0f, 0.0f, 0.8f, 0.8f,
                                      0.3f}; // row 6, whose dry gain follows the pedal

template <typename Side> void setGoodValues(Side& side) {
  for (int index = 0; index < kParameters; ++index)
    side.setParameter(index, kGood[index]);
}

// Fades are through and ramps have met their targets.
void settle(Duo& duo) {
  setGoodValues(*duo.operator->());
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

std::vector<double> sine(int samples, int from) {
  std::vector<double> wave;
  for (int i = 0; i < samples; ++i)
    wave.push_back(0.5 * std::sin(0.37 * (from + i)));
  return wave;
}

// The module alone, to be followed over seconds.
class Listener {
public:
  explicit Listener(float rateHz) {
    module.setSampleRate(rateHz);
    setGoodValues(module);
    play(200);
  }
  std::vector<double> play(int samples) {
    const std::vector<double> input = sine(samples, played);
    played += samples;
    return playInput(input);
  }
  std::vector<double> playInput(const std::vector<double>& input) {
    std::vector<double> output(input.size());
    module.process(input.data(), output.data(), static_cast<int>(input.size()));
    return output;
  }
  ModulePedal module;

private:
  int played = 0;
};

bool isSound(const std::vector<double>& output) {
  const auto sane = [](double x) { return std::isfinite(x) && std::abs(x) < 100.0; };
  const auto heard = [](double x) { return std::abs(x) > 0.01; };
  return std::ranges::all_of(output, sane) && std::ranges::any_of(output, heard);
}

bool sameSound(const std::vector<double>& one, const std::vector<double>& other) {
  return std::ranges::equal(one, other, [](double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
  });
}

// Meets an odd value in a parameter (index below kParameters) or in the audio (index kParameters).
void meetOddity(Listener& listener, int index, double value) {
  if (index < kParameters) {
    listener.module.setParameter(index, static_cast<float>(value));
    listener.play(50);
    listener.play(150);
    setGoodValues(listener.module);
  } else {
    listener.playInput(std::vector<double>(200, value)); // a slow tap skips most of them
  }
  listener.play(50); // the good values are back
}

// Five seconds of blocks after the good values came back; the last one is judged.
bool recoversByItself(int index, double value) {
  Listener listener(kRate);
  meetOddity(listener, index, value);
  for (int block = 0; block < 400; ++block)
    listener.play(100);
  return isSound(listener.play(400));
}

constexpr double kAudioNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kAudioInfinity = std::numeric_limits<double>::infinity();

} // namespace

TEST_CASE("each odd value in each parameter, before the first block and after it") {
  for (float odd : kOddFloats) {
    for (int index = 0; index < kParameters; ++index) {
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
      for (int index = 0; index < kParameters; ++index)
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

TEST_CASE("an odd `opt` is nothing to any opcode but the sample rate's") {
  Duo duo(kRate);
  settle(duo);
  AEffect* record = duo.record();
  for (float odd : kOddFloats) {
    CAPTURE(odd);
    for (int32_t opcode = -2; opcode < 100; ++opcode) {
      if (opcode == kOpClose || opcode == kOpSetSampleRate) continue;
      CAPTURE(opcode);
      char buffer[256] = {};
      void* const place = buffer;
      const intptr_t value = opcode == kOpGetSpeakerArrangement ? reinterpret_cast<intptr_t>(&place) : 0;
      const intptr_t usual = record->dispatchEntry(record, opcode, 0, value, buffer, 0.0f);
      CHECK(record->dispatchEntry(record, opcode, 0, value, buffer, odd) == usual);
    }
    duo.blocks(2, 60);
  }
}

TEST_CASE("what an odd value leaves nowhere goes by itself") {
  for (float odd : kOddFloats) {
    CAPTURE(odd);
    for (int index : {kOnOff, 1, kColor}) { // their values are compared, never calculated with
      CAPTURE(index);
      CHECK(recoversByItself(index, static_cast<double>(odd)));
    }
  }
  for (double tiny : {1e-40, -1e-40, -0.0}) {
    CHECK(recoversByItself(kTone, tiny));
    CHECK(recoversByItself(kPedalPos, tiny));
    CHECK(recoversByItself(kParameters, tiny));
  }
  for (double finite : {-2.0, 3.0, 1e20, -1e20}) // the smoother walks back from far away
    CHECK(recoversByItself(kPedalPos, finite));
  for (double loud : {1e100, -1e100})
    CHECK(recoversByItself(kParameters, loud));
}

// A recursive filter never forgets what is not finite.
TEST_CASE(
    "what an odd value leaves in a filter outlasts good values, until the host resumes or sets a new rate") {
  const std::pair<int, double> lasting[] = {{kTone, kAudioNaN},           {kTone, kAudioInfinity},
                                            {kPedalPos, kAudioNaN},       {kPedalPos, kAudioInfinity},
                                            {kPedalPos, -kAudioInfinity}, {kParameters, kAudioNaN},
                                            {kParameters, kAudioInfinity}};
  for (const std::pair<int, double>& oddity : lasting) { // clang 14 captures no names of a pair's parts
    const int index = oddity.first;
    const double value = oddity.second;
    CAPTURE(index);
    CAPTURE(value);
    CHECK_FALSE(recoversByItself(index, value));
    Listener resumed(kRate);
    meetOddity(resumed, index, value);
    resumed.module.resume();
    resumed.play(4000);
    CHECK(isSound(resumed.play(400)));
    Listener listener(kRate);
    meetOddity(listener, index, value);
    listener.module.setSampleRate(kOtherRate);
    listener.play(400);
    CHECK(isSound(listener.play(400)));
    listener.module.setSampleRate(kRate); // and the rate of before will do as well
    listener.play(4000);
    CHECK(isSound(listener.play(400)));
  }
}

TEST_CASE("after a new rate nothing is left of any odd value, to the bit") {
  const auto compare = [](int index, double value) {
    CAPTURE(index);
    CAPTURE(value);
    Listener odd(kRate), innocent(kRate);
    meetOddity(odd, index, value);
    meetOddity(innocent, index, index < kParameters ? static_cast<double>(kGood[index]) : 0.25);
    for (float rate : {kOtherRate, kRate}) {
      odd.module.setSampleRate(rate);
      innocent.module.setSampleRate(rate);
      for (int block = 0; block < 20; ++block)
        CHECK(sameSound(odd.play(100), innocent.play(100)));
      CHECK(isSound(odd.play(100)));
      innocent.play(100);
    }
  };
  for (float value : kOddFloats)
    for (int index = 0; index < kParameters; ++index)
      compare(index, static_cast<double>(value));
  for (double value : kOddDoubles)
    compare(kParameters, value);
}
