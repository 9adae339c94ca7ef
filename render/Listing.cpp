#include "render/Listing.h"

#include "host/EffectRunner.h"
#include "render/Fault.h"
#include "vst/HostRecords.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>

namespace {

constexpr char kUnset[] = "-";

std::string shortest(float value) {
  char text[32];
  return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
}

std::string quoted(const std::string& text) { return '"' + text + '"'; }

std::string row(const char* name, const std::string& text) {
  char line[320];
  std::snprintf(line, sizeof line, "  %-18s %s\n", name, text.c_str());
  return line;
}

std::string fourCharacters(std::int32_t code) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    const auto character = static_cast<unsigned char>(static_cast<std::uint32_t>(code) >> shift);
    text += character >= 0x20 && character < 0x7f ? static_cast<char>(character) : '?';
  }
  char number[16];
  std::snprintf(number, sizeof number, "0x%08X", static_cast<unsigned>(code));
  return text + " (" + number + ")";
}

std::string flagNames(std::int32_t flags) {
  static constexpr std::pair<std::int32_t, const char*> names[] = {
      {kFlagHasEditor, "editor"},
      {kFlagHasClip, "clip light"},
      {kFlagHasVu, "level meter"},
      {kFlagCanMono, "mono"},
      {kFlagCanReplacing, "replacing"},
      {kFlagProgramsAreChunks, "programs are chunks"},
      {kFlagIsSynth, "synth"},
      {kFlagNoTail, "no tail"},
      {kFlagAsyncOperation, "asynchronous"},
      {kFlagExternalBuffer, "external buffer"},
      {kFlagCanDoubleReplacing, "double replacing"},
  };
  char number[16];
  std::snprintf(number, sizeof number, "0x%X", static_cast<unsigned>(flags));
  std::string text;
  for (const auto& [bit, name] : names) {
    if (flags & bit) text += (text.empty() ? ": " : ", ") + std::string(name);
  }
  return number + text;
}

std::string categoryName(std::intptr_t category) {
  const char* name = category == 1 ? " (effect)" : category == 2 ? " (synth)" : "";
  return std::to_string(category) + name;
}

std::string identity(const EffectRunner& effect) {
  const AEffect& record = *effect.record();
  const auto number = [&](std::int32_t opcode) { return std::to_string(effect.dispatch(opcode)); };
  return row("effect name", quoted(effect.effectName())) + row("vendor", quoted(effect.vendor())) +
         row("product", quoted(effect.product())) + row("vendor version", number(kOpGetVendorVersion)) +
         row("interface version", number(kOpGetVstVersion)) +
         row("effect version", std::to_string(record.version)) +
         row("unique ID", fourCharacters(record.uniqueID)) +
         row("category", categoryName(effect.dispatch(kOpGetPlugCategory))) +
         row("channels",
             std::to_string(record.inputCount) + " in, " + std::to_string(record.outputCount) + " out") +
         row("latency", std::to_string(record.initialDelay) + " samples") +
         row("flags", flagNames(record.flags));
}

std::string kindOf(const EffectRunner& effect, int index) {
  std::array<char, kParameterPropertiesBytes> buffer{};
  if (effect.dispatch(kOpGetParameterProperties, index, 0, buffer.data()) == 0) return kUnset;
  VstParameterProperties properties;
  std::memcpy(&properties, buffer.data(), sizeof properties);
  std::string text;
  const auto add = [&](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
  if (properties.flags & kParameterIsSwitch) add("switch");
  if (properties.flags & kParameterUsesIntegerRange) {
    add("whole numbers " + std::to_string(properties.integerMinimum) + " to " +
        std::to_string(properties.integerMaximum) + " in steps of " + std::to_string(properties.integerStep));
  }
  if (properties.flags & kParameterUsesFloatStep) add("steps of " + shortest(properties.floatStep));
  return text.empty() ? kUnset : text;
}

std::string parameterRow(const char* index, const std::string& name, const std::string& value,
                         const std::string& display, const std::string& label, const std::string& kind) {
  char line[320];
  std::snprintf(line, sizeof line, "  %-5s  %-9s  %-10s  %-8s  %-6s  %s\n", index, name.c_str(),
                value.c_str(), display.c_str(), label.c_str(), kind.c_str());
  return line;
}

std::string parameters(const EffectRunner& effect) {
  std::string text = parameterRow("index", "name", "value", "display", "label", "kind");
  for (int index = 0; index < effect.record()->parameterCount; ++index) {
    text += parameterRow(std::to_string(index).c_str(), effect.parameterName(index),
                         shortest(effect.parameter(index)), effect.parameterDisplay(index),
                         quoted(effect.parameterLabel(index)), kindOf(effect, index));
  }
  return text;
}

std::string programs(const EffectRunner& effect) {
  std::string text;
  for (int index = 0; index < effect.record()->programCount; ++index) {
    char line[320];
    std::snprintf(line, sizeof line, "  %-5d  %s\n", index, quoted(effect.programName(index)).c_str());
    text += line;
  }
  return text;
}

void applyControls(const EffectRunner& effect, const Controls& controls) {
  for (int index = 0; index < kParameterCount; ++index) {
    const auto value = controls.valueAt(static_cast<ParameterIndex>(index), 0.0);
    if (value) effect.setParameter(index, *value);
  }
}

} // namespace

std::string listEffect(const std::string& modulePath, const Controls& controls) {
  try {
    const EffectRunner effect(modulePath);
    applyControls(effect, controls);
    const auto current = effect.dispatch(kOpGetProgram);
    return "Module\n  " + modulePath + "\n\nIdentity\n" + identity(effect) + "\nParameters\n" +
           parameters(effect) + "\nPrograms (current: " + std::to_string(current) + ", shown as " +
           quoted(effect.currentProgramName()) + ")\n" + programs(effect);
  } catch (const EffectError& error) {
    throw Fault(ExitStatus::couldNot, "module", modulePath, error.what(), "give a treadshift.so");
  }
}
