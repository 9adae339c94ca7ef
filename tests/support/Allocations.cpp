#include "tests/support/Allocations.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> liveBlocks{0};
std::atomic<long> takenBlocks{0};
std::atomic<long> countdown{0}; // 1: the next allocation fails; 0 and below: none
std::atomic<std::size_t> largest{SIZE_MAX};

bool mustFail(std::size_t bytes) {
  if (bytes > largest.load()) return true;
  return countdown.load() > 0 && countdown.fetch_sub(1) == 1;
}

void* counted(void* block) {
  if (!block) return nullptr;
  ++liveBlocks;
  ++takenBlocks;
  return block;
}

void* take(std::size_t bytes) { return mustFail(bytes) ? nullptr : counted(std::malloc(bytes ? bytes : 1)); }

void* takeAligned(std::size_t bytes, std::align_val_t alignment) {
  const auto step = static_cast<std::size_t>(alignment);
  return mustFail(bytes) ? nullptr : counted(std::aligned_alloc(step, (bytes + step) / step * step));
}

void* throwing(void* block) {
  if (!block) throw std::bad_alloc();
  return block;
}

void release(void* block) {
  if (block) --liveBlocks;
  std::free(block);
}

} // namespace

// Every form is replaced, also those that would end in the plain ones: an address checker brings its own.
void* operator new(std::size_t bytes) { return throwing(take(bytes)); }
void* operator new[](std::size_t bytes) { return throwing(take(bytes)); }
void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept { return take(bytes); }
void* operator new[](std::size_t bytes, const std::nothrow_t&) noexcept { return take(bytes); }
void* operator new(std::size_t bytes, std::align_val_t step) { return throwing(takeAligned(bytes, step)); }
void* operator new[](std::size_t bytes, std::align_val_t step) { return throwing(takeAligned(bytes, step)); }
void* operator new(std::size_t bytes, std::align_val_t step, const std::nothrow_t&) noexcept {
  return takeAligned(bytes, step);
}
void* operator new[](std::size_t bytes, std::align_val_t step, const std::nothrow_t&) noexcept {
  return takeAligned(bytes, step);
}

void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t) noexcept { release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { release(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { release(block); }
void operator delete(void* block, std::align_val_t) noexcept { release(block); }
void operator delete[](void* block, std::align_val_t) noexcept { release(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { release(block); }

namespace allocations {

long live() { return liveBlocks; }
long taken() { return takenBlocks; }

FailNth::FailNth(long n) { countdown = n; }
FailNth::~FailNth() { countdown = 0; }

RefuseLargerThan::RefuseLargerThan(std::size_t bytes) { largest = bytes; }
RefuseLargerThan::~RefuseLargerThan() { largest = SIZE_MAX; }

} // namespace allocations
