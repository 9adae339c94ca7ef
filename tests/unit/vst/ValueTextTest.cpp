// Numbers as short texts. Expected texts are worked out by hand from the rounding and digit rules; the
// sweep at the end compares with a second way that uses whole-number arithmetic.
#include "tests/unit/vst/BareEffect.h"

#include <doctest/doctest.h>

#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <random>
#include <string>

namespace {

constexpr char kCanary = '~';
constexpr int kBufferBytes = 80;
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

// Writes into a buffer of canaries. The text, or nothing if no byte was written; the byte at maxLen must be
// 0 and the bytes behind it untouched.
template <typename Number>
std::optional<std::string> written(BareEffect& bare, Slot slot, Number number, int maxLen) {
  std::array<char, kBufferBytes> buffer;
  buffer.fill(kCanary);
  const auto untouched = buffer;
  bare.slot<void, Number, char*, int>(slot, number, buffer.data(), maxLen);
  if (buffer == untouched) return {};
  CHECK(buffer[maxLen] == '\0');
  for (int byte = maxLen + 1; byte < kBufferBytes; ++byte)
    CHECK(buffer[byte] == kCanary);
  return std::string(buffer.data());
}

std::string integerText(int value, int maxLen = 20) {
  BareEffect bare;
  return written<int>(bare, Slot::int2string, value, maxLen).value_or("(untouched)");
}

std::string floatText(float value, int maxLen = 20) {
  BareEffect bare;
  return written<float>(bare, Slot::float2string, value, maxLen).value_or("(untouched)");
}

std::string converterText(Slot slot, float value, float rate = 44100.0f, int maxLen = 20) {
  BareEffect bare;
  bare.sampleRate = rate;
  return written<float>(bare, slot, value, maxLen).value_or("(untouched)");
}

std::string msText(float value, float rate = 44100.0f) { return converterText(Slot::ms2string, value, rate); }
std::string hzText(float value, float rate = 44100.0f) { return converterText(Slot::Hz2string, value, rate); }
std::string dBText(float value) { return converterText(Slot::dB2string, value); }

// The second way: rounding in single precision as it must be, everything behind it in whole numbers. A
// fraction of a float times 100 is exact in double precision.
std::string plainFloatText(float value) {
  const float rounded = std::fabs(value) < 0.005f ? 0.0f : value + std::copysign(0.005f, value);
  if (rounded < -9999999.0f || rounded > 99999999.0) return "(untouched)";
  const double size = std::fabs(static_cast<double>(rounded));
  const auto whole = static_cast<unsigned long long>(size);
  const int hundredths = static_cast<int>((size - static_cast<double>(whole)) * 100.0);
  std::string digits = std::to_string(whole);
  if (digits.size() > 6) digits.erase(0, digits.size() - 6);
  std::string text = (rounded < 0.0f ? "-" : " ") + digits + ".";
  if (digits.size() < 5) text += static_cast<char>('0' + hundredths / 10);
  if (digits.size() < 6) text += static_cast<char>('0' + hundredths % 10);
  return text;
}

} // namespace

TEST_CASE("integers") {
  CHECK(integerText(0) == "0");
  CHECK(integerText(7) == "7");
  CHECK(integerText(10) == "10");
  CHECK(integerText(-45) == "-45");
  CHECK(integerText(1000001) == "1000001");
  CHECK(integerText(99999999) == "99999999");
}

TEST_CASE("positive integers stop at eight digits, negative ones nowhere") {
  CHECK(integerText(100000000) == "Huge!");
  CHECK(integerText(std::numeric_limits<int>::max()) == "Huge!");
  CHECK(integerText(-100000000) == "-100000000");
  CHECK(integerText(-200000000) == "-200000000");
  CHECK(integerText(-999999999) == "-999999999");
}

// The highest of nine places then holds a quotient of ten and more, which is the character so far behind
// '0': ten ':', twenty-one 'E'.
TEST_CASE("negative integers of ten digits") {
  CHECK(integerText(-1000000000) == "-:00000000");
  CHECK(integerText(-2147483647) == "-E47483647");
}

