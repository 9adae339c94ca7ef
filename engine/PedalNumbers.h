// The numbers that engine, hosts, tools and tests agree on: the parameters with their defaults, and the eight
// colours with their names, ranges and mixes. Whoever changes a colour changes it here.
#pragma once

#include <cstdint>
#include <string_view>

// Parameter indices, in the order that hosts and programs know.
enum Parameter { kOnOff = 0, kMode = 1, kTone = 2, kColor = 3, kPedalPos = 4, kParameterCount = 5 };

// What a new program holds, by Parameter: on, for guitar, rather bright, an octave down to up, at the heel.
inline constexpr float kParameterDefaults[kParameterCount] = {1.0f, 0.0f, 0.8f, 0.5f, 0.0f};

// How a colour mixes dry and bent sound; see mixGains.
enum MixMode : int32_t { kBentAlone = 0, kBentFadesIntoDry = 1, kDryFadesOut = 2, kBentBesideDry = 3 };

struct Color {
  int32_t number;        // 0..7
  std::string_view name; // lower-case words joined by hyphens
  double centsAtHeel;    // cents at pedal 0
  double centsAtToe;     // cents at pedal 1
  MixMode mixMode;
};

inline constexpr int kColorCount = 8;
inline constexpr Color kColorTable[kColorCount] = {
    {0, "semitone-down", -100.0, 0.0, kBentFadesIntoDry},
    {1, "quarter-tone-up", 0.0, 50.0, kBentBesideDry},
    {2, "octave-up", 0.0, 1200.0, kBentAlone},
    {3, "two-octaves-down", 0.0, -2400.0, kBentAlone}, // on purpose between upward rows
    {4, "octave-down-to-up", -1200.0, 1200.0, kBentBesideDry},
    {5, "fifth-down-to-fourth-up", -700.0, 500.0, kBentBesideDry},
    {6, "five-octaves-down", -6000.0, 1200.0, kDryFadesOut},
    {7, "five-octaves-down-with-dry", -6000.0, 1200.0, kBentBesideDry},
};

// The colour that a Color value selects: eight half-open steps of 0.125 from 0, so 0.125 itself selects
// colour 1; below 0 colour 0, above 1 and NaN colour 7. [any thread] Allocates nothing.
constexpr int colorOf(float value) noexcept {
  int color = 0;
  while (color < kColorCount - 1 && !(value < static_cast<float>(color + 1) * 0.125f))
    ++color;
  return color;
}

// The Color value in the middle of a colour's step, which selects it. color: 0..7. [any thread] Allocates
// nothing.
constexpr float colorParameter(int color) noexcept { return (static_cast<float>(color) + 0.5f) * 0.125f; }

// The pitch of the bent sound in cents. color: 0..7. pedal: 0 heel .. 1 toe. [any thread] Allocates nothing.
constexpr double centsAt(int color, double pedal) noexcept {
  const Color& row = kColorTable[color];
  return row.centsAtHeel + (row.centsAtToe - row.centsAtHeel) * pedal;
}

// Linear gains of the dry and of the bent sound.
struct MixGains {
  double dry;
  double wet;
};

// The gains at a pedal position. mixMode: a MixMode; any other number is taken for kBentBesideDry. pedal: 0
// heel .. 1 toe, unclamped. [any thread] Allocates nothing.
constexpr MixGains mixGains(int32_t mixMode, double pedal) noexcept {
  switch (mixMode) {
  case kBentAlone:
    return {0.0, 1.0};
  case kBentFadesIntoDry:
    return {pedal, 1.0 - pedal};
  case kDryFadesOut:
    return {1.0 - pedal, 1.0};
  default:
    return {1.0, 1.0};
  }
}
