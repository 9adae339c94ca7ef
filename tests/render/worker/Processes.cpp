#include "Processes.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// The name in the middle of the line may hold anything but the last bracket; behind it stand the state and
// the parent.
pid_t parentOf(const fs::path& process) {
  std::ifstream file(process / "stat");
  std::string line;
  std::getline(file, line);
  const auto bracket = line.rfind(')');
  return bracket == std::string::npos ? 0 : std::stoi(line.substr(bracket + 4));
}

} // namespace

std::vector<pid_t> childrenOf(pid_t parent) {
  std::vector<pid_t> children;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    const bool isProcess = std::ranges::all_of(name, [](char c) { return c >= '0' && c <= '9'; });
    if (isProcess && parentOf(entry.path()) == parent) children.push_back(std::stoi(name));
  }
  return children;
}

// The C library's own declaration lacks its extern "C".
int endOf(pid_t process) { return static_cast<int>(syscall(SYS_pidfd_open, process, 0)); }

bool ends(pid_t process) {
  constexpr int kMinute = 60000; // ms
  const int descriptor = endOf(process);
  if (descriptor < 0) return errno == ESRCH;
  struct pollfd end = {descriptor, POLLIN, 0};
  const bool ended = poll(&end, 1, kMinute) == 1;
  close(descriptor);
  return ended;
}

std::size_t openDescriptors() {
  const fs::directory_iterator all("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

Environment::Environment(std::string variable, const std::string& value) : name(std::move(variable)) {
  if (const char* const given = std::getenv(name.c_str())) before = given;
  setenv(name.c_str(), value.c_str(), 1);
}

Environment::~Environment() {
  if (before)
    setenv(name.c_str(), before->c_str(), 1);
  else
    unsetenv(name.c_str());
}
