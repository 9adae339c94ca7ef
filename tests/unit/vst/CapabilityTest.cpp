// The two tables of capability names.
#include "vst/AudioEffectX.h"

#include <doctest/doctest.h>

#include <string>

TEST_CASE("what hosts are asked about, and what effects claim") {
  using namespace HostCanDos;
  const std::pair<const char*, std::string> rows[] = {
      {canDoSendVstEvents, "sendVstEvents"},
      {canDoSendVstMidiEvent, "sendVstMidiEvent"},
      {canDoSendVstTimeInfo, "sendVstTimeInfo"},
      {canDoReceiveVstEvents, "receiveVstEvents"},
      {canDoReceiveVstMidiEvent, "receiveVstMidiEvent"},
      {canDoReportConnectionChanges, "reportConnectionChanges"},
      {canDoAcceptIOChanges, "acceptIOChanges"},
      {canDoSizeWindow, "sizeWindow"},
      {canDoOffline, "offline"},
      {canDoOpenFileSelector, "openFileSelector"},
      {canDoCloseFileSelector, "closeFileSelector"},
      {canDoStartStopProcess, "startStopProcess"},
      {canDoShellCategory, "shellCategory"},
      {canDoSendVstMidiEventFlagIsRealtime, "sendVstMidiEventFlagIsRealtime"},
      {PlugCanDos::canDoReceiveVstTimeInfo, "receiveVstTimeInfo"},
      {PlugCanDos::canDoMidiProgramNames, "midiProgramNames"},
      {PlugCanDos::canDoBypass, "bypass"},
  };
  for (const auto& [entry, text] : rows)
    CHECK(entry == text);
}

TEST_CASE("equal names are one string in both tables") {
  CHECK(PlugCanDos::canDoSendVstEvents == HostCanDos::canDoSendVstEvents);
  CHECK(PlugCanDos::canDoSendVstMidiEvent == HostCanDos::canDoSendVstMidiEvent);
  CHECK(PlugCanDos::canDoReceiveVstEvents == HostCanDos::canDoReceiveVstEvents);
  CHECK(PlugCanDos::canDoReceiveVstMidiEvent == HostCanDos::canDoReceiveVstMidiEvent);
  CHECK(PlugCanDos::canDoOffline == HostCanDos::canDoOffline);
}
