#include "render/Console.h"

#include "render/Fault.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <mutex>

namespace {

std::mutex console;
std::size_t shownColumns = 0; // of the progress line on show

void replaceLine(const std::string& text) {
  const int padding = shownColumns > text.size() ? static_cast<int>(shownColumns - text.size()) : 0;
  std::fprintf(stderr, "\r%s%*s", text.c_str(), padding, "");
  shownColumns = text.size();
}

} // namespace

void printMessage(const std::string& line) {
  const std::lock_guard<std::mutex> hold(console);
  if (shownColumns > 0) {
    replaceLine("");
    std::fputc('\r', stderr);
  }
  std::fprintf(stderr, "treadshift-render: %s\n", line.c_str());
}

void showProgressLine(const std::string& text) {
  const std::lock_guard<std::mutex> hold(console);
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
