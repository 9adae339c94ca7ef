// What a test can know about processes and descriptors from outside.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

// Processes whose parent is this one, running or not collected yet.
std::vector<pid_t> childrenOf(pid_t parent);

// A descriptor that is readable when the process has ended; negative when there is none any more.
int endOf(pid_t process);

// Blocks until a process has ended, collected or not; a minute at most, which only one that stays takes.
// Whether it has.
bool ends(pid_t process);

// How many descriptors this process has open.
std::size_t openDescriptors();

// The variables that tell the broken module what to do wrong, and which file to tell when the time has come.
inline constexpr char kFault[] = "TREADSHIFT_TEST_FAULT", kMark[] = "TREADSHIFT_TEST_MARK";

// Sets an environment variable for as long as it lives.
class Environment {
public:
  Environment(std::string variable, const std::string& value);
  ~Environment();
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

private:
  std::string name;
  std::optional<std::string> before;
};
