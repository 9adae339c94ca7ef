#include "Processes.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

struct State {
  char letter = 'X'; // Z: ended and not collected; X: no such process any more
  pid_t parent = 0;
};

// The name in the middle of the line may hold anything but the last bracket; behind it stand the state and
// the parent.
State stateOf(const fs::path& process) {
  std::ifstream file(process / "stat");
  std::string line;
  std::getline(file, line);
  const auto bracket = line.rfind(')');
  if (bracket == std::string::npos) return {};
  const char* const behind = line.c_str() + bracket;
  return {behind[2], static_cast<pid_t>(std::strtol(behind + 4, nullptr, 10))};
}

} // namespace

std::vector<pid_t> childrenOf(pid_t parent) {
  std::vector<pid_t> children;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    const bool isProcess = std::ranges::all_of(name, [](char c) { return c >= '0' && c <= '9'; });
    if (isProcess && stateOf(entry.path()).parent == parent) children.push_back(std::stoi(name));
  }
  return children;
}

pid_t awaitChildOf(pid_t parent) {
  for (;; usleep(1000)) {
    const auto children = childrenOf(parent);
    if (!children.empty()) return children.front();
  }
}

bool isRunning(pid_t process) {
  const char letter = stateOf("/proc/" + std::to_string(process)).letter;
  return letter != 'X' && letter != 'Z';
}

std::size_t openDescriptors() {
  const fs::directory_iterator all("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

Environment::Environment(std::string variable, const std::string& value) : name(std::move(variable)) {
  setenv(name.c_str(), value.c_str(), 1);
}

Environment::~Environment() { unsetenv(name.c_str()); }
