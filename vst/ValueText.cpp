// Number to text, digit by digit. The quirks are what hosts have always shown and are kept on purpose:
// six integer digits at most, a blank for the sign of positive numbers, the hundredths digit first when
// only one decimal fits, no bound on negative integers, a text left alone when the number is too large.
#include "vst/AudioEffect.h"

#include <cmath>
#include <cstring>

namespace {

constexpr char kTooLarge[] = "Huge!";
constexpr char kSilence[] = "-Inf";

constexpr int kFirstTooLargeInteger = 100000000;
constexpr uint32_t kHighestDivisor = 100000000; // nine digit positions

constexpr float kHalfHundredth = 0.005f; // rounds at the second decimal; bits 0x3BA3D70A
constexpr double kLargestPositive = 99999999.0;
constexpr double kLargestNegative = 9999999.0; // the sign takes one digit's place
constexpr int kScratchBytes = 32;
constexpr int kMostCharacters = 8;

bool accepts(const char* text, int maxLen) { return text && maxLen >= 0; }

void copyBounded(char* text, const char* source, int maxLen) {
  std::strncpy(text, source, static_cast<size_t>(maxLen));
  text[maxLen] = '\0';
}

// Never passes text[maxLen], however long the text already is.
void appendBounded(char* text, const char* piece, int maxLen) {
  size_t length = strnlen(text, static_cast<size_t>(maxLen));
  while (*piece && length < static_cast<size_t>(maxLen))
    text[length++] = *piece++;
  if (length < static_cast<size_t>(maxLen)) text[length] = '\0';
  text[maxLen] = '\0';
}

float roundedAtSecondDecimal(float value) {
  if (std::fabs(value) < kHalfHundredth) return 0.0f;
  return value > 0.0f ? value + kHalfHundredth : value - kHalfHundredth;
}

// The last digit before the point; NaN, which has none, shows as 0.
char lowestDigit(double number) {
  const double digit = std::fmod(number, 10.0);
  return static_cast<char>('0' + (std::isnan(digit) ? 0 : static_cast<int>(digit)));
}

// Text written from its end towards its beginning.
class BackwardText {
public:
  BackwardText() { scratch[first] = '\0'; }
  void put(char character) { scratch[--first] = character; }
  const char* text() const { return scratch + first; }

private:
  char scratch[kScratchBytes];
  int first = kScratchBytes - 1;
};

} // namespace

void AudioEffect::int2string(int value, char* text, int maxLen) {
  if (!accepts(text, maxLen)) return;
  if (value >= kFirstTooLargeInteger) {
    copyBounded(text, kTooLarge, maxLen);
    return;
  }
  copyBounded(text, value < 0 ? "-" : value == 0 ? "0" : "", maxLen);
  // Negated without overflow; the most negative integer stays negative and shows no digit at all.
  int32_t rest = static_cast<int32_t>(value < 0 ? 0u - static_cast<uint32_t>(value) : value);
  bool anyDigit = false;
  for (int32_t divisor = kHighestDivisor; divisor >= 1; divisor /= 10) {
    const int32_t digit = rest / divisor;
    rest -= digit * divisor;
    anyDigit = anyDigit || digit >= 1;
    if (!anyDigit) continue;
    const char piece[] = {static_cast<char>('0' + digit), '\0'};
    appendBounded(text, piece, maxLen);
  }
}

void AudioEffect::float2string(float value, char* text, int maxLen) {
  if (!accepts(text, maxLen)) return;
  double magnitude = roundedAtSecondDecimal(value);
  const bool negative = magnitude < 0.0;
  if (negative) magnitude = -magnitude;
  if (magnitude > (negative ? kLargestNegative : kLargestPositive)) return;

  BackwardText whole;
  double integerPart = std::floor(magnitude);
  whole.put('.');
  whole.put(lowestDigit(integerPart));
  integerPart *= 0.1;
  int characters = 3; // sign, digit, point
  while (integerPart >= 1.0 && characters < kMostCharacters) {
    whole.put(lowestDigit(integerPart));
    integerPart *= 0.1;
    ++characters;
  }
  whole.put(negative ? '-' : ' ');
  copyBounded(text, whole.text(), maxLen);
  if (characters >= kMostCharacters) return;

  BackwardText decimals;
  double mantissa = (magnitude - std::trunc(magnitude)) * 100.0;
  for (int digit = 0; digit < 2 && characters < kMostCharacters; ++digit, ++characters) {
    if (mantissa > 0.0) {
      decimals.put(lowestDigit(mantissa));
      mantissa *= 0.1;
    } else {
      decimals.put('0');
    }
  }
  appendBounded(text, decimals.text(), maxLen);
}

void AudioEffect::ms2string(float samples, char* text, int maxLen) {
  const double rateHz = getSampleRate();
  float2string(static_cast<float>(static_cast<double>(samples) * 1000.0 / rateHz), text, maxLen);
}

void AudioEffect::Hz2string(float samples, char* text, int maxLen) {
  const double rateHz = getSampleRate();
  float2string(samples == 0.0f ? 0.0f : static_cast<float>(rateHz / static_cast<double>(samples)), text,
               maxLen);
}

void AudioEffect::dB2string(float gain, char* text, int maxLen) {
  if (gain <= 0.0f) {
    if (accepts(text, maxLen)) copyBounded(text, kSilence, maxLen);
    return;
  }
  float2string(static_cast<float>(20.0 * std::log10(static_cast<double>(gain))), text, maxLen);
}
