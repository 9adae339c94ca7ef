#include "tests/support/HeapCount.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <functional>

// The C library's own functions under the names that it keeps for those who replace malloc.
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);
}

namespace {

constexpr std::size_t kMostBlocks = 4096; // alive at once while counting

struct Block {
  void* place;
  std::size_t bytes;
};

// Atomic, lest a compiler that knows what malloc does believes that nothing else changes them.
std::atomic<long> calls = 0;
std::atomic<bool> counting = false;
std::size_t allocations = 0;
std::size_t liveBytes = 0;
std::size_t blockCount = 0;
Block blocks[kMostBlocks]; // fixed: counting must not allocate

void remember(void* place, std::size_t bytes) {
  ++allocations;
  if (blockCount == kMostBlocks) std::abort();
  blocks[blockCount++] = {place, bytes};
  liveBytes += bytes;
}

void forget(void* place) {
  Block* const end = blocks + blockCount;
  Block* const found = std::find_if(blocks, end, [place](const Block& b) { return b.place == place; });
  if (found == end) return;
  liveBytes -= found->bytes;
  *found = blocks[--blockCount];
}

void* taken(void* place, std::size_t bytes) {
  ++calls;
  if (!place) return nullptr;
  if (counting) remember(place, bytes);
  return place;
}

void givenBack(void* place) {
  ++calls;
  if (!place) return;
  if (counting) forget(place);
}

} // namespace

#pragma GCC visibility push(default) // modules are to find these and not the C library's
extern "C" {
void* malloc(std::size_t bytes) noexcept { return taken(__libc_malloc(bytes), bytes); }
void* calloc(std::size_t count, std::size_t each) noexcept {
  return taken(__libc_calloc(count, each), count * each);
}
void* realloc(void* place, std::size_t bytes) noexcept {
  givenBack(place);
  return taken(__libc_realloc(place, bytes), bytes);
}
void* memalign(std::size_t alignment, std::size_t bytes) noexcept {
  return taken(__libc_memalign(alignment, bytes), bytes);
}
void* aligned_alloc(std::size_t alignment, std::size_t bytes) noexcept { return memalign(alignment, bytes); }
int posix_memalign(void** place, std::size_t alignment, std::size_t bytes) noexcept {
  *place = memalign(alignment, bytes);
  return *place ? 0 : ENOMEM;
}
void free(void* place) noexcept {
  givenBack(place);
  __libc_free(place);
}
}
#pragma GCC visibility pop

long heapCalls() { return calls; }
std::size_t heapLiveBytes() { return liveBytes; }

void startHeapCount() {
  allocations = blockCount = liveBytes = 0;
  counting = true;
}

HeapCount endHeapCount() {
  counting = false;
  HeapCount found{allocations, liveBytes, {}};
  for (std::size_t k = 0; k < blockCount; ++k)
    found.blocks.push_back(blocks[k].bytes);
  std::ranges::sort(found.blocks, std::greater());
  return found;
}
