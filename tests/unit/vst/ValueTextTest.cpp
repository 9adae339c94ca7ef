// Numbers as short texts. Expected texts are worked out by hand from the rounding and digit rules; the
// sweep at the end compares with a second way that uses whole-number arithmetic.
#include "tests/support/NonFinite.h"
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
constexpr char kUntouched[] = "(untouched)"; // stands for the text of a buffer that was not written to
constexpr int kMostInt = std::numeric_limits<int>::max();

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

// A number, the text it is to become, the space it is given and the base's rate.
template <typename Number> struct Row {
  Number number;
  std::string text;
  int maxLen = 20;
  float rateHz = 44100.0f;
};

template <typename Number> void check(Slot slot, const std::vector<Row<Number>>& rows) {
  BareEffect bare;
  for (const Row<Number>& row : rows) {
    CAPTURE(row.number);
    CAPTURE(row.maxLen);
    bare.sampleRate = row.rateHz;
    CHECK(written<Number>(bare, slot, row.number, row.maxLen).value_or(kUntouched) == row.text);
  }
}

// The second way: rounding in single precision as it must be, everything behind it in whole numbers. A
// fraction of a float times 100 is exact in double precision.
std::string plainFloatText(float value) {
  const float rounded = std::fabs(value) < 0.005f ? 0.0f : value + std::copysign(0.005f, value);
  if (rounded < -9999999.0f || rounded > 99999999.0) return kUntouched;
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

TEST_CASE("positive integers stop at eight digits, negative ones nowhere") {
  check<int>(Slot::int2string, {{99999999, "99999999"}, {100000000, "Huge!"}, {kMostInt, "Huge!"}});
  check<int>(Slot::int2string, {{-100000000, "-100000000"}, {-999999999, "-999999999"}});
}

// The highest of nine places then holds a quotient of ten and more, which is the character so far behind
// '0': ten ':', twenty-one 'E'.
TEST_CASE("negative integers of ten digits") {
  check<int>(Slot::int2string, {{-1000000000, "-:00000000"}, {-2147483647, "-E47483647"}});
}

TEST_CASE("the most negative integer shows its sign alone") {
  check<int>(Slot::int2string, {{std::numeric_limits<int>::min(), "-"}});
}

TEST_CASE("numbers in short buffers") {
  check<int>(Slot::int2string, {{12345, "12345", 5}, {12345, "1234", 4}, {-12345, "-12", 3}, {-7, "-", 1}});
  check<int>(Slot::int2string, {{0, "0", 1}, {0, "", 0}, {-7, "", 0}});
  check<int>(Slot::int2string, {{100000000, "Huge", 4}, {100000000, "", 0}});
  check<float>(Slot::float2string, {{-12.34f, "-12.34", 8}, {-12.34f, "-12.34", 6}, {-12.34f, "-12.3", 5}});
  check<float>(Slot::float2string, {{-12.34f, "-12.", 4}, {-12.34f, "-12", 3}, {-12.34f, "-", 1}});
  check<float>(Slot::float2string, {{-12.34f, "", 0}, {1234.57f, " 1234.57", 8}, {1234.57f, " 1234.5", 7}});
  check<float>(Slot::dB2string, {{0.0f, "-Inf", 4}, {0.0f, "-In", 3}, {0.0f, "", 0}});
}

TEST_CASE("numbers with two decimals") {
  check<float>(Slot::float2string, {{0.0f, " 0.00"}, {-0.0f, " 0.00"}, {0.5f, " 0.50"}, {-2.5f, "-2.50"}});
  check<float>(Slot::float2string, {{10.0f, " 10.00"}, {1234.57f, " 1234.57"}, {-1234.57f, "-1234.57"}});
}

TEST_CASE("rounding at the second decimal, away from zero") {
  check<float>(Slot::float2string, {{0.004f, " 0.00"}, {0.006f, " 0.01"}, {0.996f, " 1.00"}});
  check<float>(Slot::float2string, {{-0.004f, " 0.00"}, {-0.006f, "-0.01"}, {-0.996f, "-1.00"}});
}

// 0.005f, bits 0x3BA3D70A, is 0.00499999988824: twice that is 0.00999999977648, short of a hundredth. The
// sum with the next float ends in a tie and rounds back to the same; the one after reaches 0.0100000007.
TEST_CASE("just around half a hundredth") {
  const float half = 0.005f;
  const float below = std::nextafter(half, 0.0f);
  const float next = std::nextafter(half, 1.0f);
  const float second = std::nextafter(next, 1.0f);
  check<float>(Slot::float2string, {{below, " 0.00"}, {half, " 0.00"}, {next, " 0.00"}, {second, " 0.01"}});
  check<float>(Slot::float2string,
               {{-below, " 0.00"}, {-half, "-0.00"}, {-next, "-0.00"}, {-second, "-0.01"}});
}

// 12345.67f is 12345.669921875; the sum 12345.674921875 rounds to 12345.6748046875 (steps of 1/1024), whose
// hundredths digit is 7. It is written, not the tenths.
TEST_CASE("five integer digits leave room for the hundredths digit alone") {
  check<float>(Slot::float2string, {{12345.67f, " 12345.7"}, {-12345.67f, "-12345.7"}});
  check<float>(Slot::float2string, {{12345.5f, " 12345.0"}, {12345.25f, " 12345.5"}});
}

// Near 10000 floats are 1/1024 apart, above 65536 they are 1/128 apart: 9999.995f is 9999.9951171875 and
// with 0.005 rounds to 10000; 99999.9921875 with 0.005 is nearer to 100000 than to itself.
TEST_CASE("rounding that adds an integer digit takes a decimal's place") {
  check<float>(Slot::float2string,
               {{9.996f, " 10.00"}, {9999.995f, " 10000.0"}, {99999.9921875f, " 100000."}});
}

TEST_CASE("six integer digits leave no decimals, further leading digits are dropped") {
  check<float>(Slot::float2string, {{123456.0f, " 123456."}, {-123456.0f, "-123456."}});
  check<float>(Slot::float2string, {{1000005.0f, " 000005."}, {99999992.0f, " 999992."}});
  check<float>(Slot::float2string, {{-9999999.0f, "-999999."}, {10000000.0f, " 000000."}});
}

TEST_CASE("numbers too large leave the text as it was") {
  for (float number : {100000000.0f, -10000000.0f, 3.4e38f, -3.4e38f, kInfinity, -kInfinity})
    check<float>(Slot::float2string, {{number, kUntouched}});
}

TEST_CASE("a NaN shows as zero") { check<float>(Slot::float2string, {{kNaN, " 0.00"}, {-kNaN, " 0.00"}}); }

TEST_CASE("random numbers of all sizes agree with the second way") {
  std::mt19937 random(20);
  BareEffect bare;
  for (int run = 0; run < 200000; ++run) {
    const float size = std::pow(10.0f, std::uniform_real_distribution<float>(-4.0f, 8.5f)(random));
    const float value = random() % 2 ? size : -size;
    std::array<char, 32> buffer{};
    std::strcpy(buffer.data(), kUntouched);
    bare.float2string(value, buffer.data(), 30);
    if (plainFloatText(value) == buffer.data()) continue;
    CAPTURE(value);
    FAIL_CHECK(plainFloatText(value), " against ", buffer.data());
  }
}

TEST_CASE("random integers agree with the run-time library") {
  std::mt19937 random(21);
  check<int>(Slot::int2string, {{0, "0"}});
  for (int run = 0; run < 2000; ++run) {
    const int value = std::uniform_int_distribution<int>(-999999999, 99999999)(random) >> (random() % 28);
    check<int>(Slot::int2string, {{value, std::to_string(value)}});
  }
}

// At 0 Hz any length is infinitely long, but none: that is 0/0.
TEST_CASE("samples to milliseconds") {
  check<float>(Slot::ms2string, {{44.1f, " 1.00"}, {-44.1f, "-1.00"}, {0.0f, " 0.00"}, {0.1f, " 0.00"}});
  check<float>(Slot::ms2string, {{48000.0f, " 1000.00", 20, 48000.0f}});
  check<float>(Slot::ms2string, {{1.0f, kUntouched, 20, 0.0f}, {0.0f, " 0.00", 20, 0.0f}});
  check<float>(Slot::ms2string, {{kNaN, " 0.00"}, {kInfinity, kUntouched}});
}

// 0.001f is 0.00100000004749745: 44099997.9 Hz, nearest float 44099996, whose last six digits show.
TEST_CASE("period in samples to hertz") {
  check<float>(Slot::Hz2string,
               {{0.0f, " 0.00"}, {-0.0f, " 0.00"}, {100.0f, " 441.00"}, {-100.0f, "-441.00"}});
  check<float>(Slot::Hz2string,
               {{1.0f, " 48000.0", 20, 48000.0f}, {0.25f, " 176400."}, {0.001f, " 099996."}});
  check<float>(Slot::Hz2string, {{0.0001f, kUntouched}, {kInfinity, " 0.00"}, {kNaN, " 0.00"}});
}

// The smallest gain of all is 1.4e-45, which is -897.069 dB.
TEST_CASE("linear gain to decibels") {
  check<float>(Slot::dB2string, {{0.0f, "-Inf"}, {-0.0f, "-Inf"}, {-1.0f, "-Inf"}, {-kInfinity, "-Inf"}});
  check<float>(Slot::dB2string, {{1.0f, " 0.00"}, {0.5f, "-6.02"}, {2.0f, " 6.02"}, {100000.0f, " 100.00"}});
  check<float>(Slot::dB2string, {{std::numeric_limits<float>::denorm_min(), "-897.07"}});
  check<float>(Slot::dB2string, {{kInfinity, kUntouched}, {kNaN, " 0.00"}});
}

// 2610.9404296875 samples are 59.2049984 ms, just short of rounding up; times 1000 in single precision they
// would be 2610940.5 and show 59.21. A gain of 0.531190156936646 is -5.4949994 dB; with the logarithm in
// single precision it would show -5.50.
TEST_CASE("conversions run in double precision") {
  check<float>(Slot::ms2string, {{2610.9404296875f, " 59.20"}});
  check<float>(Slot::dB2string, {{0x1.0ff828p-1f, "-5.49"}});
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
  CHECK(slotCalls == std::vector<SlotCall>{{Slot::float2string, &bare, argumentsText(0.5f, text, 9)},
                                           {Slot::float2string, &bare, argumentsText(500.0f, text, 10)},
                                           {Slot::float2string, &bare, argumentsText(0.0f, text, 11)},
                                           {Slot::float2string, &bare, argumentsText(20.0f, text, 12)}});
}

namespace {

template <typename Number> void checkIgnored(Slot slot, std::initializer_list<Number> numbers) {
  BareEffect bare;
  for (Number number : numbers) {
    bare.slot<void, Number, char*, int>(slot, number, nullptr, 8);
    char text[4] = "abc";
    bare.slot<void, Number, char*, int>(slot, number, text + 2, -1);
    CHECK(std::string(text) == "abc");
  }
}

} // namespace

TEST_CASE("a null text is ignored, and so is a negative length") {
  for (Slot slot : {Slot::float2string, Slot::ms2string, Slot::Hz2string, Slot::dB2string})
    checkIgnored(slot, {0.0f, 1.0f, -1.0f, 1e9f, kNaN});
  checkIgnored(Slot::int2string, {0, 1, -1, 100000000});
}
