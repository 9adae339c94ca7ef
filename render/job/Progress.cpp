#include "render/job/Progress.h"

#include "render/text/Console.h"

#include <algorithm>
#include <cmath>
#include <fmt/core.h>
#include <string>
#include <unistd.h>

namespace {

constexpr std::size_t kBarWidth = 24; // columns; the whole line fits into 80
constexpr std::chrono::milliseconds kDrawingInterval(100);

std::string bar(double share) {
  const auto filled = static_cast<std::size_t>(share * kBarWidth);
  std::string text = "[]";
  text.insert(1, kBarWidth - filled, ' ');
  return text.insert(1, filled, '#');
}

std::string minutes(double seconds) {
  const auto whole = std::lround(std::min(seconds, 359999.0));
  return fmt::format("{}:{:02}", whole / 60, whole % 60);
}

} // namespace

Progress::Progress(bool wanted, int count) : shown(wanted && isatty(STDERR_FILENO)), files(count) {}

Progress::~Progress() {
  if (shown) showProgressLine("");
}

void Progress::advance(double newSeconds, double newShare) {
  const std::lock_guard<std::mutex> hold(held);
  seconds += newSeconds;
  share += newShare;
  const auto now = Clock::now();
  if (!shown || now < nextDrawing) return;
  nextDrawing = now + kDrawingInterval;
  draw(now);
}

void Progress::finishFile(double newShare) {
  const std::lock_guard<std::mutex> hold(held);
  share += newShare;
  ++finished;
}

void Progress::draw(Clock::time_point now) const {
  const double elapsed = std::chrono::duration<double>(now - start).count();
  const double part = std::clamp(share / files, 0.0, 1.0);
  std::string line = part > 0.0 ? bar(part) + fmt::format(" {:3} %  ", static_cast<int>(part * 100.0))
                                : fmt::format("{:.1f} s  ", seconds);
  if (files > 1) line += fmt::format("{} of {} files  ", finished, files);
  line += fmt::format("{:.0f} x real time", seconds / elapsed);
  if (part > 0.0) line += "  " + minutes(elapsed * (1.0 - part) / part) + " left";
  showProgressLine(line);
}

FileProgress::FileProgress(Progress& whole, std::int64_t length, int framesPerSecond)
    : progress(whole), frames(length), rateHz(framesPerSecond) {}

FileProgress::~FileProgress() { progress.finishFile(1.0 - shownShare); }

void FileProgress::show(std::int64_t framesDone) {
  const double seconds = static_cast<double>(framesDone - shownFrames) / rateHz;
  const double share =
      frames > 0 ? static_cast<double>(framesDone - shownFrames) / static_cast<double>(frames) : 0.0;
  shownFrames = framesDone;
  shownShare += share;
  progress.advance(seconds, share);
}
