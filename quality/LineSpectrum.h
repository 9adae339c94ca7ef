// The lines of a long steady sound.
#pragma once

#include "quality/Sound.h"

#include <vector>

struct SpectrumLine {
  double hz;
  double power; // relative; compare with those of the same spectrum
};

class LineSpectrum {
public:
  // sound: an even number of samples. It is seen through a four-term window whose side lobes lie 92 dB down
  // and whose lines are kHalfWidth bins wide to either side (F. J. Harris, "On the use of windows for
  // harmonic analysis with the discrete Fourier transform", Proc. IEEE 66, 1978). Allocates.
  explicit LineSpectrum(const Sound& sound);

  static constexpr int kHalfWidth = 4; // bins

  // The strongest line, frequency and power by the parabola through the logarithms of its three highest bins.
  SpectrumLine strongest() const;

  // The strongest line besides that one, in dB under it: 0 when they are alike, kQuietestDb when there is
  // none.
  double strongestSidebandDb() const;

  static constexpr double kQuietestDb = -92.0;

  // Level of the bin nearest to a frequency, dB under the strongest line; kFaintestDb when it is fainter.
  double levelDb(double hz) const;

  // Share of all power that lies within `cents` of any of the frequencies: 0..1; 0 for silence.
  double shareAround(const std::vector<double>& freqsHz, double cents) const;

  // Share of all power from this frequency up, in dB; kFaintestDb when there is less. Far from every line the
  // window's side lobes are fainter than that.
  double shareAboveDb(double hz) const;

  static constexpr double kFaintestDb = -120.0;

private:
  double hzOf(double bin) const { return bin * kRateHz / size; }
  int strongestBin() const;
  SpectrumLine lineAt(int bin) const;

  int size;                  // samples
  std::vector<double> power; // by bin
};
