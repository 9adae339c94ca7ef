#include "fuzz/ScriptBytes.h"

#include <algorithm>
#include <cfloat>
#include <cstring>
#include <iterator>
#include <limits>

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

constexpr std::int32_t kIntegers[] = {
    0,   -1,  1,    2,     5,     15,    16,        17,        23,         -2,      63,     64,
    255, 256, 1000, 48000, 65535, 65536, INT32_MAX, INT32_MIN, 1073741824, -0x8000, 0x7FFF, 100000000};

constexpr float kFloats[] = {0.0f,      1.0f,       0.5f,       -0.0f,  -1.0f,       2.0f,        0.125f,
                             0.875f,    0.8f,       0.25f,      0.375f, 0.99999994f, 1e-7f,       1e-40f,
                             FLT_MIN,   FLT_MAX,    -FLT_MAX,   1e10f,  -1e10f,      16777216.0f, kNaN,
                             kInfinity, -kInfinity, 9999999.0f, 1e-30f, 0.005f};

constexpr double kDoubles[] = {0.0,     1.0,      0.5,     -0.0,    -1.0, 2.0,       0.25,      440.0,
                               5.0,     44100.0,  48000.0, 22050.0, 1e-9, 1e9,       DBL_MIN,   5e-324,
                               DBL_MAX, -DBL_MAX, 1e-300,  1e300,   kNaN, kInfinity, -kInfinity};

// A byte below the list's length chooses from it; of the rest, this many leave a number to the next bytes.
constexpr int kFirstRaw = 0xF0;

} // namespace

template <typename Number> Number ScriptBytes::raw() {
  std::uint8_t bytes[sizeof(Number)] = {};
  for (std::uint8_t& each : bytes)
    each = byte();
  Number number;
  std::memcpy(&number, bytes, sizeof number);
  return number;
}

int ScriptBytes::below(int bound) {
  int number = byte();
  if (bound > 256) number = number << 8 | byte();
  return number % bound;
}

std::int32_t ScriptBytes::int32() {
  const int choice = byte();
  if (choice < static_cast<int>(std::size(kIntegers))) return kIntegers[choice];
  return choice < kFirstRaw ? choice - 0x80 : raw<std::int32_t>();
}

std::int64_t ScriptBytes::int64() {
  const int choice = byte();
  if (choice == 0xFF) return raw<std::int64_t>();
  if (choice == 0xFE) return std::int64_t{1} << below(64);
  return int32();
}

// Between the list and the raw numbers stand those that a knob gives, 0..1.
float ScriptBytes::float32() {
  const int choice = byte();
  if (choice < static_cast<int>(std::size(kFloats))) return kFloats[choice];
  return choice < kFirstRaw ? static_cast<float>(choice << 8 | byte()) / 65535.0f : raw<float>();
}

// Between the list and the raw numbers stand frequencies of up to 65535 Hz.
double ScriptBytes::float64() {
  const int choice = byte();
  if (choice < static_cast<int>(std::size(kDoubles))) return kDoubles[choice];
  if (choice >= kFirstRaw) return raw<double>();
  const int upper = byte();
  const double number = upper << 8 | byte();
  return choice < 0x80 ? number : number / 65536.0;
}

std::string ScriptBytes::text() {
  const std::size_t wanted = byte();
  const std::size_t length = std::min(wanted, static_cast<std::size_t>(end - next));
  const std::string taken(reinterpret_cast<const char*>(next), length);
  next += length;
  return taken;
}
