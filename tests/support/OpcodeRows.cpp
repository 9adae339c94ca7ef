#include "tests/support/OpcodeRows.h"

#include <doctest/doctest.h>

#include <optional>

namespace {

// How one argument of a called operation is made from the opcode's.
enum class Unpacked { index, value, ptr, opt, valueAsAddress, indexAsFlag, valueAsFlag };
using enum Unpacked;

// What becomes of the operation's result.
enum class Answered { zero, number, flag };
using enum Answered;

struct OpcodeRow {
  int32_t opcode;
  std::optional<Slot> slot; // none: nothing is called
  std::vector<Unpacked> arguments;
  Answered answer;
};

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
  std::vector<SlotCall> expected;
  if (row.slot) expected.push_back({*row.slot, record->objectRef, expectedArguments(row, sent)});
  CHECK(slotCalls == expected);
}

// Those that call one fixed operation.
const std::vector<OpcodeRow> rows = {
    {0, Slot::open, {}, zero},
    {2, Slot::setProgram, {value}, zero},
    {3, Slot::getProgram, {}, number},
    {4, Slot::setProgramName, {ptr}, zero},
    {5, Slot::getProgramName, {ptr}, zero},
    {6, Slot::getParameterLabel, {index, ptr}, zero},
    {7, Slot::getParameterDisplay, {index, ptr}, zero},
    {8, Slot::getParameterName, {index, ptr}, zero},
    {10, Slot::setSampleRate, {opt}, zero},
    {11, Slot::setBlockSize, {value}, zero},
    {23, Slot::getChunk, {ptr, indexAsFlag}, number},
    {24, Slot::setChunk, {ptr, value, indexAsFlag}, number},
    {25, Slot::processEvents, {ptr}, number},
    {26, Slot::canParameterBeAutomated, {index}, flag},
    {27, Slot::string2parameter, {index, ptr}, flag},
    {29, Slot::getProgramNameIndexed, {value, index, ptr}, flag},
    {33, Slot::getInputProperties, {index, ptr}, flag},
    {34, Slot::getOutputProperties, {index, ptr}, flag},
    {35, Slot::getPlugCategory, {}, number},
    {38, Slot::offlineNotify, {ptr, value, indexAsFlag}, flag},
    {39, Slot::offlinePrepare, {ptr, value}, flag},
    {40, Slot::offlineRun, {ptr, value}, flag},
    {41, Slot::processVariableIo, {ptr}, flag},
    {42, Slot::setSpeakerArrangement, {valueAsAddress, ptr}, flag},
    {44, Slot::setBypass, {valueAsFlag}, flag},
    {45, Slot::getEffectName, {ptr}, flag},
    {47, Slot::getVendorString, {ptr}, flag},
    {48, Slot::getProductString, {ptr}, flag},
    {49, Slot::getVendorVersion, {}, number},
    {50, Slot::vendorSpecific, {index, value, ptr, opt}, number},
    {51, Slot::canDo, {ptr}, number},
    {52, Slot::getGetTailSize, {}, number},
    {56, Slot::getParameterProperties, {index, ptr}, flag},
    {58, Slot::getVstVersion, {}, number},
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
};

} // namespace

void checkOpcodeRows(AEffect* record, int slots) {
  char place[8] = {};
  SlotExchange exchange(record->objectRef, slots);
  exchange.recordOperations();
  std::vector<OpcodeRow> all = rows;
  for (int32_t opcode : {INT32_MIN, -1, 9,  13, 14, 15, 16, 17, 18, 19, 20, 21, 28, 30,   31,
                         32,        36, 37, 43, 46, 53, 54, 55, 57, 59, 60, 61, 80, 1000, INT32_MAX})
    all.push_back({opcode, {}, {}, zero});
  for (const OpcodeRow& row : all) {
    for (intptr_t operationAnswer : {0, 1, -12345, INT32_MAX}) {
      checkRow(record, row, {0, 0, nullptr, 0.0f}, operationAnswer);
      checkRow(record, row, {3, 5, place, 0.375f}, operationAnswer);
      checkRow(record, row, {-2, -7, place + 1, -96000.5f}, operationAnswer);
    }
  }
}
