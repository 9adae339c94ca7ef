// The numbers of the pages: those with a unit are the code's, or stand in a block that a script wrote.
#include "Page.h"
#include "tests/support/Pattern.h"

#include "engine/PedalNumbers.h"
#include "tests/support/Files.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <doctest/doctest.h>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>

namespace {

using Texts = std::vector<std::string>;

const std::filesystem::path kTree = TREADSHIFT_SOURCE_DIR;

// The page of the quality sheet is held to its form by its own test, so the form stands for it: the numbers
// that are filled in are not in it.
const std::map<std::string, std::string> kStandIns = {{"docs/quality.md", "quality/form.md"}};

std::map<std::string, Page> pagesWithNumbers() {
  Texts files = {"README.md", "CONTRIBUTING.md"};
  for (const auto& entry : std::filesystem::directory_iterator(kTree / "docs"))
    if (entry.path().extension() == ".md") files.push_back("docs/" + entry.path().filename().string());
  std::map<std::string, Page> pages;
  for (const std::string& file : files) {
    const auto standIn = kStandIns.find(file);
    pages.emplace(file, Page(contentsOf(kTree / (standIn == kStandIns.end() ? file : standIn->second))));
  }
  return pages;
}

// The number that follows a text in a file, which has to be there.
double numberIn(const std::string& file, const std::string& before) {
  const std::string text = contentsOf(kTree / file);
  const std::size_t place = text.find(before);
  INFO(file, ": ", before);
  REQUIRE(place != std::string::npos);
  char* end = nullptr;
  const char* const start = text.c_str() + place + before.size();
  const double number = std::strtod(start, &end);
  REQUIRE(end != start);
  return number;
}

// What the pages say with a unit, and what the code has.
std::map<std::string, double> numbersOfTheCode() {
  const double nearest = 1e3 * numberIn("engine/TapPair.cpp", "kMinDelaySeconds = ");
  const double travel = 1e3 * numberIn("engine/TapPair.cpp", "kTravelSeconds = ");
  const double fadeSeconds = numberIn("engine/ParamSwitch.cpp", "kFadeSeconds = ");
  const double rate = numberIn("engine/ToneFilter.cpp", "kRateWithOwnBounds = ");
  const double historyBytes = sizeof(double) + sizeof(bool); // phase and direction
  const double fadeBytes = 2 * sizeof(double) + sizeof(float);
  std::map<std::string, double> all = {
      {"5 ms", nearest},
      {"65 ms", travel},
      {"65.5 ms", travel},
      {"0.065535 s", travel / 1e3},
      {"71 ms", nearest + travel},
      {"16 ms", 1e3 * fadeSeconds},
      {"62.5 Hz", 1 / fadeSeconds},
      {"48000 Hz", rate},
      {"48 kHz", numberIn("quality/Sound.h", "kRateHz = ") / 1e3},
      {"44100 Hz", numberIn("vst/AudioEffect.cpp", "sampleRate(")},
      {"768 kB", 2 * rate * sizeof(double) / 1e3},
      {"432 kB", rate * historyBytes / 1e3},
      {"20 bytes", fadeBytes},
      {"144 bytes", numberIn("vst/AEffect.h", "sizeof(AEffect) == ")},
      {"154 bytes", numberIn("vst/HostRecords.h", "kParameterPropertiesBytes = ")},
      {"9 bytes",
       numberIn("vst/Opcodes.h", "kOpGetParameterLabel = 6,   /* [any thread] index; ptr: buffer of ")},
      {"256 samples", numberIn("engine/Slice.h", "kLongest = ")},
      {"64 samples", numberIn("render/job/RenderJob.h", "blockFrames = ")},
      {"1024 samples", numberIn("vst/AudioEffect.cpp", "blockSize(")},
      {"4096 samples", numberIn("lv2/PedalInstance.cpp", "kUsualLargestBlock = ")},
      {"80 samples", numberIn("tests/golden/scores/octave-up.txt", "glide PedalPos 0.2 0.8 40 ")},
      {"12288 samples", numberIn("bench/Signal.h", "kBenchSamples = ")},
      {"1048576 samples", std::exp2(numberIn("effect/TreadshiftSetUp.cpp", "kLargestReserve = 1 << "))},
      {"720 cents", 1200 * numberIn("bench/EngineCases.cpp", "kSomewhere = ")},
      {"99 %", 1e2 * numberIn("bench/rows.jq", "[\"p99\", ")},
      {"90 %", 1e2 * numberIn("bench/rows.jq", "[\"p90\", ")},
      {"0.1 s", numberIn("render/job/BentSound.cpp", "kLongestTailSeconds = ")},
      {"1.5 seconds", numberIn("README.md", "--pedal 0:0,")},
      {"1 dB", numberIn("quality/Splices.h", "kLeastRippleDb = ")},
      {"5 %", 1e2 * numberIn("quality/Delay.cpp", "msUntil(0.95, energies, own) - msUntil(")},
      {"95 %", 1e2 * numberIn("quality/Delay.cpp", "spreadsMs.push_back(msUntil(")},
      {"1 %", 1e2 * numberIn("quality/AnalyticSignal.cpp", "quiet = quantile(magnitudes, ")},
      {"40 Hz", numberIn("quality/StringSounds.h", "kLowestStringHz = ")},
      {"220 Hz", numberIn("quality/Sweep.h", "kSweptHz = ")},
      {"4 kHz", numberIn("quality/Sweep.h", "kHighHz = ") / 1e3},
  };
  for (const Color& color : kColorTable) {
    for (const double cents : {color.centsAtHeel, color.centsAtToe}) {
      if (cents == 0.0) continue;
      std::ostringstream text;
      text << std::showpos << cents << " cents";
      all.emplace(text.str(), cents);
    }
  }
  return all;
}

// Numbers that a test proves, whose name has to stand in the same paragraph.
const std::map<std::string, std::string> kProvenBeside = {
    {"4 bytes", "a host with its stack off hears and reads the same"},
    {"2 cents", "each colour bends a sine by its interval at heel, middle and toe"},
    {"7 cents",
     "a sweep in blocks of 1024 of which one is split strays by 7 cents, in blocks of 256 by less than one"},
};

// "1.26 MB" and the like; of "5 to 71 ms" both. None has a value of 0.
Texts numbersWithUnits(const std::string& prose) {
  static const Pattern pattern("(^|[^A-Za-z0-9_.^-])([-+]?[0-9][0-9.]*)( (to|and|or) ([-+]?[0-9][0-9.]*))? ?"
                               "(ns|ms|s|seconds?|minutes?|hours?|[kMG]?B|bytes|cents|dB|%|[kMG]?Hz|samples)"
                               "($|[^A-Za-z0-9])");
  Texts all;
  for (auto found = pattern.find(prose); found; found = pattern.find(prose, found->end - 1)) {
    for (const std::size_t number : {2, 5})
      if (const std::string& text = found->groups[number]; std::strtod(text.c_str(), nullptr) != 0.0)
        all.push_back(text + ' ' + found->groups[6]);
  }
  return all;
}

// Whether a number as it is shown is a value, rounded or cut off after its last digit.
bool shows(const std::string& text, double value) {
  const std::string number = text.substr(0, text.find(' '));
  const std::size_t point = number.find('.');
  const auto decimals = point == std::string::npos ? 0 : static_cast<int>(number.size() - point - 1);
  const double difference = std::abs(std::strtod(number.c_str(), nullptr) - value);
  return difference < 1e-9 || (value != std::floor(value) && difference < std::pow(10.0, -decimals));
}

bool isProvenIn(const Page::Passage& passage, const std::string& number) {
  const auto proof = kProvenBeside.find(number);
  return proof != kProvenBeside.end() &&
         std::ranges::find(passage.tests, proof->second) != passage.tests.end();
}

// Every number with a unit of a page's passages.
Texts numbersOf(const Page& page) {
  Texts all;
  for (const Page::Passage& passage : page.passages)
    for (const std::string& number : numbersWithUnits(passage.text))
      all.push_back(number);
  return all;
}

// Numbers of the prose that the code does not have and no test beside them proves.
Texts unknownNumbers(const Page& page, const std::map<std::string, double>& known) {
  Texts unknown;
  for (const Page::Passage& passage : page.passages)
    for (const std::string& number : numbersWithUnits(passage.text))
      if (!known.contains(number) && !isProvenIn(passage, number))
        unknown.push_back(number + " in:" + passage.text);
  return unknown;
}

// A block that tells neither machine nor commit, or which no option of a script writes.
Texts groundlessBlocks(const Page& page) {
  static const Pattern origin("^Measured at commit [0-9a-f]{7,}( with changes)? on [0-9-]+: "),
      writer("^(script/[a-z0-9-]+) .*(--page)");
  Texts groundless;
  for (const Page::Block& block : page.blocks) {
    const auto command = writer.find(block.name);
    const bool isWritten =
        command && contentsOf(kTree / command->groups[1]).find(block.name) != std::string::npos;
    if (!isWritten || !origin.find(block.text)) groundless.push_back(block.name);
  }
  return groundless;
}

std::string word(int number) {
  static const char* const kWords[] = {"none",  "one",   "two",  "three", "four",   "five",  "six",
                                       "seven", "eight", "nine", "ten",   "eleven", "twelve"};
  return number < static_cast<int>(std::size(kWords)) ? kWords[number] : std::to_string(number);
}

// The word that follows a text in a file, without the comma or bracket behind it.
std::string wordIn(const std::string& file, const std::string& before) {
  numberIn(file, before);
  const std::string text = contentsOf(kTree / file);
  const std::size_t begin = text.find(before) + before.size();
  return text.substr(begin, text.find_first_of(" ,;)", begin) - begin);
}

int filesIn(const std::string& folder) {
  const std::filesystem::directory_iterator files(kTree / folder);
  return static_cast<int>(std::distance(begin(files), end(files)));
}

std::string whole(double number) { return std::to_string(std::lround(number)); }

int wordsBetween(const std::string& file, const std::string& start, const std::string& end) {
  const std::string text = contentsOf(kTree / file);
  const std::size_t from = text.find(start) + start.size();
  std::istringstream words(text.substr(from, text.find(end, from) - from));
  int count = 0;
  for (std::string each; words >> each;)
    count += each.starts_with("lv2bench") ? 0 : 1; // which plays nothing
  return count;
}

struct Claim {
  std::string page, text;
};

// Counts, limits and defaults as the pages have to give them.
std::vector<Claim> claims() {
  const std::string colors = word(kColorCount), last = whole(kColorCount - 1);
  const std::string programs = whole(numberIn("effect/TreadshiftSetUp.cpp", "kPrograms = "));
  const auto initially = [](Parameter parameter) {
    std::ostringstream text;
    text << kParameterDefaults[parameter];
    return text.str();
  };
  std::vector<Claim> all = {
      {"README.md", "one of " + colors + " colours"},
      {"docs/architecture.md", "one of " + colors + " choices"},
      {"docs/architecture.md", "makes " + programs + " programs"},
      {"docs/host-authors.md", "| programs | " + programs + ", in memory only |"},
      {"docs/host-authors.md", "Color has " + colors + " steps"},
      {"docs/host-authors.md",
       "program names keep " + whole(numberIn("effect/TreadshiftProgram.h", "kNameBytes = ") - 1) + " "},
      {"docs/host-authors.md", "| magic | 'VstP', " + wordIn("vst/AEffect.h", "kEffectMagic = ")},
      {"docs/host-authors.md",
       "| unique ID | 'KXTR', " + wordIn("effect/TreadshiftSetUp.cpp", "kUniqueID = ")},
      {"docs/host-authors.md", "your interface version, " + wordIn("vst/AEffect.h", "kHostVersionAnswer = ")},
      {"docs/host-authors.md",
       "program's name " + wordIn("vst/Opcodes.h", "kOpGetProgramName = 5,      /* [host] ptr: buffer of ")},
      {"docs/golden.md", word(filesIn("tests/golden/scores")) + " short performances"},
      {"docs/measuring.md", word(filesIn("tests/golden/scores")) + " scores"},
      {"docs/lv2.md", "| `color` | 0 to " + last + " | " + whole(colorOf(kParameterDefaults[kColor])) + " |"},
      {"docs/lv2.md", "| `enabled` | 0, 1 | " + initially(kOnOff) + " |"},
      {"docs/lv2.md", "| `mode` | 0, 1 | " + initially(kMode) + " |"},
      {"docs/lv2.md", "| `tone` | 0 to 1 | " + initially(kTone) + " |"},
      {"docs/lv2.md", "| `pedal` | 0 to 1 | " + initially(kPedalPos) + " |"},
      {"docs/lv2.md", "MIDI controller " + whole(numberIn("lv2/pedal.ttl", "midi:controllerNumber "))},
      {"docs/lv2.md", "in " + word(wordsBetween("script/hosts", "\nall='", "'")) + " hosts"},
      {"docs/performance.md",
       "program " + word(static_cast<int>(numberIn("script/bench", "\nprocesses="))) + " times"},
      {"docs/performance.md", whole(numberIn("bench/Load.h", "kLoadEffects = ")) + " effects"},
  };
  for (const Color& color : kColorTable) {
    std::ostringstream row;
    const auto cell = [&](double cents) {
      row << " | " << (cents == 0.0 ? std::noshowpos : std::showpos) << cents
          << (cents == 0.0 ? "" : " cents");
    };
    row << "| " << color.number;
    cell(color.centsAtHeel);
    cell(color.centsAtToe);
    all.push_back({"README.md", row.str() + " |"});
  }
  return all;
}

// A page on one line, in small letters.
std::string flat(const std::string& page) {
  std::string text;
  for (const char character : page)
    if (character != '\n' || !text.ends_with(' ')) text += character == '\n' ? ' ' : character;
  std::ranges::transform(text, text.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; });
  return text;
}