TEST_CASE("the most negative integer shows its sign alone") {
  CHECK(integerText(std::numeric_limits<int>::min()) == "-");
}

TEST_CASE("integers in short buffers") {
  CHECK(integerText(12345, 5) == "12345");
  CHECK(integerText(12345, 4) == "1234");
  CHECK(integerText(-12345, 3) == "-12");
  CHECK(integerText(-12345, 1) == "-");
  CHECK(integerText(0, 1) == "0");
  CHECK(integerText(0, 0).empty());
  CHECK(integerText(-7, 0).empty());
  CHECK(integerText(100000000, 4) == "Huge");
  CHECK(integerText(100000000, 0).empty());
}

TEST_CASE("numbers with two decimals") {
  CHECK(floatText(0.0f) == " 0.00");
  CHECK(floatText(-0.0f) == " 0.00");
  CHECK(floatText(1.0f) == " 1.00");
  CHECK(floatText(0.5f) == " 0.50");
  CHECK(floatText(-2.5f) == "-2.50");
  CHECK(floatText(-3.14159f) == "-3.14");
  CHECK(floatText(8.0f) == " 8.00");
  CHECK(floatText(10.0f) == " 10.00");
  CHECK(floatText(100.0f) == " 100.00");
  CHECK(floatText(1234.57f) == " 1234.57");
  CHECK(floatText(-1234.57f) == "-1234.57");
}

TEST_CASE("rounding at the second decimal, away from zero") {
  CHECK(floatText(0.004f) == " 0.00");
  CHECK(floatText(-0.004f) == " 0.00");
  CHECK(floatText(0.006f) == " 0.01");
  CHECK(floatText(-0.006f) == "-0.01");
  CHECK(floatText(0.996f) == " 1.00");
  CHECK(floatText(-0.996f) == "-1.00");
  CHECK(floatText(9.996f) == " 10.00");
}

// 0.005f, bits 0x3BA3D70A, is 0.00499999988824: twice that is 0.00999999977648, short of a hundredth. The
// sum with the next float ends in a tie and rounds back to the same; the one after reaches 0.0100000007.
TEST_CASE("just around half a hundredth") {
  const float half = 0.005f;
  const float below = std::nextafter(half, 0.0f);
  const float next = std::nextafter(half, 1.0f);
  const float second = std::nextafter(next, 1.0f);
  CHECK(floatText(below) == " 0.00");
  CHECK(floatText(-below) == " 0.00");
  CHECK(floatText(half) == " 0.00");
  CHECK(floatText(-half) == "-0.00");
  CHECK(floatText(next) == " 0.00");
  CHECK(floatText(-next) == "-0.00");
  CHECK(floatText(second) == " 0.01");
  CHECK(floatText(-second) == "-0.01");
}

// 12345.67f is 12345.669921875; the sum 12345.674921875 rounds to 12345.6748046875 (steps of 1/1024), whose
// hundredths digit is 7. It is written, not the tenths.
TEST_CASE("five integer digits leave room for the hundredths digit alone") {
  CHECK(floatText(12345.67f) == " 12345.7");
  CHECK(floatText(-12345.67f) == "-12345.7");
  CHECK(floatText(10000.0f) == " 10000.0");
  CHECK(floatText(12345.5f) == " 12345.0");
  CHECK(floatText(12345.25f) == " 12345.5");
}

// Near 10000 floats are 1/1024 apart, above 65536 they are 1/128 apart: 9999.995f is 9999.9951171875 and
// with 0.005 rounds to 10000; 99999.9921875 with 0.005 is nearer to 100000 than to itself.
TEST_CASE("rounding that adds an integer digit takes a decimal's place") {
  CHECK(floatText(999.996f) == " 1000.00");
  CHECK(floatText(9999.995f) == " 10000.0");
  CHECK(floatText(99999.9921875f) == " 100000.");
}

