#include "render/command/Variants.h"

#include "render/course/Colors.h"
#include "render/text/Fault.h"
#include "render/text/Text.h"

#include <set>

namespace {

// Letters and digits in small, one hyphen for whatever stands between; bytes beyond ASCII stay.
std::string fileNamePart(const std::string& name) {
  std::string part;
  for (const char character : lowerCase(name)) {
    const bool isKept = (character >= 'a' && character <= 'z') || (character >= '0' && character <= '9') ||
                        static_cast<unsigned char>(character) >= 0x80;
    if (isKept)
      part += character;
    else if (!part.empty() && part.back() != '-')
      part += '-';
  }
  if (part.ends_with('-')) part.pop_back();
  return part;
}

} // namespace

std::vector<Variant> variantsByColor(const Controls& controls) {
  std::vector<Variant> variants;
  for (const Color& color : kColorTable) {
    variants.push_back({std::string(color.name), controls});
    variants.back().controls.set(kColor, std::to_string(color.number));
  }
  return variants;
}

std::vector<Variant> variantsByPreset(const std::vector<Preset>& presets, const Controls& controls) {
  std::vector<Variant> variants;
  std::set<std::string> names;
  for (const Preset& preset : presets) {
    variants.push_back({fileNamePart(preset.name), preset.controls});
    if (!names.insert(variants.back().name).second) {
      throw Fault(ExitStatus::wrongCall, "--each-preset", preset.name,
                  "another preset would have its name in a file's", "rename one");
    }
    for (int index = 0; index < kParameterCount; ++index) {
      const auto parameter = static_cast<Parameter>(index);
      if (const Course* const course = controls.course(parameter))
        variants.back().controls.set(parameter, *course);
    }
  }
  return variants;
}