bool stands(const Claim& claim, const std::string& page) {
  return flat(page).find(flat(claim.text)) != std::string::npos;
}

} // namespace

TEST_CASE(
    "every number with a unit on a page is the code's, a named test's, or in a block that a script writes") {
  const auto known = numbersOfTheCode();
  std::set<std::string> used;
  for (const auto& [file, page] : pagesWithNumbers()) {
    for (const std::string& unknown : unknownNumbers(page, known))
      FAIL_CHECK(file, ": ", unknown);
    for (const std::string& number : numbersOf(page))
      used.insert(number);
  }
  for (const auto& number : known) {
    CAPTURE(number.first);
    CAPTURE(number.second);
    CHECK(shows(number.first, number.second));
    CHECK(used.contains(number.first));
  }
}

TEST_CASE("what a script writes on a page begins with machine and commit") {
  std::size_t blocks = 0;
  for (const auto& [file, page] : pagesWithNumbers()) {
    blocks += page.blocks.size();
    for (const std::string& block : groundlessBlocks(page))
      FAIL_CHECK(file, ": ", block);
  }
  CHECK(blocks == 3);
  const Pattern origin("\nMeasured at commit [0-9a-f]{7,}");
  CHECK(origin.find(contentsOf(kTree / "docs/quality.md")).has_value()); // which is written as a whole
}

