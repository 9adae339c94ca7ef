// What a host may expect of an effect's parameters and programs.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

class ProgramModel {
public:
  static constexpr int kParameters = 5;
  static constexpr int kPrograms = 16;

  // index: one of the parameters, any other is ignored.
  void setParameter(std::int32_t index, float value);
  float parameter(std::int32_t index) const; // 0 for an index that is none

  // The host's program change: every number below 16 is stored.
  void selectProgram(std::intptr_t number);
  std::int32_t currentProgram() const { return current; }
  // The effect's own: numbers other than 0..15 are ignored.
  void loadProgram(std::int64_t number);

  // 23 characters are kept. Nothing is named while the current program is none.
  void setName(std::string_view text);
  std::string currentName() const;               // as shown: "Init" with its number
  std::string storedName(int index) const;       // as stored; empty for a negative index
  std::string display(std::int32_t index) const; // of a switch or the colour; empty for the others

  // Whether every live value is one that a knob can give: 0..1.
  bool isInRange() const;

private:
  struct Program {
    std::array<float, kParameters> values = {1.0f, 0.0f, 0.8f, 0.5f, 0.0f};
    std::string name = "Init";
  };

  bool hasCurrent() const { return current >= 0 && current < kPrograms; }

  std::array<Program, kPrograms> programs;
  std::array<float, kParameters> live = {1.0f, 0.0f, 0.8f, 0.5f, 0.0f};
  std::int32_t current = 0;
};
