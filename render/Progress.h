// How far a rendering is, for someone who watches.
#pragma once

#include <chrono>
#include <cstdint>

class Progress {
public:
  // Shows itself only when `wanted` and the standard error output is a terminal. length: frames of
  // the sound, negative when unknown.
  Progress(bool wanted, std::int64_t length, int framesPerSecond);

  // Clears the line.
  ~Progress();

  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // framesDone: frames rendered so far. Draws at most ten times a second.
  void show(std::int64_t framesDone);

private:
  using Clock = std::chrono::steady_clock;

  bool shown;
  std::int64_t frames;
  int rateHz;
  Clock::time_point start = Clock::now();
  Clock::time_point nextDrawing = start;
};
