#include "SoundFiles.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>
#include <limits>

std::vector<double> Sound::channel(int index) const {
  std::vector<double> list;
  for (std::size_t i = static_cast<std::size_t>(index); i < samples.size(); i += channels)
    list.push_back(samples[i]);
  return list;
}

void writeSound(const std::string& path, const Sound& sound) {
  SF_INFO info = {};
  info.samplerate = sound.rateHz;
  info.channels = sound.channels;
  info.format = sound.format;
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  REQUIRE(file != nullptr);
  sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
  const auto count = static_cast<sf_count_t>(sound.samples.size());
  REQUIRE(sf_write_double(file, sound.samples.data(), count) == count);
  REQUIRE(sf_close(file) == 0);
}

Sound readSound(const std::string& path) {
  SF_INFO info = {};
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
  REQUIRE(file != nullptr);
  Sound sound = {info.samplerate, info.channels, info.format,
                 std::vector<double>(static_cast<std::size_t>(info.frames * info.channels))};
  REQUIRE(sf_readf_double(file, sound.samples.data(), info.frames) == info.frames);
  sf_close(file);
  return sound;
}

std::vector<double> samplesOf(const std::string& path) { return readSound(path).samples; }

std::vector<int> readWholeNumbers(const std::string& path) {
  SF_INFO info = {};
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
  REQUIRE(file != nullptr);
  std::vector<int> numbers(static_cast<std::size_t>(info.frames * info.channels));
  REQUIRE(sf_readf_int(file, numbers.data(), info.frames) == info.frames);
  sf_close(file);
  return numbers;
}

std::vector<double> noise(std::size_t count, unsigned seed) {
  std::vector<double> samples(count);
  for (double& sample : samples) {
    seed = seed * 1664525u + 1013904223u;
    sample = (static_cast<double>(seed >> 17) - 16384.0) / 32768.0;
  }
  return samples;
}

std::vector<double> softNoise(std::size_t count, unsigned seed) {
  auto samples = noise(count, seed);
  for (double& sample : samples)
    sample /= 8.0;
  return samples;
}

void writeTake(const std::string& path, std::size_t count, unsigned seed, int format, int channels) {
  writeSound(path, {44100, channels, format, softNoise(count, seed)});
}

std::string number32(std::uint32_t number) {
  std::string bytes;
  for (int i = 0; i < 4; ++i)
    bytes += static_cast<char>(number >> 8 * i);
  return bytes;
}

double largestDifference(const std::vector<double>& a, const std::vector<double>& b) {
  if (a.size() != b.size()) return std::numeric_limits<double>::infinity();
  double largest = 0.0;
  for (std::size_t i = 0; i < a.size(); ++i)
    largest = std::max(largest, std::abs(a[i] - b[i]));
  return largest;
}
