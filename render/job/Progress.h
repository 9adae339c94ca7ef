// How far the rendering is, for someone who watches.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>

// One line about all files of a call. Any thread may report to it.
class Progress {
public:
  // Shows itself only when `wanted` and the standard error output is a terminal. files: how many there are.
  Progress(bool wanted, int files);

  // Clears the line.
  ~Progress();

  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

private:
  friend class FileProgress;
  using Clock = std::chrono::steady_clock;

  void advance(double seconds, double share);
  void finishFile(double share);
  void draw(Clock::time_point now) const;

  const bool shown;
  const int files;
  const Clock::time_point start = Clock::now();
  std::mutex held; // for all below
  Clock::time_point nextDrawing = start;
  double seconds = 0.0; // of sound rendered so far
  double share = 0.0;   // files rendered so far, parts included; a file of unknown length counts at its end
  int finished = 0;     // files
};

// One file's part of it. It ends with the object, whatever came of the file.
class FileProgress {
public:
  // length: frames of the sound, negative when unknown.
  FileProgress(Progress& whole, std::int64_t length, int framesPerSecond);
  ~FileProgress();

  FileProgress(const FileProgress&) = delete;
  FileProgress& operator=(const FileProgress&) = delete;

  // framesDone: frames rendered so far. Draws at most ten times a second.
  void show(std::int64_t framesDone);

private:
  Progress& progress;
  std::int64_t frames;
  int rateHz;
  std::int64_t shownFrames = 0;
  double shownShare = 0.0;
};
