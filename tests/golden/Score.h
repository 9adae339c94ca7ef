// What a golden performance plays: a text that anyone who ports the engine can read and play.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// One line of a score. docs/golden.md says what each does.
struct ScoreStep {
  enum Kind { kInput, kRate, kSet, kGlide, kBlocks, kResume, kLoad, kSelect };

  Kind kind;
  std::string word;  // input: noise, pluck or silence
  int index = 0;     // set, glide: the parameter; load, select: the program
  double from = 0.0; // rate in Hz; set's value; glide's first value
  double to = 0.0;   // glide's last value
  int count = 0;     // blocks, glide
  int samples = 0;   // blocks, glide: of each block; input pluck: of its period
  uint64_t seed = 0; // input noise, pluck
};

struct Score {
  std::string name; // the file's, without folder and ending
  bool keepSamples = false;
  std::vector<ScoreStep> steps;
};

// Reads the score in `file`. Throws std::runtime_error naming file and line when a line cannot be read.
Score readScore(const std::string& file);

// All scores in `folder`, by name.
std::vector<Score> readScores(const std::string& folder);
