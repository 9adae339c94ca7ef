// A file descriptor with one owner.
#pragma once

#include <cstddef>
#include <utility>

class Descriptor {
public:
  // number: an open descriptor to own, or a negative number for none.
  explicit Descriptor(int opened = -1) : number(opened) {}

  // Closes it.
  ~Descriptor();

  Descriptor(Descriptor&& other) noexcept : number(other.release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept;

  bool isOpen() const { return number >= 0; }
  int get() const { return number; }

  // Hands it over to the caller.
  int release() { return std::exchange(number, -1); }

private:
  int number;
};

// Writes all bytes behind what was written before, however few the system takes at a time. Result: 0, or the
// reason as errno; a system that takes nothing without a reason has no room (ENOSPC). Allocates nothing.
int writeAll(int descriptor, const void* bytes, std::size_t count);
