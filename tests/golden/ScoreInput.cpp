#include "ScoreInput.h"

ScoreInput::ScoreInput(const ScoreStep& step) : noisy(step.word == "noise"), state(step.seed) {
  if (step.word != "pluck") return;
  for (int i = 0; i < step.samples; ++i)
    string.push_back(noise());
}

double ScoreInput::next() {
  if (noisy) return noise();
  return string.empty() ? 0.0 : pluck();
}

double ScoreInput::noise() {
  state = state * 6364136223846793005u + 1442695040888963407u;
  return static_cast<double>(state >> 11) * 0x1p-53 - 0.5;
}

double ScoreInput::pluck() {
  const std::size_t neighbour = (place + 1) % string.size();
  const double sample = string[place];
  string[place] = 0.4995 * (sample + string[neighbour]);
  place = neighbour;
  return sample;
}
