// Counts what is taken from the heap, by standing in for malloc in this whole process, modules included.
#pragma once

#include <cstddef>
#include <vector>

struct HeapCount {
  std::size_t allocations;         // since the start
  std::size_t liveBytes;           // as asked for; of the allocations since the start
  std::vector<std::size_t> blocks; // bytes of each of those still there, largest first
};

// Starts to count from nothing. One thread only.
void startHeapCount();

// Ends counting and tells what was counted. [allocates]
HeapCount endHeapCount();
