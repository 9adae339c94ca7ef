#include "tests/support/OpcodeRows.h"

#include <doctest/doctest.h>

namespace {

using enum Unpacked;
using enum Answered;

struct Sent {
  int32_t index;
  intptr_t value;
  void* ptr;
  float opt;
};

std::string unpackedText(Unpacked how, const Sent& sent) {
  switch (how) {
  case Unpacked::index:
    return argumentText(sent.index);
  case Unpacked::value:
    return argumentText(static_cast<int>(sent.value));
  case Unpacked::ptr:
    return argumentText(sent.ptr);
  case Unpacked::opt:
    return argumentText(sent.opt);
  case Unpacked::valueAsAddress:
    return argumentText(reinterpret_cast<void*>(sent.value));
  case Unpacked::indexAsFlag:
    return argumentText(sent.index != 0);
  case Unpacked::valueAsFlag:
    return argumentText(sent.value != 0);
  }
  return {};
}

std::string expectedArguments(const OpcodeRow& row, const Sent& sent) {
  std::string text;
  for (Unpacked how : row.arguments)
    text += (text.empty() ? "" : ", ") + unpackedText(how, sent);
  return text;
}

intptr_t expectedAnswer(const OpcodeRow& row, intptr_t operationAnswer) {
  if (row.answer == Answered::number) return operationAnswer;
  if (row.answer == Answered::flag) return operationAnswer != 0;
  return 0;
}

void checkRow(AEffect* record, const OpcodeRow& row, const Sent& sent, intptr_t operationAnswer) {
  CAPTURE(row.opcode);
  CAPTURE(sent.index);
  CAPTURE(sent.value);
  slotCalls.clear();
  slotAnswer = operationAnswer;
  const intptr_t answer =
      record->dispatchEntry(record, row.opcode, sent.index, sent.value, sent.ptr, sent.opt);
  CHECK(answer == expectedAnswer(row, operationAnswer));
  REQUIRE(slotCalls.size() == (row.slot ? 1 : 0));
  if (!row.slot) return;
  CHECK(std::string(nameOf(slotCalls[0].slot)) == nameOf(*row.slot));
  CHECK(slotCalls[0].object == record->objectRef);
  CHECK(slotCalls[0].arguments == expectedArguments(row, sent));
}

const std::vector<OpcodeRow> rows = {
    {0, Slot::open, {}, zero},
    {2, Slot::setProgram, {value}, zero},
    {3, Slot::getProgram, {}, number},
    {4, Slot::setProgramName, {ptr}, zero},
    {5, Slot::getProgramName, {ptr}, zero},
    {6, Slot::getParameterLabel, {index, ptr}, zero},
    {7, Slot::getParameterDisplay, {index, ptr}, zero},
    {8, Slot::getParameterName, {index, ptr}, zero},
    {9, {}, {}, zero},
    {10, Slot::setSampleRate, {opt}, zero},
    {11, Slot::setBlockSize, {value}, zero},
    {13, {}, {}, zero}, // 13, 14, 15, 19, 59, 60, 61 ask an editor, and there is none
    {14, {}, {}, zero},
    {15, {}, {}, zero},
    {16, {}, {}, zero},
    {17, {}, {}, zero},
    {18, {}, {}, zero},
    {19, {}, {}, zero},
    {20, {}, {}, zero},
    {21, {}, {}, zero},
    {23, Slot::getChunk, {ptr, indexAsFlag}, number},
    {24, Slot::setChunk, {ptr, value, indexAsFlag}, number},
    {25, Slot::processEvents, {ptr}, number},
    {26, Slot::canParameterBeAutomated, {index}, flag},
    {27, Slot::string2parameter, {index, ptr}, flag},
    {28, {}, {}, zero},
    {29, Slot::getProgramNameIndexed, {value, index, ptr}, flag},
    {30, {}, {}, zero},
    {31, {}, {}, zero},
    {32, {}, {}, zero},
    {33, Slot::getInputProperties, {index, ptr}, flag},
    {34, Slot::getOutputProperties, {index, ptr}, flag},
    {35, Slot::getPlugCategory, {}, number},
    {36, {}, {}, zero},
    {37, {}, {}, zero},
    {38, Slot::offlineNotify, {ptr, value, indexAsFlag}, flag},
    {39, Slot::offlinePrepare, {ptr, value}, flag},
    {40, Slot::offlineRun, {ptr, value}, flag},
    {41, Slot::processVariableIo, {ptr}, flag},
    {42, Slot::setSpeakerArrangement, {valueAsAddress, ptr}, flag},
    {43, {}, {}, zero},
    {44, Slot::setBypass, {valueAsFlag}, flag},
    {45, Slot::getEffectName, {ptr}, flag},
    {46, {}, {}, zero},
    {47, Slot::getVendorString, {ptr}, flag},
    {48, Slot::getProductString, {ptr}, flag},
    {49, Slot::getVendorVersion, {}, number},
    {50, Slot::vendorSpecific, {index, value, ptr, opt}, number},
    {51, Slot::canDo, {ptr}, number},
    {52, Slot::getGetTailSize, {}, number},
    {53, {}, {}, zero},
    {54, {}, {}, zero},
    {55, {}, {}, zero},
    {56, Slot::getParameterProperties, {index, ptr}, flag},
    {57, {}, {}, zero},
    {58, Slot::getVstVersion, {}, number},
    {59, {}, {}, zero},
    {60, {}, {}, zero},
    {61, {}, {}, zero},
    {62, Slot::getMidiProgramName, {index, ptr}, number},
    {63, Slot::getCurrentMidiProgram, {index, ptr}, number},
    {64, Slot::getMidiProgramCategory, {index, ptr}, number},
    {65, Slot::hasMidiProgramsChanged, {index}, flag},
    {66, Slot::getMidiKeyName, {index, ptr}, flag},
    {67, Slot::beginSetProgram, {}, flag},
    {68, Slot::endSetProgram, {}, flag},
    {69, Slot::getSpeakerArrangement, {valueAsAddress, ptr}, flag},
    {70, Slot::getNextShellPlugin, {ptr}, number},
    {71, Slot::startProcess, {}, number},
    {72, Slot::stopProcess, {}, number},
    {73, Slot::setTotalSampleToProcess, {value}, number},
    {74, Slot::setPanLaw, {value, opt}, flag},
    {75, Slot::beginLoadBank, {ptr}, number},
    {76, Slot::beginLoadProgram, {ptr}, number},
    {77, Slot::setProcessPrecision, {value}, flag},
    {78, Slot::getNumMidiInputChannels, {}, number},
    {79, Slot::getNumMidiOutputChannels, {}, number},
    {80, {}, {}, zero},
    {1000, {}, {}, zero},
    {-1, {}, {}, zero},
    {INT32_MAX, {}, {}, zero},
    {INT32_MIN, {}, {}, zero},
};

} // namespace

const std::vector<OpcodeRow>& opcodeRows() { return rows; }

void checkOpcodeRows(AEffect* record, int slots) {
  char place[8] = {};
  SlotExchange exchange(record->objectRef, slots);
  exchange.recordOperations();
  for (const OpcodeRow& row : opcodeRows()) {
    for (intptr_t operationAnswer : {0, 1, -12345, INT32_MAX}) {
      checkRow(record, row, {0, 0, nullptr, 0.0f}, operationAnswer);
      checkRow(record, row, {3, 5, place, 0.375f}, operationAnswer);
      checkRow(record, row, {-2, -7, place + 1, -96000.5f}, operationAnswer);
    }
  }
}
