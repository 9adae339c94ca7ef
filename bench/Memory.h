// What one effect takes from the heap at 48 kHz, and when.
#pragma once

#include "tests/support/HeapCount.h"

#include <string>

struct Memory {
  std::size_t created;      // bytes: effect and programs
  HeapCount ready;          // after rate, a block size of 4096 announced, and a block of 64
  std::size_t sameSize;     // allocations in a thousand more blocks of 64
  std::size_t changingSize; // allocations in a thousand blocks of changing sizes up to 4096
};

Memory measureMemory(const std::string& modulePath);
