// The processor's state that belongs to the host and that no call may change.
#pragma once

#include <cstdint>

// Takes note when it is made, and on its end expects the x87 control word, the direction flag and the SSE
// control word to be as they were.
class HostEnvironment {
public:
  // word: SSE control word that the host has in force during the call. The sticky exception flags may change
  // unless `keepsFlags`. The program's own word is back when this ends.
  HostEnvironment(std::uint32_t word, bool keepsFlags);
  ~HostEnvironment();
  HostEnvironment(const HostEnvironment&) = delete;
  HostEnvironment& operator=(const HostEnvironment&) = delete;

private:
  std::uint32_t ownWord, hostWord, compared;
  std::uint16_t x87Word;
};
