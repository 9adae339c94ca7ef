// Sound files for the tests, written and read with libsndfile itself.
#pragma once

#include <cstdint>
#include <sndfile.h>
#include <string>
#include <vector>

constexpr int kWav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
constexpr int kWavDouble = SF_FORMAT_WAV | SF_FORMAT_DOUBLE;

struct Sound {
  int rateHz = 44100;
  int channels = 1;
  int format = kWavDouble;
  std::vector<double> samples; // channels interleaved

  std::vector<double> channel(int index) const;
};

void writeSound(const std::string& path, const Sound& sound);
Sound readSound(const std::string& path);
std::vector<double> samplesOf(const std::string& path);

// The samples as the file's whole numbers, in the upper bits of an int.
std::vector<int> readWholeNumbers(const std::string& path);

// Noise from -0.5 to 0.5 in 1/32768 steps, the same for the same seed.
std::vector<double> noise(std::size_t count, unsigned seed = 1);

// Noise from -0.0625 to 0.0625, which the pedal does not bring beyond full scale.
std::vector<double> softNoise(std::size_t count, unsigned seed = 1);

// A file of soft noise. count: samples, which several channels share.
void writeTake(const std::string& path, std::size_t count, unsigned seed = 1, int format = kWav16,
               int channels = 1);

// A number as four bytes, the lowest first.
std::string number32(std::uint32_t number);

// Infinite where the lengths differ.
double largestDifference(const std::vector<double>& a, const std::vector<double>& b);
