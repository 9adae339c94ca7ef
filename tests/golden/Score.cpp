#include "Score.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;

constexpr const char* kParameters[] = {"On/Off", "Mode", "Tone", "Color", "PedalPos"};

// A line's words, one after the other; a word that is missing or cannot be read leaves the stream failed.
int parameterFrom(std::istream& words) {
  std::string name;
  words >> name;
  const auto* found = std::ranges::find(kParameters, name);
  if (found == std::end(kParameters)) words.setstate(std::ios::failbit);
  return static_cast<int>(found - kParameters);
}

void readInput(std::istream& words, ScoreStep& step) {
  step.kind = ScoreStep::kInput;
  words >> step.word;
  if (step.word == "noise" || step.word == "pluck")
    words >> step.seed;
  else if (step.word != "silence")
    words.setstate(std::ios::failbit);
  if (step.word == "pluck" && (words >> step.samples) && step.samples < 1) words.setstate(std::ios::failbit);
}

void readGlide(std::istream& words, ScoreStep& step) {
  step.kind = ScoreStep::kGlide;
  step.index = parameterFrom(words);
  if ((words >> step.from >> step.to >> step.count >> step.samples) && step.count < 2)
    words.setstate(std::ios::failbit);
}

// The step that starts with `verb`; false when there is none.
bool readStep(const std::string& verb, std::istream& words, ScoreStep& step) {
  if (verb == "input") {
    readInput(words, step);
  } else if (verb == "rate") {
    step.kind = ScoreStep::kRate;
    words >> step.from;
  } else if (verb == "set") {
    step.kind = ScoreStep::kSet;
    step.index = parameterFrom(words);
    words >> step.from;
  } else if (verb == "glide") {
    readGlide(words, step);
  } else if (verb == "blocks") {
    step.kind = ScoreStep::kBlocks;
    words >> step.count >> step.samples;
  } else if (verb == "resume") {
    step.kind = ScoreStep::kResume;
  } else if (verb == "load" || verb == "select") {
    step.kind = verb == "load" ? ScoreStep::kLoad : ScoreStep::kSelect;
    words >> step.index;
  } else {
    return false;
  }
  return !words.fail() && (words >> std::ws).eof();
}

} // namespace

Score readScore(const std::string& file) {
  std::ifstream stream(file);
  if (!stream) throw std::runtime_error(file + ": cannot be read");
  Score score;
  score.name = fs::path(file).stem();
  int number = 0;
  for (std::string line; std::getline(stream, line);) {
    ++number;
    std::istringstream words(line);
    std::string verb;
    if (!(words >> verb) || verb[0] == '#') continue;
    ScoreStep step{};
    if (line == "keep samples")
      score.keepSamples = true;
    else if (readStep(verb, words, step))
      score.steps.push_back(step);
    else
      throw std::runtime_error(file + ":" + std::to_string(number) + ": cannot play '" + line + "'");
  }
  return score;
}

std::vector<Score> readScores(const std::string& folder) {
  std::vector<std::string> files;
  for (const auto& entry : fs::directory_iterator(folder))
    if (entry.path().extension() == ".txt") files.push_back(entry.path());
  std::ranges::sort(files);
  std::vector<Score> scores;
  for (const std::string& file : files)
    scores.push_back(readScore(file));
  return scores;
}
