#include "render/course/PresetFile.h"

#include "render/file/Descriptor.h"
#include "render/file/OutputFile.h"
#include "render/file/TextFile.h"
#include "render/text/Text.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace {

std::string nameFrom(const std::string& path) {
  std::string name = std::filesystem::path(path).stem().string();
  std::replace_if(
      name.begin(), name.end(),
      [](char character) {
        return !isPlainText({&character, 1}) || character == '\n';
      },
      ' ');
  name = trimmed(name);
  return name.empty() ? "my preset" : name;
}

// A slip of the hand must cost neither a recording nor a collection of presets.
void refuseToReplaceOther(const std::string& path) {
  const auto fail = [&](const std::string& wrong) {
    throw Fault(ExitStatus::couldNot, "--save-preset", path, wrong, "give another name");
  };
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error) || std::filesystem::is_empty(path, error)) return;
  std::vector<Preset> held;
  try {
    held = loadPresets("--save-preset", path);
  } catch (const Fault&) {
    fail("exists and holds no presets");
  }
  if (held.size() > 1) fail("exists and holds " + std::to_string(held.size()) + " presets");
}

} // namespace

std::vector<Preset> loadPresets(const std::string& option, const std::string& path) {
  constexpr std::size_t kLargestBytes = 1048576;
  const std::string text = readSmallFile(option, path, kLargestBytes);
  if (!isPlainText(text)) {
    throw Fault(ExitStatus::couldNot, option, path, "not a text file",
                "give a file that --save-preset wrote");
  }
  return readPresets(option + " '" + path + "'", text);
}

void savePreset(const std::string& path, const Controls& controls, bool mayReplace) {
  const std::string text = presetText(nameFrom(path), controls);
  if (mayReplace) refuseToReplaceOther(path);
  OutputFile file(path, mayReplace ? ReplacingRule{} : refuseToReplace);
  if (const int error = writeAll(file.descriptor(), text.data(), text.size())) {
    throw Fault(ExitStatus::couldNot, "--save-preset", path,
                "cannot be written (" + std::string(std::strerror(error)) + ")");
  }
  file.publish();
}
