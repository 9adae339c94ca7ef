// Includes run one way: vst <- framework <- effect -> dsp; hosts know the record, never the classes; the
// renderer's rooms know those before them.
#include "tests/support/Files.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

const fs::path kRoot = TREADSHIFT_SOURCE_DIR;
const Names kFolders = {"vst",   "framework", "dsp",     "engine",   "effect", "module",
                        "host",  "worker",    "presets", "render",   "lv2",    "peers",
                        "bench", "quality",   "fuzz",    "examples", "tests"};

struct Rule {
  std::string folder;
  Names allowed; // folders with a slash at the end, or single files
};

const Names kRecordAlone = {"vst/AEffect.h", "vst/Opcodes.h", "vst/HostRecords.h", "framework/Q_TypeIF.h",
                            "engine/PedalNumbers.h"};

// The system's headers whose directory bears the name of a folder of ours.
const Names kInterfaceOfLv2 = {"lv2/atom/", "lv2/buf-size/", "lv2/options/", "lv2/urid/", "lv2/worker/"};

Names with(Names names, const std::string& more) {
  names.push_back(more);
  return names;
}

const std::vector<Rule> kRules = {
    {"vst", {"vst/"}},
    {"framework", {"vst/", "framework/"}},
    {"dsp", {"dsp/"}},
    {"engine", {"dsp/", "engine/"}},
    {"effect", {"vst/", "framework/", "engine/", "effect/"}},
    {"host", with(kRecordAlone, "host/")},
    {"worker", with(with(kRecordAlone, "host/"), "worker/")},
    {"presets", {"engine/PedalNumbers.h", "presets/"}},
    {"render/text", {"render/text/"}},
    {"render/file", {"render/text/", "render/file/"}},
    {"render/course",
     {"engine/PedalNumbers.h", "presets/", "render/text/", "render/file/", "render/course/"}},
    {"render/sound", {"render/text/", "render/file/", "render/sound/"}},
    {"render/module",
     {"host/", "vst/AEffect.h", "vst/Opcodes.h", "vst/HostRecords.h", "render/text/", "render/file/",
      "render/course/", "render/module/"}},
    {"render/look",
     {"host/", "render/text/", "render/file/", "render/course/", "render/sound/", "render/module/",
      "render/look/"}},
    {"render/job",
     {"host/", "render/text/", "render/file/", "render/course/", "render/sound/", "render/module/",
      "render/look/", "render/job/"}},
    {"render", with(with(with(kRecordAlone, "host/"), "presets/"), "render/")},
    {"lv2", with(with(with(kRecordAlone, "host/"), "presets/"), "lv2/")},
    {"examples", {"vst/AEffect.h", "vst/Opcodes.h", "vst/HostRecords.h", "dsp/", "engine/"}},
    {"peers", with(kInterfaceOfLv2, "peers/")},
    {"quality", with(with(with(kRecordAlone, "host/"), "peers/"), "quality/")},
};

bool isOurs(const std::string& included) {
  return std::ranges::any_of(kFolders,
                             [&](const std::string& folder) { return included.starts_with(folder + '/'); });
}

bool allows(const Rule& rule, const std::string& included) {
  return std::ranges::any_of(rule.allowed, [&](const std::string& name) {
    return name.back() == '/' ? included.starts_with(name) : included == name;
  });
}

// What a text includes, the quotation marks or brackets kept.
Names includesOf(const std::string& text) {
  const std::string directive = "#include";
  Names all;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    std::erase_if(line, [](char character) { return character == ' ' || character == '\t'; });
    if (!line.starts_with(directive)) continue;
    const std::size_t end = line.find_first_of("\">", directive.size() + 1);
    if (end != std::string::npos) all.push_back(line.substr(directive.size(), end + 1 - directive.size()));
  }
  return all;
}

// What is wrong with one include under a rule, or nothing.
std::string complaint(const Rule& rule, const std::string& include) {
  const std::string name = include.substr(1, include.size() - 2);
  if (include[0] == '"' && !isOurs(name)) return include + " does not name its folder";
  if (isOurs(name) && !allows(rule, name)) return include + " is out of reach";
  return {};
}

Names complaintsAbout(const Rule& rule, const std::string& text) {
  Names all;
  for (const std::string& include : includesOf(text))
    if (const std::string wrong = complaint(rule, include); !wrong.empty()) all.push_back(wrong);
  return all;
}

// The C and C++ files of a folder; none when there is no such folder.
std::vector<fs::path> sourcesIn(const fs::path& folder) {
  std::vector<fs::path> sources;
  if (!fs::exists(folder)) return sources;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    const std::string kind = entry.path().extension().string();
    if (kind == ".h" || kind == ".cpp" || kind == ".c") sources.push_back(entry.path());
  }
  return sources;
}

} // namespace

TEST_CASE("every folder includes what it may") {
  for (const Rule& rule : kRules) {
    CAPTURE(rule.folder);
    const std::vector<fs::path> sources = sourcesIn(kRoot / rule.folder);
    CHECK((!sources.empty() || !fs::exists(kRoot / rule.folder)));
    for (const fs::path& file : sources)
      for (const std::string& wrong : complaintsAbout(rule, contentsOf(file)))
        FAIL_CHECK(file.filename().string(), ": ", wrong);
  }
}

TEST_CASE("the headers that hosts may see bring in no class of the effect's side") {
  const Rule record{"host", kRecordAlone};
  for (const std::string& header : kRecordAlone) {
    CAPTURE(header);
    CHECK(complaintsAbout(record, contentsOf(kRoot / header)).empty());
  }
}

TEST_CASE("the check trips on what it is there for") {
  struct Row {
    std::string folder, text;
    std::size_t complaints;
  };
  const Row rows[] = {
      {"vst", "#include \"vst/AEffect.h\"\n#include <vector>\n", 0},
      {"vst", "#include \"framework/Factory.h\"\n", 1},
      {"vst", "  #  include <effect/Treadshift.h>\n", 1},
      {"vst", "#include \"AEffect.h\"\n", 1},
      {"engine", "#include \"dsp/IIRFilter.h\"\n#include \"engine/Block.h\"\n", 0}, // no record, host, lock
      {"engine", "#include \"effect/Treadshift.h\"\n", 1},
      {"engine", "#include \"framework/CriticalSection.h\"\n", 1},
      {"host", "#include \"framework/Q_TypeIF.h\"\n#include \"host/EffectRunner.h\"\n", 0},
      {"host", "#include \"framework/Factory.h\"\n#include \"vst/AudioEffect.h\"\n", 2},
  };
  for (const Row& row : rows) {
    CAPTURE(row.text);
    CHECK(complaintsAbout(*std::ranges::find(kRules, row.folder, &Rule::folder), row.text).size() ==
          row.complaints);
  }
}
