#include "render/text/Console.h"

#include "render/text/Fault.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <poll.h>
#include <unistd.h>

namespace {

std::timed_mutex console;
std::size_t shownColumns = 0; // of the progress line on show

void replaceLine(const std::string& text) {
  const int padding = shownColumns > text.size() ? static_cast<int>(shownColumns - text.size()) : 0;
  std::fprintf(stderr, "\r%s%*s", text.c_str(), padding, "");
  shownColumns = text.size();
}

bool standardErrorTakesText() {
  pollfd stream = {STDERR_FILENO, POLLOUT, 0};
  return poll(&stream, 1, 0) == 1 && (stream.revents & POLLOUT) != 0;
}

std::string messageText(const std::string& line) { return "treadshift-render: " + line + "\n"; }

} // namespace

void printMessage(const std::string& line) {
  const std::lock_guard<std::timed_mutex> hold(console);
  if (shownColumns > 0) {
    replaceLine("");
    std::fputc('\r', stderr);
  }
  std::fputs(messageText(line).c_str(), stderr);
}

// Past the stream, whose own lock a thread may hold that waits for a reader.
void printLastMessage(const std::string& line) {
  const std::unique_lock<std::timed_mutex> hold(console, std::chrono::milliseconds(100));
  if (!hold || !standardErrorTakesText()) return;
  std::string text;
  if (shownColumns > 0) text.append("\r").append(shownColumns, ' ').append("\r");
  text += messageText(line);
  if (write(STDERR_FILENO, text.data(), text.size()) < 0) return; // nobody is left to be told
}

void showProgressLine(const std::string& text) {
  const std::lock_guard<std::timed_mutex> hold(console);
  if (text.empty() && shownColumns == 0) return;
  replaceLine(text);
  if (text.empty()) std::fputc('\r', stderr);
  std::fflush(stderr);
}

void printText(const std::string& text) {
  if (std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0) return;
  throw Fault(ExitStatus::couldNot, "standard output", {},
              std::string("cannot be written: ") + std::strerror(errno));
}
