// Opcodes at the ends of their arguments' types, and opcodes that there are not.
#include "OddNumbers.h"
#include "engine/PedalNumbers.h"
#include "tests/property/Duo.h"
#include "vst/Opcodes.h"

#include <climits>

namespace {

const int32_t kIndices[] = {INT_MIN, INT_MIN + 1, -16, -1, 0, 4, 5, 15, 16, 255, 65536, INT_MAX - 1, INT_MAX};
const intptr_t kValues[] = {INTPTR_MIN, INT_MIN, -1, 0, 1, INT_MAX, INTPTR_MAX};

// Those that answer something else than 0 whatever they are asked; the rest depends on the arguments.
intptr_t constantAnswer(int32_t opcode) {
  switch (opcode) {
  case kOpIdentify:
    return 0x4E764566;
  case kOpCanParameterBeAutomated:
  case kOpGetPlugCategory:
  case kOpGetEffectName:
  case kOpGetVendorString:
  case kOpGetProductString:
    return 1;
  case kOpGetVendorVersion:
    return 1000;
  case kOpGetVstVersion:
    return 2400;
  case kOpGetCurrentMidiProgram:
    return -1;
  default:
    return 0;
  }
}

bool answersItsArguments(int32_t opcode) {
  return opcode == kOpGetProgram || opcode == kOpGetProgramNameIndexed ||
         opcode == kOpGetParameterProperties || opcode == kOpSetTotalSampleToProcess;
}

// Closing ends everything, a rate and a resume are heard, and a value that is an address must be one.
bool isLeftOut(int32_t opcode) {
  return opcode == kOpClose || opcode == kOpSetSampleRate || opcode == kOpResumeOrSuspend ||
         opcode == kOpGetSpeakerArrangement;
}

intptr_t send(AEffect* record, int32_t opcode, int32_t index, intptr_t value, float opt) {
  char buffer[256] = "Some text";
  return record->dispatchEntry(record, opcode, index, value, buffer, opt);
}

void sendExtremes(AEffect* record, int32_t opcode) {
  for (int32_t index : kIndices)
    for (intptr_t value : kValues)
      for (float opt : {0.0f, -kFloatInfinity, 3.4e38f, kQuietNaN}) {
        const intptr_t answer = send(record, opcode, index, value, opt);
        if (answersItsArguments(opcode) || answer == constantAnswer(opcode)) continue;
        CAPTURE(index);
        CAPTURE(value);
        FAIL_CHECK("opcode ", opcode, " answers ", answer);
      }
}

} // namespace

TEST_CASE("every opcode of the module gives its own answer") {
  Duo duo(8000.0f);
  duo->setParameter(kPedalPos, 0.3f);
  duo.block(100);
  for (int32_t opcode = 0; opcode < 80; ++opcode) {
    if (isLeftOut(opcode)) continue;
    sendExtremes(duo.record(), opcode);
    duo.block(50);
  }
  for (int size : {1, 3000, 64}) // after every announced size
    duo.blocks(3, size);
}

TEST_CASE("opcodes that there are not answer 0 to anything") {
  Duo duo(8000.0f);
  for (int32_t opcode : {INT_MIN, INT_MIN + 1, -65536, -1, 80, 81, 255, 256, 1000, 256 + kOpIdentify,
                         65536 + kOpClose, 65536 + kOpIdentify, (1 << 24) + kOpGetVstVersion,
                         INT_MIN + kOpGetVendorVersion, INT_MAX - 1, INT_MAX}) {
    CAPTURE(opcode);
    sendExtremes(duo.record(), opcode);
    duo.block(50);
  }
}

TEST_CASE("an announced block size of any number is no more than an announcement") {
  for (intptr_t size : {INTPTR_MIN, intptr_t{INT_MIN}, intptr_t{-1}, intptr_t{0}, intptr_t{1},
                        intptr_t{(1 << 20) + 1}, intptr_t{INT_MAX}, INTPTR_MAX}) {
    CAPTURE(size);
    Duo before, after(8000.0f);
    send(before.record(), kOpSetBlockSize, 0, size, 0.0f);
    before->setSampleRate(8000.0f);
    send(after.record(), kOpSetBlockSize, 0, size, 0.0f);
    for (Duo* duo : {&before, &after}) {
      duo->blocks(2, 100);
      duo->block(5000);
    }
  }
}
