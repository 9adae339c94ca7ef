// Fields that a block reads while another thread writes them: single stores and loads, without a lock.
#pragma once

#include <atomic>

// Reads a field as one indivisible access. [any thread] Waits for nothing.
template <typename Value> Value loadShared(Value& field) {
  static_assert(std::atomic_ref<Value>::is_always_lock_free);
  return std::atomic_ref<Value>(field).load(std::memory_order_relaxed);
}

// Writes a field as one indivisible access. [any thread] Waits for nothing.
template <typename Value> void storeShared(Value& field, Value value) {
  static_assert(std::atomic_ref<Value>::is_always_lock_free);
  std::atomic_ref<Value>(field).store(value, std::memory_order_relaxed);
}