TEST_CASE("counts, limits and defaults on the pages are those of the code") {
  for (const Claim& claim : claims()) {
    CAPTURE(claim.page);
    CAPTURE(claim.text);
    CHECK(stands(claim, contentsOf(kTree / claim.page)));
  }
}

TEST_CASE("the checks of numbers trip on an unknown, a wrong and a groundless one") {
  const Page page(
      "A fade of 16 ms, 5 to 72 ms late, `7 ms` of code, **3 dB**, 0 Hz.\n\n| 12.5 MB | 100%% |\n\n"
      "<!-- script/lv2 --figures --page -->\nMeasured at commit 1234567 on 2026-01-01: here, 1 ms\n"
      "<!-- end of script/lv2 --figures --page -->\n\n"
      "<!-- script/hosts --page -->\n17 ms\n<!-- end of script/hosts --page -->\n\n"
      "<!-- by hand -->\nMeasured at commit 1234567 on 2026-01-01: here\n<!-- end of by hand -->\n");
  CHECK(numbersOf(page) == Texts{"16 ms", "5 ms", "72 ms", "3 dB", "12.5 MB", "100 %"});
  CHECK(unknownNumbers(page, {{"16 ms", 16.0}, {"5 ms", 5.0}, {"12.5 MB", 0}, {"100 %", 0}}).size() == 2);
  CHECK(unknownNumbers(Page("at 7 cents\n"), {}).size() == 1);
  CHECK(unknownNumbers(Page("2 cents (*" + kProvenBeside.at("2 cents") + "*)\n"), {}).empty());
  CHECK(groundlessBlocks(page) == Texts{"script/hosts --page", "by hand"});
  CHECK(shows("71 ms", 70.535));
  CHECK(shows("65.5 ms", 65.535));
  CHECK_FALSE(shows("72 ms", 70.535));
  CHECK_FALSE(shows("16 ms", 17.0));
  CHECK_FALSE(stands({"", "| 3 | 0 | -2400 cents |"}, "| 3 | 0 | -2300 cents |"));
  CHECK(stands({"", "in eight steps"}, "... In\neight steps"));
}