TEST_CASE("six integer digits leave no decimals, further leading digits are dropped") {
  CHECK(floatText(123456.0f) == " 123456.");
  CHECK(floatText(-123456.0f) == "-123456.");
  CHECK(floatText(1234567.0f) == " 234567.");
  CHECK(floatText(1000005.0f) == " 000005.");
  CHECK(floatText(99999992.0f) == " 999992.");
  CHECK(floatText(-9999999.0f) == "-999999.");
}

TEST_CASE("numbers too large leave the text as it was") {
  CHECK(floatText(100000000.0f) == "(untouched)");
  CHECK(floatText(-10000000.0f) == "(untouched)");
  CHECK(floatText(std::numeric_limits<float>::max()) == "(untouched)");
  CHECK(floatText(std::numeric_limits<float>::lowest()) == "(untouched)");
  CHECK(floatText(kInfinity) == "(untouched)");
  CHECK(floatText(-kInfinity) == "(untouched)");
  CHECK(floatText(10000000.0f) == " 000000."); // eight digits are too many for negatives alone
}

TEST_CASE("a NaN shows as zero") {
  CHECK(floatText(kNaN) == " 0.00");
  CHECK(floatText(-kNaN) == " 0.00");
}

TEST_CASE("numbers in short buffers") {
  CHECK(floatText(-12.34f, 8) == "-12.34");
  CHECK(floatText(-12.34f, 6) == "-12.34");
  CHECK(floatText(-12.34f, 5) == "-12.3");
  CHECK(floatText(-12.34f, 4) == "-12.");
  CHECK(floatText(-12.34f, 3) == "-12");
  CHECK(floatText(-12.34f, 1) == "-");
  CHECK(floatText(-12.34f, 0).empty());
  CHECK(floatText(1234.57f, 8) == " 1234.57");
  CHECK(floatText(1234.57f, 7) == " 1234.5");
}

TEST_CASE("random numbers of all sizes agree with the second way") {
  std::mt19937 random(20);
  BareEffect bare;
  for (int run = 0; run < 200000; ++run) {
    const float size = std::pow(10.0f, std::uniform_real_distribution<float>(-4.0f, 8.5f)(random));
    const float value = random() % 2 ? size : -size;
    std::array<char, 32> buffer{};
    std::strcpy(buffer.data(), "(untouched)");
    bare.float2string(value, buffer.data(), 30);
    if (plainFloatText(value) == buffer.data()) continue;
    CAPTURE(value);
    FAIL_CHECK(plainFloatText(value), " against ", buffer.data());
  }
}

TEST_CASE("random integers agree with the run-time library") {
  std::mt19937 random(21);
  for (int run = 0; run < 2000; ++run) {
    const int value = std::uniform_int_distribution<int>(-999999999, 99999999)(random) >> (random() % 28);
    CHECK(integerText(value) == std::to_string(value));
  }
}

TEST_CASE("samples to milliseconds") {
  CHECK(msText(44.1f) == " 1.00");
  CHECK(msText(0.0f) == " 0.00");
  CHECK(msText(-44.1f) == "-1.00");
  CHECK(msText(48000.0f, 48000.0f) == " 1000.00");
  CHECK(msText(0.1f, 44100.0f) == " 0.00"); // 0.0023 ms
  CHECK(msText(kNaN) == " 0.00");
  CHECK(msText(kInfinity) == "(untouched)");
  CHECK(msText(1.0f, 0.0f) == "(untouched)"); // infinitely long
  CHECK(msText(0.0f, 0.0f) == " 0.00");       // 0/0
}

TEST_CASE("period in samples to hertz") {
  CHECK(hzText(0.0f) == " 0.00");
  CHECK(hzText(-0.0f) == " 0.00");
  CHECK(hzText(100.0f) == " 441.00");
  CHECK(hzText(-100.0f) == "-441.00");
  CHECK(hzText(1.0f, 48000.0f) == " 48000.0");
  CHECK(hzText(0.25f) == " 176400.");
  // 0.001f is 0.00100000004749745: 44099997.9 Hz, nearest float 44099996, whose last six digits show.
  CHECK(hzText(0.001f) == " 099996.");
  CHECK(hzText(0.0001f) == "(untouched)");
  CHECK(hzText(kInfinity) == " 0.00");
  CHECK(hzText(kNaN) == " 0.00");
}

