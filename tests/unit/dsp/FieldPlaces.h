// Where the platform's convention puts doubles in a record.
#pragma once

#ifdef __i386__
inline constexpr int kDoubleAlignment = 4; // bytes: of all platforms here this one alone packs them
#else
inline constexpr int kDoubleAlignment = 8; // bytes
#endif

// The offset of a double that follows `bytes` bytes of other fields.
constexpr int placeOfDouble(int bytes) {
  return (bytes + kDoubleAlignment - 1) / kDoubleAlignment * kDoubleAlignment;
}
