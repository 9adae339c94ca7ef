#include "effect/TreadshiftProgram.h"

#include <cstring>

namespace {

constexpr char kUnnamed[] = "Init";

} // namespace

TreadshiftProgram::TreadshiftProgram() : values{1.0f, 0.0f, 0.8f, 0.5f, 0.0f}, name{} { setName(kUnnamed); }

TreadshiftProgram::~TreadshiftProgram() = default;

void TreadshiftProgram::setName(const char* text) noexcept {
  std::strncpy(name, text, kNameBytes - 1);
  name[kNameBytes - 1] = '\0';
}

bool TreadshiftProgram::isUnnamed() const noexcept { return std::strcmp(name, kUnnamed) == 0; }