TEST_CASE("linear gain to decibels") {
  CHECK(dBText(0.0f) == "-Inf");
  CHECK(dBText(-0.0f) == "-Inf");
  CHECK(dBText(-1.0f) == "-Inf");
  CHECK(dBText(-kInfinity) == "-Inf");
  CHECK(dBText(1.0f) == " 0.00");
  CHECK(dBText(0.5f) == "-6.02");
  CHECK(dBText(2.0f) == " 6.02");
  CHECK(dBText(10.0f) == " 20.00");
  CHECK(dBText(100000.0f) == " 100.00");
  CHECK(dBText(std::numeric_limits<float>::denorm_min()) == "-897.07"); // 1.4e-45: -897.069
  CHECK(dBText(kInfinity) == "(untouched)");
  CHECK(dBText(kNaN) == " 0.00");
  CHECK(converterText(Slot::dB2string, 0.0f, 44100.0f, 4) == "-Inf");
  CHECK(converterText(Slot::dB2string, 0.0f, 44100.0f, 3) == "-In");
  CHECK(converterText(Slot::dB2string, 0.0f, 44100.0f, 0).empty());
}

// 2610.9404296875 samples are 59.2049984 ms, just short of rounding up; times 1000 in single precision they
// would be 2610940.5 and show 59.21. A gain of 0.531190156936646 is -5.4949994 dB; with the logarithm in
// single precision it would show -5.50.
TEST_CASE("conversions run in double precision") {
  CHECK(msText(2610.9404296875f) == " 59.20");
  CHECK(dBText(0x1.0ff828p-1f) == "-5.49");
}

TEST_CASE("the converters take the rate and format through the table") {
  BareEffect bare;
  SlotExchange exchange(&bare, kAudioEffectXSlots);
  exchange.replace(
      Slot::getSampleRate, +[](void*) { return 48000.0f; });
  exchange.record(Slot::float2string);
  char text[32];
  bare.slot<void, float, char*, int>(Slot::ms2string, 24.0f, text, 9);
  bare.slot<void, float, char*, int>(Slot::Hz2string, 96.0f, text, 10);
  bare.slot<void, float, char*, int>(Slot::Hz2string, 0.0f, text, 11);
  bare.slot<void, float, char*, int>(Slot::dB2string, 10.0f, text, 12);
  REQUIRE(slotCalls.size() == 4);
  CHECK(slotCalls[0].arguments == argumentsText(0.5f, text, 9));
  CHECK(slotCalls[1].arguments == argumentsText(500.0f, text, 10));
  CHECK(slotCalls[2].arguments == argumentsText(0.0f, text, 11));
  CHECK(slotCalls[3].arguments == argumentsText(20.0f, text, 12));
}

TEST_CASE("a null text is ignored, and so is a negative length") {
  BareEffect bare;
  for (Slot slot : {Slot::float2string, Slot::ms2string, Slot::Hz2string, Slot::dB2string}) {
    for (float value : {0.0f, 1.0f, -1.0f, 1e9f, kNaN}) {
      bare.slot<void, float, char*, int>(slot, value, nullptr, 8);
      char text[4] = "abc";
      bare.slot<void, float, char*, int>(slot, value, text + 2, -1);
      CHECK(std::string(text) == "abc");
    }
  }
  for (int value : {0, 1, -1, 100000000}) {
    bare.slot<void, int, char*, int>(Slot::int2string, value, nullptr, 8);
    char text[4] = "abc";
    bare.slot<void, int, char*, int>(Slot::int2string, value, text + 2, -1);
    CHECK(std::string(text) == "abc");
  }
}
