// The numbers that the page's pictures are drawn from: text files of columns, as gnuplot reads them.
#pragma once

#include "quality/Contender.h"

#include <string>

// Each writes its files into a directory that is there; all throw std::runtime_error that names a file which
// cannot be written, and allocate.

// tone: Hz, then dB for each of five Tone values.
void writeToneCurves(const std::string& modulePath, const std::string& directory);

// fades: ms, gain of On/Off, gain of Color.
void writeFades(const std::string& modulePath, const std::string& directory);

// The open string whose level moves most, an octave up. KEY.level: seconds, dB under its loudest. KEY.lines:
// Hz from the intended pitch, dB under the strongest.
void writeString(const Contender& contender, const std::string& directory);
