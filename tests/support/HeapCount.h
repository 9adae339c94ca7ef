// Counts what is asked of the heap, by standing in for malloc and its kin in this whole process, modules
// included. Linking HeapCount.cpp is all it takes; a program that loads modules exports its symbols
// (ENABLE_EXPORTS), so that they find it.
#pragma once

#include <cstddef>
#include <vector>

// Calls that took, changed or gave back memory since the process began.
long heapCalls();

struct HeapCount {
  std::size_t allocations;         // since the start
  std::size_t liveBytes;           // as asked for; of the allocations since the start
  std::vector<std::size_t> blocks; // bytes of each of those still there, largest first
};

// Starts to count from nothing. One thread only.
void startHeapCount();

// Bytes asked for since the start and not given back. While counting only.
std::size_t heapLiveBytes();

// Ends counting and tells what was counted. [allocates]
HeapCount endHeapCount();
