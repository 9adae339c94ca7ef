#include "effect/TreadshiftProgram.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr char kUnnamed[] = "Init";

} // namespace

TreadshiftProgram::TreadshiftProgram() : name{} {
  std::ranges::copy(kParameterDefaults, values);
  setName(kUnnamed);
}

TreadshiftProgram::~TreadshiftProgram() = default;

void TreadshiftProgram::setName(const char* text) noexcept {
  std::strncpy(name, text, kNameBytes - 1);
  name[kNameBytes - 1] = '\0';
}

bool TreadshiftProgram::isUnnamed() const noexcept { return std::strcmp(name, kUnnamed) == 0; }
