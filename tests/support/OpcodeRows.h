// What each opcode is to call and answer, and the check of a record against it.
#pragma once

#include "tests/support/EffectSlots.h"

#include <optional>
#include <vector>

// How one argument of a called operation is made from the opcode's.
enum class Unpacked { index, value, ptr, opt, valueAsAddress, indexAsFlag, valueAsFlag };

// What becomes of the operation's result.
enum class Answered { zero, number, flag };

struct OpcodeRow {
  int32_t opcode;
  std::optional<Slot> slot; // none: nothing is called
  std::vector<Unpacked> arguments;
  Answered answer;
};

// Every opcode but 1, 12 and 22 (which do not call one fixed operation), and some numbers that are none.
const std::vector<OpcodeRow>& opcodeRows();

// Sends every row through the record's entry, with all slots of the effect exchanged for recorders, and
// checks which slot is called, with what, and what comes back. programCount must be 6 or more.
void checkOpcodeRows(AEffect* record, int slots);
