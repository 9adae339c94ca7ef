// On/Off and Color fades as a host meets them. With row 0 at the toe an effect that is on puts out exactly
// gain times input, so that every sample of a fade is known beforehand.
#include "ExposedTreadshift.h"
#include "tests/unit/dsp/Bits.h"

#include <doctest/doctest.h>

namespace {

constexpr int kFade = 705; // samples at 44100 Hz

struct DryEffect : ExposedTreadshift {
  explicit DryEffect(float onOffValue, float rate = 44100.0f)
      : ExposedTreadshift(rate, onOffValue, 0.8f, kDryOnlyColor, kDryOnlyPedal) {
    block(testSound(10));
  }
};

double fadeOut(int k) { return (kFade - k) * (1.0 / kFade); }
double fadeIn(int k) { return k * (1.0 / kFade); }

// Gain at sample k of a whole fade that starts at 0.
double wholeFade(int k) {
  if (k < kFade) return fadeOut(k);
  return k < 2 * kFade ? fadeIn(k - kFade) : 1.0;
}

void checkGains(const std::vector<double>& output, const std::vector<double>& input,
                const std::vector<double>& gains) {
  int wrong = 0;
  for (std::size_t i = 0; i < input.size(); ++i)
    wrong += bitsOf(output[i]) != bitsOf(gains[i] * input[i]);
  CHECK(wrong == 0);
}

std::vector<double> wholeFade(int samples, int from) {
  std::vector<double> gains(samples);
  for (int i = 0; i < samples; ++i)
    gains[i] = wholeFade(from + i);
  return gains;
}

// Short fades, to be walked through sample by sample.
constexpr float kSlowRate = 1000.0f;
constexpr int kSlowFade = 16; // samples

} // namespace

TEST_CASE("off and idle passes every input bit for bit") {
  DryEffect e(0.0f);
  const std::vector<double> input = testSound(1000);
  const std::vector<double> output = e.block(input);
  CHECK(differences(output.data(), input.data(), 1000) == 0);
}

TEST_CASE("any On/Off but exactly 1 is off") {
  for (float value : {0.0f, 0.5f, 0.99999994f, 1.0000001f, 2.0f, -1.0f}) {
    ExposedTreadshift e(44100.0f, value, 0.8f, colorOfRow(2), 0.0f); // shifted sound alone
    const std::vector<double> input = testSound(200);
    const std::vector<double> output = e.block(input);
    CHECK(differences(output.data(), input.data(), 200) == 0);
  }
  ExposedTreadshift on(44100.0f, 1.0f, 0.8f, colorOfRow(2), 0.0f);
  CHECK(on.block(testSound(200))[0] == 0.0);
}

TEST_CASE("turning off or on fades out over 705 samples and in over 705, on the two paths") {
  for (float from : {1.0f, 0.0f}) {
    for (int size : {1, 64, 705, 706, 2000}) {
      CAPTURE(from);
      CAPTURE(size);
      DryEffect e(from);
      e.setParameter(kOnOff, 1.0f - from);
      for (int done = 0; done < 2000; done += size) {
        const std::vector<double> input = testSound(size, done);
        checkGains(e.block(input), input, wholeFade(size, done));
        for (int i = 0; i < size; ++i)
          CHECK((e.onOffSwitch->valueBuffer[i] == 1.0f) == (done + i < kFade ? from == 1.0f : from == 0.0f));
      }
      CHECK(e.onOffSwitch->state == 0);
    }
  }
}

TEST_CASE("the effect's path is what fades out when it is turned off") {
  ExposedTreadshift e(44100.0f, 1.0f, 0.8f, colorOfRow(4), 0.0f);
  ExposedTreadshift stays(44100.0f, 1.0f, 0.8f, colorOfRow(4), 0.0f);
  e.block(testSound(3000));
  stays.block(testSound(3000));
  e.setParameter(kOnOff, 0.0f);
  const std::vector<double> input = testSound(2000, 3000);
  const std::vector<double> faded = e.block(input), full = stays.block(input);
  int wrong = 0;
  for (int i = 0; i < 2000; ++i)
    wrong += bitsOf(faded[i]) != bitsOf(wholeFade(i) * (i < kFade ? full[i] : input[i]));
  CHECK(wrong == 0);
}

TEST_CASE("toggling back while fading out plays the fade on and ends where it came from") {
  DryEffect e(1.0f);
  e.setParameter(kOnOff, 0.0f);
  const std::vector<double> first = testSound(300);
  checkGains(e.block(first), first, wholeFade(300, 0));
  e.setParameter(kOnOff, 1.0f);
  const std::vector<double> second = testSound(1500, 300);
  checkGains(e.block(second), second, wholeFade(1500, 300));
  CHECK(e.onOffSwitch->valueBuffer[0] == 0.0f);           // the other old side
  CHECK(e.onOffSwitch->valueBuffer[kFade - 300] == 1.0f); // fading in where it began
  CHECK(e.onOffSwitch->valueBuffer[1499] == 1.0f);
}

