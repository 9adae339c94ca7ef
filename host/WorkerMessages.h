// What a program and its worker process say to each other over a socket.
#pragma once

#include <cstdint>

// The program sends orders, the worker answers each one except `setParameter` and `close`, in order. Both
// headers are followed by as many bytes as they say. All fields have one width and place in programs of
// either pointer width; both processes run on one machine, so byte order does not matter.
enum class WorkerTask : std::uint32_t {
  request,      // opcode, index, value, real; bytes: the buffer, which comes back as the effect left it
  setParameter, // index, real: the value
  parameter,    // index; answered in `real`
  process,      // bytes: doubles of one block, as many come back
  close         // the worker closes the effect and ends
};

struct WorkerOrder {
  WorkerTask task = WorkerTask::request;
  std::int32_t opcode = 0;
  std::int32_t index = 0;
  std::int32_t value = 0;
  float real = 0.0f;
  std::uint32_t isFollowed = 0; // 1: the answer waits and goes out with the next order's
  std::uint32_t bytes = 0;
};

// Right after its start the worker answers once without an order: with the EffectFacts, or with a text that
// says why there is no effect. The mark changes whenever the messages do.
enum class WorkerMark : std::uint32_t { done = 0x54535731, couldNot = 0x74737731 }; // 'TSW1', 'tsw1'

struct WorkerAnswer {
  WorkerMark mark;
  std::int32_t number;
  float real;
  std::uint32_t bytes; // after couldNot: a text of at most kLongestWorkerText characters
};

enum : std::uint32_t {
  kLongestWorkerText = 4096,           // characters
  kLargestWorkerMessage = 1u << 28,    // bytes behind a header
  kLargestWorkerBlock = (1u << 28) / 8 // samples
};

static_assert(sizeof(WorkerOrder) == 28 && sizeof(WorkerAnswer) == 16);
