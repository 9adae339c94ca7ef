// Numbers that no player sends and any host may.
#pragma once

#include <bit>
#include <cstdint>
#include <limits>

constexpr float kQuietNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kFloatInfinity = std::numeric_limits<float>::infinity();

// Not a number (positive, negative, signalling), infinite, huge, denormal, and finite beyond 0..1.
inline const float kOddFloats[] = {kQuietNaN,
                                   -kQuietNaN,
                                   std::bit_cast<float>(0x7FA00001u),
                                   kFloatInfinity,
                                   -kFloatInfinity,
                                   3.4e38f,
                                   -3.4e38f,
                                   1e20f,
                                   -1e20f,
                                   std::numeric_limits<float>::denorm_min(),
                                   -std::numeric_limits<float>::denorm_min(),
                                   1e-40f,
                                   -0.0f,
                                   1000.0f,
                                   -1000.0f};

inline const double kOddDoubles[] = {std::numeric_limits<double>::quiet_NaN(),
                                     -std::numeric_limits<double>::quiet_NaN(),
                                     std::bit_cast<double>(0x7FF4000000000123ULL),
                                     std::numeric_limits<double>::infinity(),
                                     -std::numeric_limits<double>::infinity(),
                                     1.7e308,
                                     -1.7e308,
                                     1e200,
                                     std::numeric_limits<double>::denorm_min(),
                                     -std::numeric_limits<double>::denorm_min(),
                                     -1e-310,
                                     -0.0};
