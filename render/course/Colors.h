// The eight colours as a player knows them: a number, a name, the pitch at both ends of the pedal, the mix.
#pragma once

#include <array>
#include <string>
#include <string_view>

struct Color {
  int number;            // 0..7
  std::string_view name; // lower-case words joined by hyphens
  double heelCents;      // pitch of the bent sound with the pedal at 0
  double toeCents;       // pitch of the bent sound with the pedal at 1
  std::string_view mix;  // how the dry and the bent sound come together, in words
};

// The mix that holds no dry sound.
constexpr std::string_view kBentAlone = "bent alone";

// All colours, in the order of their numbers. [any thread] Allocates nothing.
const std::array<Color, 8>& colors();

// The pitch of the bent sound in cents. color: 0..7. pedal: 0 heel .. 1 toe. [any thread] Allocates nothing.
double centsAt(int color, double pedal);

// The pedal, 0 heel .. 1 toe, at which the bent sound has a pitch in cents: centsAt the other way round.
// color: 0..7. cents: within the colour's range. [any thread] Allocates nothing.
double pedalFor(int color, double cents);

// The colours as a table of at most 80 columns: number, name, cents at heel and toe, mix. Ends with a line
// break. Allocates.
std::string colorList();
