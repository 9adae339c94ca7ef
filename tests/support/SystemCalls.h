// Forbids system calls, and tells which one was made all the same.
#pragma once

#include <functional>
#include <optional>

// Runs `work` in a child process in which the first system call ends it, and answers that call's number
// (SYS_...); nothing when `work` came to its end without one. What `work` changes stays in the child. Throws
// std::runtime_error when the kernel offers no filter, or the child ended in any other way.
std::optional<long> firstSystemCall(const std::function<void()>& work);
