// A fuzzer's input, read as a script of choices and numbers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Takes bytes from the front; zeros follow when they are used up, so that every input is a whole script. The
// bytes must outlive the reader.
class ScriptBytes {
public:
  ScriptBytes(const std::uint8_t* bytes, std::size_t size) : next(bytes), end(bytes + size) {}

  bool isEmpty() const { return next == end; }
  std::uint8_t byte() { return next == end ? 0 : *next++; }
  bool flag() { return (byte() & 1) != 0; }
  // 0..bound - 1. bound: 1 or more; two bytes are taken for one above 256.
  int below(int bound);

  // One of the numbers that go wrong most often, or any other. The first byte chooses.
  std::int32_t int32();
  std::int64_t int64();
  float float32();
  double float64();

  // A length byte, then that many of the bytes that are left, NULs included. Allocates.
  std::string text();

private:
  template <typename Number> Number raw();

  const std::uint8_t* next;
  const std::uint8_t* end;
};
