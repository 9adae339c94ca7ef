// One of the effect's programs: a value for each parameter, and a name.
#pragma once

#include "engine/PedalNumbers.h"

#include <cstddef>

// A new program is named "Init" and has the effect's defaults.
class TreadshiftProgram {
public:
  static constexpr std::size_t kNameBytes = 24;

  TreadshiftProgram();
  virtual ~TreadshiftProgram();

  // Copies at most 23 characters. text: zero-terminated, not null. [any thread] Allocates nothing.
  void setName(const char* text) noexcept;

  // Whether nobody has named the program yet. [any thread]
  bool isUnnamed() const noexcept;

  float values[kParameterCount]; // 0..1, by Parameter
  char name[kNameBytes];         // zero-terminated
};
