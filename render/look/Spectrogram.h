// Levels over time and pitch of a sound that comes block by block.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// The pitches looked at, in equal steps.
struct PitchRange {
  double lowestHz;
  double highestHz;
  int rowsPerOctave;

  int rows() const;
  double octaveOf(int row) const; // octaves above 1 Hz
};

// Memory depends on the range and the sample rate, not on the sound's length: whenever there are twice
// kMostColumns, every other one goes and the next ones stand twice as far apart.
class Spectrogram {
public:
  static constexpr int kMostColumns = 900;

  // frames: the length that is to come, negative when unknown. rateHz: 1 or more. Allocates.
  Spectrogram(const PitchRange& range, int rateHz, int channels, std::int64_t frames);
  ~Spectrogram();

  Spectrogram(const Spectrogram&) = delete;
  Spectrogram& operator=(const Spectrogram&) = delete;

  // Adds the next frames, channels interleaved; their mean is looked at. Allocates.
  void add(const double* samples, std::int64_t frames);

  // Ends the sound: the last columns hear silence after it. Nothing may be added then. Allocates.
  void finish();

  int columns() const { return static_cast<int>(levels.size()) / range.rows(); }
  double secondsOf(int column) const;

  // dB relative to the loudest point, -100 or more.
  double levelDb(int column, int row) const;

  // The row that is loud most of the time.
  int lastingRow() const;

  // gnuplot's binary matrix: seconds across, octaves above 1 Hz upwards, dB. Answers whether it was written.
  bool writeMatrix(const std::string& path) const;

private:
  struct Transform;
  struct Probe {
    int firstBin;
    std::vector<float> weights; // one per bin
  };

  void makeProbes();
  void addColumn();
  void thinOut();

  PitchRange range;
  int rateHz;
  int channels;
  std::int64_t stepFrames;     // from column to column
  std::int64_t nextCentre = 0; // frame at the middle of the next column
  std::int64_t framesHeard = 0;
  std::vector<float> recent; // the window around nextCentre as far as it is there, a ring
  std::vector<Probe> probes; // one per row
  std::unique_ptr<Transform> transform;
  std::vector<float> levels; // column by column, rows upwards; linear
  float loudest = 1e-9f;
};
