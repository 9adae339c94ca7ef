// What each opcode is to call and answer.
#pragma once

#include "tests/support/EffectSlots.h"

// Sends every opcode but 1, 12 and 22, which do not call one fixed operation, and some undefined ones
// through the record's entry, with all slots of the effect exchanged for recorders, and checks which slot is
// called, with what, and what comes back. programCount must be 6 or more.
void checkOpcodeRows(AEffect* record, int slots);
