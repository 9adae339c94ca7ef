#include "render/module/Listing.h"

#include "render/module/ModuleFile.h"
#include "render/module/OpenEffect.h"

#include <algorithm>
#include <charconv>
#include <fmt/core.h>
#include <vector>

namespace {

constexpr char kUnset[] = "-";

// A broken record may count anything; no effect has this many.
constexpr int kMostRows = 4096;

// What a host may ask a plug-in about.
constexpr const char* kCapabilities[] = {
    "sendVstEvents",      "sendVstMidiEvent", "receiveVstEvents", "receiveVstMidiEvent",
    "receiveVstTimeInfo", "offline",          "midiProgramNames", "bypass"};

// An effect's text may hold anything too; the listing stays in its lines.
std::string visible(std::string text) {
  std::replace_if(
      text.begin(), text.end(),
      [](char character) { return static_cast<unsigned char>(character) < 0x20 || character == 0x7f; }, '?');
  return text;
}

std::string shortest(float value) {
  char text[32];
  return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
}

std::string quoted(const std::string& text) { return '"' + visible(text) + '"'; }

// Cells in columns of at least these widths, two blanks apart, without blanks at the end.
std::string tableRow(const std::vector<std::size_t>& widths, const std::vector<std::string>& cells) {
  std::string line;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    line += "  " + cells[i];
    if (i + 1 < cells.size() && cells[i].size() < widths[i]) line.append(widths[i] - cells[i].size(), ' ');
  }
  return line + "\n";
}

std::string row(const std::string& name, const std::string& text) { return tableRow({19}, {name, text}); }

std::string fourCharacters(std::int32_t code) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    const auto character = static_cast<unsigned char>(static_cast<std::uint32_t>(code) >> shift);
    text += character >= 0x20 && character < 0x7f ? static_cast<char>(character) : '?';
  }
  return fmt::format("{} (0x{:08X})", text, static_cast<unsigned>(code));
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
  std::string text;
  for (const auto& [bit, name] : names) {
    if (flags & bit) text += (text.empty() ? ": " : ", ") + std::string(name);
  }
  return fmt::format("0x{:X}{}", static_cast<unsigned>(flags), text);
}

std::string categoryName(std::int32_t category) {
  const char* name = category == 1 ? " (effect)" : category == 2 ? " (synth)" : "";
  return std::to_string(category) + name;
}

std::string tailText(std::int32_t samples) {
  const char* meaning = samples == 0 ? " (not told)" : samples == 1 ? " (none)" : " samples";
  return std::to_string(samples) + meaning;
}

std::string widthText(const std::string& modulePath) {
  return openerOf(modulePath) == ModuleOpener::worker
             ? "32-bit, in a worker process"
             : std::to_string(8 * sizeof(void*)) + "-bit, in this process";
}

std::string identity(const EffectDriver& effect) {
  const EffectFacts facts = effect.facts();
  const auto number = [&](std::int32_t opcode) { return std::to_string(effect.request(opcode)); };
  return row("effect name", quoted(effect.effectName())) + row("vendor", quoted(effect.vendor())) +
         row("product", quoted(effect.product())) + row("vendor version", number(kOpGetVendorVersion)) +
         row("interface version", number(kOpGetVstVersion)) +
         row("effect version", std::to_string(facts.version)) +
         row("unique ID", fourCharacters(facts.uniqueID)) +
         row("generation", fourCharacters(effect.request(kOpIdentify))) +
         row("category", categoryName(effect.request(kOpGetPlugCategory))) +
         row("channels",
             std::to_string(facts.inputCount) + " in, " + std::to_string(facts.outputCount) + " out") +
         row("latency", std::to_string(facts.initialDelay) + " samples") +
         row("tail", tailText(effect.request(kOpGetTailSize))) + row("flags", flagNames(facts.flags));
}

std::string answerName(std::int32_t answer) {
  return answer == 1 ? "yes" : answer == -1 ? "no" : answer == 0 ? "unknown" : std::to_string(answer);
}

std::string capabilities(const EffectDriver& effect) {
  std::string text;
  for (const char* capability : kCapabilities)
    text += row(capability, answerName(effect.canDo(capability)));
  return text;
}

// Left-out steps are those that the effect leaves at 0.
std::string stepsText(const VstParameterProperties& properties) {
  std::string text = "steps of " + shortest(properties.floatStep);
  if (properties.smallFloatStep != 0) text += ", small " + shortest(properties.smallFloatStep);
  if (properties.largeFloatStep != 0) text += ", large " + shortest(properties.largeFloatStep);
  return text;
}

std::string propertiesText(const EffectDriver& effect, int index) {
  const auto properties = effect.parameterProperties(index);
  if (!properties) return kUnset;
  std::string text;
  const auto add = [&](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
  if (properties->flags & kParameterIsSwitch) add("switch");
  if (properties->flags & kParameterUsesIntegerRange) {
    add("whole numbers " + std::to_string(properties->integerMinimum) + " to " +
        std::to_string(properties->integerMaximum) + " in steps of " +
        std::to_string(properties->integerStep));
  }
  if (properties->flags & kParameterUsesFloatStep) add(stepsText(*properties));
  if (properties->label[0] != '\0') add("label " + quoted(properties->label));
  return text.empty() ? kUnset : text;
}

// One row for each of `count` things.
template <typename RowOf> std::string rows(std::int32_t count, RowOf rowOf) {
  std::string text;
  for (int index = 0; index < std::min(count, kMostRows); ++index)
    text += rowOf(index);
  if (count > kMostRows) text += "  and so on, " + std::to_string(count) + " in all\n";
  return text;
}

std::string parameters(const EffectDriver& effect) {
  const std::vector<std::size_t> widths = {5, 9, 10, 8, 6, 9, 0};
  const auto rowOf = [&](int index) {
    return tableRow(widths, {std::to_string(index), visible(effect.parameterName(index)),
                             shortest(effect.parameter(index)), visible(effect.parameterDisplay(index)),
                             quoted(effect.parameterLabel(index)),
                             effect.request(kOpCanParameterBeAutomated, index) ? "yes" : "no",
                             propertiesText(effect, index)});
  };
  return tableRow(widths, {"index", "name", "value", "display", "label", "automated", "properties"}) +
         rows(effect.facts().parameterCount, rowOf);
}

std::string programs(const EffectDriver& effect) {
  return "Programs (current: " + std::to_string(effect.request(kOpGetProgram)) + ", shown as " +
         quoted(effect.currentProgramName()) + ")\n" + rows(effect.facts().programCount, [&](int index) {
           return tableRow({5}, {std::to_string(index), quoted(effect.programName(index))});
         });
}

void applyControls(const EffectDriver& effect, const Controls& controls) {
  for (int index = 0; index < kParameterCount; ++index) {
    const auto value = controls.valueAt(static_cast<Parameter>(index), 0.0);
    if (value) effect.setParameter(index, *value);
  }
}

} // namespace

std::string listEffect(const std::string& modulePath, const Controls& controls) {
  const auto effect = openEffect(modulePath);
  try {
    applyControls(*effect, controls);
    return "Module\n  " + visible(modulePath) + "\n  " + widthText(modulePath) + "\n\nIdentity\n" +
           identity(*effect) + "\nCan do\n" + capabilities(*effect) + "\nParameters\n" + parameters(*effect) +
           "\n" + programs(*effect);
  } catch (const EffectError& error) {
    failModule(modulePath, error);
  }
}