TEST_CASE("toggling back while fading in plays the fade-out from the same place") {
  DryEffect e(1.0f);
  e.setParameter(kOnOff, 0.0f);
  e.block(testSound(kFade + 200));
  CHECK(e.onOffSwitch->state == 2);
  CHECK(e.onOffSwitch->position == 200);
  e.setParameter(kOnOff, 1.0f);
  const std::vector<double> input = testSound(2000);
  std::vector<double> gains = wholeFade(2000, 200); // a fade-out entered at place 200
  checkGains(e.block(input), input, gains);
}

TEST_CASE("a Color change within a row fades out and in with the same sound") {
  DryEffect e(1.0f);
  e.setParameter(kColor, 0.0625f);
  const std::vector<double> input = testSound(2000);
  checkGains(e.block(input), input, wholeFade(2000, 0));
}

TEST_CASE("both fades at once multiply, Color first") {
  DryEffect e(1.0f);
  e.setParameter(kColor, 0.0625f);
  e.block(testSound(100));
  e.setParameter(kOnOff, 0.0f);
  const std::vector<double> input = testSound(2000);
  const std::vector<double> output = e.block(input);
  int wrong = 0;
  for (int i = 0; i < 2000; ++i) {
    // the direct path knows no Color fade
    const double gain = i < kFade ? wholeFade(100 + i) * wholeFade(i) : wholeFade(i);
    wrong += bitsOf(output[i]) != bitsOf(gain * input[i]);
  }
  CHECK(wrong == 0);
}

TEST_CASE("a Color change while off is heard by nobody and chooses the colour all the same") {
  DryEffect e(0.0f);
  e.setParameter(kColor, colorOfRow(5));
  const std::vector<double> input = testSound(2000);
  const std::vector<double> output = e.block(input);
  CHECK(differences(output.data(), input.data(), 2000) == 0);
  CHECK(e.centsAtHeel == -700.0);
}

TEST_CASE("the new colour comes in exactly at the silent first sample of the fade-in") {
  DryEffect e(1.0f, kSlowRate);
  e.setParameter(kColor, colorOfRow(6));
  for (int k = 0; k < kSlowFade; ++k) {
    e.sample(0.5);
    CHECK(e.centsAtHeel == -100.0);
    CHECK(e.mixMode == 1);
  }
  CHECK(bitsOf(e.sample(0.5)) == bitsOf(0.0));
  CHECK(e.centsAtHeel == -6000.0);
  CHECK(e.centsAtToe == 1200.0);
  CHECK(e.mixMode == 2);
  CHECK(e.cents == 1200.0);
  for (int k = 1; k < kSlowFade; ++k) {
    e.sample(0.5);
    CHECK(e.colorSwitch->state == (k < kSlowFade - 1 ? 2 : 0));
  }
}

TEST_CASE("a Color change during the fade-out runs no second fade and lets the latest colour in") {
  DryEffect e(1.0f, kSlowRate);
  e.setParameter(kColor, colorOfRow(6));
  e.block(testSound(5));
  e.setParameter(kColor, colorOfRow(5));
  e.block(testSound(5));
  CHECK(e.colorSwitch->position == 10);
  e.block(testSound(50));
  CHECK(e.centsAtHeel == -700.0);
  CHECK(e.colorSwitch->state == 0);
}

TEST_CASE("a Color change during the fade-in is not heard until Color changes again") {
  DryEffect e(1.0f, kSlowRate);
  e.setParameter(kColor, colorOfRow(6));
  e.block(testSound(kSlowFade + 3));
  CHECK(e.centsAtHeel == -6000.0);
  e.setParameter(kColor, colorOfRow(5));
  e.block(testSound(100));
  CHECK(e.colorSwitch->state == 0);
  CHECK(e.centsAtHeel == -6000.0);
  CHECK(e.colorSwitch->lastValue == colorOfRow(5));
  e.setParameter(kColor, colorOfRow(4));
  e.block(testSound(100));
  CHECK(e.centsAtHeel == -1200.0);
}

TEST_CASE("a Color change that is taken back during the fade-out still fades, to the old colour") {
  DryEffect e(1.0f, kSlowRate);
  e.setParameter(kColor, colorOfRow(6));
  e.block(testSound(5));
  e.setParameter(kColor, kDryOnlyColor);
  const std::vector<double> output = e.block(std::vector<double>(40, 1.0));
  CHECK(output[0] == doctest::Approx(11.0 / 16.0));
  CHECK(output[11] == 0.0);
  CHECK(e.centsAtHeel == -100.0);
}

TEST_CASE("a switch-over takes the raw pedal, not the smoothed one") {
  DryEffect e(1.0f, kSlowRate);
  e.block(std::vector<double>(6000, 0.5)); // the smoother settles to the last bit
  const double smoothed = e.lastSmoothedPedal;
  e.setParameter(kColor, colorOfRow(2)); // 0..1200
  e.block(testSound(kSlowFade));
  REQUIRE(e.lastSmoothedPedal == smoothed);
  e.setParameter(kPedalPos, 0.25f);
  e.sample(0.5); // the pedal's ramp starts with the next block
  CHECK(e.lastSmoothedPedal == smoothed);
  CHECK(e.cents == 300.0);
}
