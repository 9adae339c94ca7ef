// What a test can know about processes and descriptors from outside.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

// Processes whose parent is this one, running or not collected yet.
std::vector<pid_t> childrenOf(pid_t parent);

// Waits for the first child.
pid_t awaitChildOf(pid_t parent);

// Whether a process is there and more than its own exit status.
bool isRunning(pid_t process);

// How many descriptors this process has open.
std::size_t openDescriptors();

// The variable that tells the broken module what to do wrong.
inline constexpr char kFault[] = "TREADSHIFT_TEST_FAULT";

// Sets an environment variable for as long as it lives.
class Environment {
public:
  Environment(std::string variable, const std::string& value);
  ~Environment();
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

private:
  std::string name;
};
