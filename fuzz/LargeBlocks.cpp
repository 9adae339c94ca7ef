// Allocation for a target whose executions allocate large blocks of few sizes, the module's: the address
// checker maps and unmaps such blocks each time, which would take two thirds of all time. Here they are kept
// when they are given back, out of bounds as freed memory is, for the next request of the same size.
#include "fuzz/Check.h"

#include <array>
#include <cstdlib>
#include <malloc.h>
#include <new>
#include <sanitizer/asan_interface.h>
#include <utility>

namespace {

constexpr std::size_t kLarge = 65536; // bytes
constexpr std::size_t kMostKept = 24;

struct Block {
  void* memory;
  std::size_t size;
};

std::array<Block, kMostKept> kept;
std::size_t nextPlace = 0; // of the block to be kept next; the one that stands there goes

void* takeKept(std::size_t size) {
  for (Block& block : kept) {
    if (!block.memory || block.size != size) continue;
    ASAN_UNPOISON_MEMORY_REGION(block.memory, size);
    return std::exchange(block.memory, nullptr);
  }
  return nullptr;
}

void keep(void* memory, std::size_t size) {
  for (const Block& block : kept)
    expect(block.memory != memory, "a block is given back twice");
  Block& place = kept[nextPlace];
  nextPlace = (nextPlace + 1) % kMostKept;
  if (place.memory) {
    ASAN_UNPOISON_MEMORY_REGION(place.memory, place.size);
    std::free(place.memory);
  }
  place = {memory, size};
  ASAN_POISON_MEMORY_REGION(memory, size);
}

void* allocate(std::size_t size) noexcept {
  void* const memory = size >= kLarge ? takeKept(size) : nullptr;
  return memory ? memory : std::malloc(size);
}

void* allocateOrThrow(std::size_t size) {
  if (void* const memory = allocate(size)) return memory;
  throw std::bad_alloc();
}

// The checker knows the size that was asked for.
void release(void* memory) noexcept {
  const std::size_t size = memory ? malloc_usable_size(memory) : 0;
  if (size >= kLarge)
    keep(memory, size);
  else
    std::free(memory);
}

} // namespace

#pragma GCC visibility push(default)
void* operator new(std::size_t size) { return allocateOrThrow(size); }
void* operator new[](std::size_t size) { return allocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory); }
#pragma GCC visibility pop
