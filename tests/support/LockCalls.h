// Notes what is asked of POSIX locks and conditions, by standing in for them in this whole process, modules
// included. Linking LockCalls.cpp is all it takes; a program that loads modules exports its symbols
// (ENABLE_EXPORTS), so that they find it.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

struct LockCall {
  std::string function;
  const void* object; // the mutex, condition or lock

  bool operator==(const LockCall&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const LockCall& call);

// What is to happen in front of a call; function: its name. The calls that it makes itself are not noted.
using LockWatcher = void (*)(const char* function);

// Starts to note calls, from none. One thread only. before: called with each call that is noted; null:
// nothing is.
void startLockCalls(LockWatcher before = nullptr);

// Ends noting. The calls in their order, the first thousand at most. [allocates]
std::vector<LockCall> endLockCalls();
