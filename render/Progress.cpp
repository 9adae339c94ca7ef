#include "render/Progress.h"

#include <cstdio>
#include <unistd.h>

namespace {

constexpr int kLineWidth = 56; // columns; a narrow terminal still holds it
constexpr int kBarWidth = 24;  // columns
constexpr std::chrono::milliseconds kDrawingInterval(100);

} // namespace

Progress::Progress(bool wanted, std::int64_t length, int framesPerSecond)
    : shown(wanted && isatty(STDERR_FILENO)), frames(length), rateHz(framesPerSecond) {}

Progress::~Progress() {
  if (shown) std::fprintf(stderr, "\r%*s\r", kLineWidth, "");
}

void Progress::show(std::int64_t framesDone) {
  const auto now = Clock::now();
  if (!shown || now < nextDrawing) return;
  nextDrawing = now + kDrawingInterval;
  const double seconds = static_cast<double>(framesDone) / rateHz;
  const double speed = seconds / std::chrono::duration<double>(now - start).count();
  if (frames > 0) {
    const double share = static_cast<double>(framesDone) / static_cast<double>(frames);
    const int filled = static_cast<int>(share * kBarWidth);
    std::fprintf(stderr, "\r[%.*s%*s] %3d %%  %.0f x real time ", filled, "########################",
                 kBarWidth - filled, "", static_cast<int>(share * 100.0), speed);
  } else {
    std::fprintf(stderr, "\r%.1f s  %.0f x real time ", seconds, speed);
  }
  std::fflush(stderr);
}
