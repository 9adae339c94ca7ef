#include "render/command/CommandLine.h"

#include "render/command/HelpFormatter.h"
#include "render/command/HelpText.h"
#include "render/command/Variants.h"
#include "render/command/Wishes.h"
#include "render/text/Console.h"
#include "render/text/Text.h"

#include <CLI/CLI.hpp>
#include <filesystem>
#include <numeric>
#include <string_view>
#include <thread>
#include <utility>

namespace {

constexpr int kLargestBlock = 1048576;
constexpr int kMostJobs = 256;
constexpr double kLargestGainDb = 96.0;
constexpr double kLongestTail = 3600.0; // seconds
constexpr double kLatestTime = 1e9;     // seconds, with which frames can still be counted

constexpr char kFileGroup[] = "Input and output";
constexpr char kMixGroup[] = "Dry and bent sound";
constexpr char kLookingGroup[] = "Looking and listening";
constexpr char kOtherGroup[] = "Other options";

Fault wrongCall(const std::string& subject, const std::optional<std::string>& value, const std::string& wrong,
                const std::string& right = "see treadshift-render --help") {
  return Fault(ExitStatus::wrongCall, subject, value, wrong, right);
}

int wholeNumberOf(const char* option, const std::string& text, int lowest, int highest,
                  const std::string& what, const std::string& right) {
  if (const auto number = wholeNumber(text, lowest, highest)) return *number;
  throw wrongCall(option, text, "not " + what, right);
}

double numberOf(const char* option, const std::string& text, double lowest, double highest,
                const std::string& what, const std::string& right) {
  const auto number = finiteNumber(text);
  if (!number || *number < lowest || *number > highest) throw wrongCall(option, text, "not " + what, right);
  return *number;
}

// How many letters must be put in, taken out or changed to make one word of the other.
std::size_t differences(const std::string& from, const std::string& to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t changed = diagonal + (from[i] != to[j]);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

bool isParameter(const std::string& option) {
  for (int index = 0; index < kParameterCount; ++index)
    if (optionName(static_cast<Parameter>(index)) == option) return true;
  return false;
}

// The library's words are "--tone: 1 required VALUE|FILE missing" and "Could not convert: --show = yes".
Fault faultOf(const CLI::ParseError& error) {
  constexpr std::string_view kRequired = ": 1 required ", kMissing = " missing";
  constexpr std::string_view kConversion = "Could not convert: ", kEquals = " = ";
  const std::string told = error.what();
  const auto required = told.find(kRequired);
  if (required != std::string::npos && told.ends_with(kMissing)) {
    const std::string name = told.substr(0, required);
    const auto type = required + kRequired.size();
    return wrongCall(name, {}, "its value is missing",
                     "give " + name + " " + told.substr(type, told.size() - kMissing.size() - type) +
                         "; see treadshift-render --help");
  }
  const auto equals = told.find(kEquals);
  if (told.starts_with(kConversion) && equals != std::string::npos) {
    const std::string name = told.substr(kConversion.size(), equals - kConversion.size());
    return wrongCall(name, told.substr(equals + kEquals.size()), "takes no value");
  }
  return wrongCall("command line", {}, told);
}

void addText(CLI::App& app, const char* name, std::string& text, const char* type, const char* group,
             const char* help) {
  app.add_option(name, text, help)->type_name(type)->group(group);
}

std::string helpFooter() { return kHelpValues + ("Colours:\n" + colorList()) + kHelpFooter; }

void addFlag(CLI::App& app, const char* name, bool& flag, const char* group, const char* help) {
  app.add_flag(name, flag, help)->group(group);
}

} // namespace

CommandLine::CommandLine() : app(std::make_unique<CLI::App>()) {
  app->formatter(std::make_shared<HelpFormatter>());
  app->add_option("files", files)->group("");
  addControlOptions(*app, controlOptions);
  addFileOptions();
  addMixOptions();
  addLookingOptions();
  addOtherOptions();
  app->allow_extras();
  for (CLI::Option* option : app->get_options()) {
    if (!option->get_positional()) option->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  }
  app->description(kHelpDescription);
  app->footer(helpFooter());
}

CommandLine::~CommandLine() = default;

bool CommandLine::given(const char* option) const { return app->count(option) != 0; }

void CommandLine::addFileOptions() {
  addText(*app, "--out-dir", outDirectory, "DIR", kFileGroup,
          "write each output there, under its input's name; the directory is made if need be");
  addText(*app, "-j,--jobs", jobCount, "N", kFileGroup,
          "recordings rendered at the same time; as many as there are processors if not given");
  addFlag(*app, "-n,--no-clobber", noClobber, kFileGroup, "replace no file that is there");
  addFlag(
      *app, "-y,--yes", yes, kFileGroup,
      "replace files that are there, whoever made them; if not given, only those whose comment tells that "
      "this program did, and empty ones");
  addText(*app, "--again", again, "FILE", kFileGroup,
          "repeat the settings that the comment of an earlier output tells, which other options override; "
          "without a recording, print them");
  addFlag(*app, "--no-tags", noTags, kFileGroup,
          "leave out what the recording carries beside its sound (title, artist, comment, cue points, time "
          "reference and so on), and the settings in the comment");
  addText(*app, "--type", type, "TYPE", kFileGroup,
          "type of the output, whatever its name: wav, flac, ogg, opus, mp3, aiff, au, caf, w64 or rf64");
  addText(*app, "--bits", bits, "FORMAT", kFileGroup,
          "sample format of the output: 16, 24, 32, float or double; the input's if not given");
  addText(*app, "--channels", channels, "CHOICE", kFileGroup,
          "each (every channel through a pedal of its own), left, right, or mix (the mean of all, through "
          "one); each if not given");
  addText(*app, "--tail", tail, "SECONDS", kFileGroup,
          "let the pedal sound on after the end of the recording; 0 if not given, and a line tells when that "
          "cuts off bent sound above -60 dB");
  addText(*app, "--from", from, "TIME", kFileGroup,
          "write or play the part of the recording from there on, as it sounds in the whole: the pedal plays "
          "from the start. TIME is seconds, mm:ss or hh:mm:ss");
  addText(*app, "--to", to, "TIME", kFileGroup, "... and up to there");
  addText(*app, "--gain", gain, "DB", kFileGroup, "make the output louder, or softer with a minus");
  addFlag(*app, "--normalize", normalize, kFileGroup,
          "bring the output's peak to full scale; --gain then counts from there. The sound waits in a "
          "temporary file in TMPDIR, or beside the output, until its peak is known");
  addFlag(*app, "--dither", dither, kFileGroup,
          "add triangular noise of one step before rounding to whole numbers, the same in every call");
}

void CommandLine::addMixOptions() {
  addFlag(*app, "--wet", wet, kMixGroup,
          "the bent sound alone, in every colour: what the pedal lets through of the dry sound is taken out "
          "again, so that nothing sounds while the pedal is off");
  addText(
      *app, "--dry-gain", dryGain, "DB", kMixGroup,
      "add the recording to what the pedal puts out, so much louder or softer; with --wet, 0 is the mix of "
      "a colour that has the bent sound beside the dry one");
  addFlag(
      *app, "--align", align, kMixGroup,
      "shift the output towards its start by the delay of the bent sound, on average in the colour at the "
      "start, and tell by how much. What --dry-gain adds stays in its place; the dry sound of a colour "
      "comes early");
}

void CommandLine::addLookingOptions() {
  addText(*app, "--plot", plot, "FILE.png", kLookingGroup,
          "draw spectrograms of recording and output with the pitch that the pedal asks for; needs gnuplot");
  addFlag(*app, "--play", play, kLookingGroup,
          "play the output on the default sound device: while it is rendered when no output is named, else "
          "when it is finished; needs pw-play, play or aplay");
  addText(*app, "--stats", stats, "json", kLookingGroup,
          "print a line of JSON per recording to the standard output, or to the standard error output when "
          "the other one carries the sound");
  addFlag(*app, "-v,--verbose", verbose, kLookingGroup,
          "tell length, format, speed, peak, clipping and the delay of the bent sound");
  addFlag(*app, "-q,--quiet", quiet, kLookingGroup, "print errors only");
  addFlag(*app, "--show", show, kLookingGroup,
          "list the parameters, programs and identity of the module and render nothing");
}

void CommandLine::addOtherOptions() {
  addText(*app, "--block", block, "N", kOtherGroup, "samples per block, 1 to 1048576; 64 if not given");
  addText(*app, "--module", module, "PATH", kOtherGroup,
          "the module to render with, 64-bit or 32-bit; if not given, the one built or installed with this "
          "program");
  app->set_help_flag("-h,--help", "print this help")->group(kOtherGroup);
  app->set_version_flag("-V,--version", "treadshift-render " TREADSHIFT_VERSION, "print the version")
      ->group(kOtherGroup);
}

std::optional<std::string> CommandLine::parse(int argc, char** argv) {
  try {
    parseAll(argc, argv);
  } catch (const CLI::CallForVersion& version) {
    return std::string(version.what()) + "\n";
  } catch (const CLI::Success&) {
    return app->help();
  } catch (const CLI::ParseError& error) {
    throw faultOf(error);
  }
  return {};
}

void CommandLine::parseAll(int argc, char** argv) {
  app->parse(argc, argv);
  if (app->count("--again") == 1 && !again.empty())
    parseAgain(std::vector<std::string>(argv + 1, argv + argc));
}

// The repeated settings come first, each in one word, as though they had been typed. A preset takes the place
// of what presets are made of, and an interval that of the pedal.
void CommandLine::parseAgain(const std::vector<std::string>& words) {
  const bool hasPreset = given("--preset") || given("--load-preset");
  std::vector<std::string> all;
  for (const auto& [option, value] : notedSettings(again)) {
    const bool isOfPresets =
        option == "--color" || option == "--tone" || option == "--mode" || option == "--on";
    const bool isReplaced = (hasPreset && isOfPresets) || (given("--interval") && option == "--pedal");
    if (app->count(option) != 0 || isReplaced) continue;
    std::string& setting = all.emplace_back(option);
    if (!value.empty()) setting.append("=").append(value);
  }
  all.insert(all.end(), words.begin(), words.end());
  std::reverse(all.begin(), all.end()); // as the library wants them
  app->parse(all);
}

void CommandLine::check() const {
  refuseExtras();
  refuseRepeats();
  refuseEmptyNames();
  refuseValues();
  refuseFilesBesideLists();
  refuseLostSettings();
  if (yes && noClobber) throw wrongCall("--yes", {}, "contradicts --no-clobber", "give one of them");
  if (onlyLists()) return;
  refuseNumberOfFiles();
  refuseVariants();
  refuseSeveralAtOnce();
  refuseUnheardOutput();
}

void CommandLine::refuseExtras() const {
  for (const std::string& extra : app->remaining()) {
    if (extra == "--") continue; // ends the options
    const bool isOption = extra.size() > 1 && extra[0] == '-';
    if (!isOption) throw wrongCall("argument", extra, "not understood");
    const std::string name = extra.substr(0, extra.find('='));
    if (const std::string way(wayFor(name)); !way.empty())
      throw wrongCall("option", extra, "no such option", way);
    const std::string meant = nearestOption(name);
    throw wrongCall("option", extra, "no such option",
                    (meant.empty() ? "" : "did you mean " + meant + "? ") + "see treadshift-render --help");
  }
}

// The long option that differs by no more than two letters; empty when none does.
std::string CommandLine::nearestOption(const std::string& name) const {
  constexpr std::size_t kMostDifferences = 2, kShortestName = 5; // --on and the like are near to anything
  std::string nearest;
  std::size_t fewest = kMostDifferences + 1;
  for (const CLI::Option* option : app->get_options()) {
    const std::string candidate = option->get_name();
    const std::size_t count = differences(name, candidate);
    if (candidate.size() < kShortestName || count >= fewest) continue;
    fewest = count;
    nearest = candidate;
  }
  return nearest;
}

void CommandLine::refuseLostSettings() const {
  for (const auto& [option, takesValue] : notedOptions()) {
    if (takesValue && given(option.c_str()) && app->get_option(option)->results().front() == kTooLongValue)
      throw Fault(ExitStatus::couldNot, "--again", again,
                  "its comment does not tell " + option + ", which was too long",
                  "give " + option + " as well");
  }
}

void CommandLine::refuseRepeats() const {
  for (const CLI::Option* option : app->get_options()) {
    if (!option->get_positional() && option->count() > 1)
      throw wrongCall(option->get_name(), {}, "given more than once");
  }
}

void CommandLine::refuseEmptyNames() const {
  const std::pair<const char*, const std::string&> names[] = {{"--plot", plot},
                                                              {"--save-preset", controlOptions.savePreset},
                                                              {"--module", module},
                                                              {"--again", again}};
  for (const auto& [option, name] : names) {
    if (given(option) && name.empty()) throw wrongCall(option, name, "no file", "give its name");
  }
}

// Before anything is written or listed, and whether it is needed or not.
void CommandLine::refuseValues() const {
  if (given("--stats") && stats != "json") throw wrongCall("--stats", stats, "no such form", "give json");
  if (given("--type")) static_cast<void>(typeNamed(type));
  static_cast<void>(settingsWithoutControls());
  static_cast<void>(parallelJobs());
}

bool CommandLine::onlyLists() const {
  const bool lists = show || controlOptions.listColors || controlOptions.listPresets;
  return lists || ((given("--save-preset") || given("--again")) && files.empty());
}

void CommandLine::refuseFilesBesideLists() const {
  if (files.empty()) return;
  for (const char* option : {"--show", "--list-colors", "--list-presets"}) {
    if (given(option))
      throw wrongCall(option, files.front(), std::string(option) + " renders nothing and takes no files");
  }
}

void CommandLine::refuseNumberOfFiles() const {
  if (files.empty()) throw wrongCall("input", {}, "no recording is named");
  if (given("--out-dir")) {
    if (outDirectory.empty()) throw wrongCall("--out-dir", outDirectory, "no directory", "give its name");
    return;
  }
  if (files.size() > 2) {
    throw wrongCall("argument", files[2], "one argument too many",
                    "to render several recordings, say where to with --out-dir DIR");
  }
  const bool hasUse = play || given("--plot") || given("--stats");
  if (files.size() == 1 && !hasUse)
    throw wrongCall("output", {}, "no name for the bent recording is given",
                    "name it, or listen with --play");
}

void CommandLine::refuseSeveralAtOnce() const {
  if (inputs().size() < 2 && !comparesVariants()) return;
  for (const char* option : {"--play", "--plot"}) {
    if (given(option)) throw wrongCall(option, {}, "is for one recording at a time", "give one input");
  }
}

void CommandLine::refuseUnheardOutput() const {
  const bool toStandardOutput = namesOutput() && !given("--out-dir") && files[1] == "-";
  if (play && toStandardOutput)
    throw wrongCall("--play", {}, "the output goes to the standard output",
                    "name a file, or no output at all");
  if (given("--type") && !namesOutput())
    throw wrongCall("--type", type, "no output is named that could be of this type", "name one");
}

void CommandLine::refuseVariants() const {
  const std::pair<const char*, const char*> excluded[] = {
      {"--each-color", "--each-preset"}, {"--each-color", "--color"},
      {"--each-color", "--interval"},    {"--each-preset", "--preset"},
      {"--each-color", "--save-preset"}, {"--each-preset", "--save-preset"}};
  for (const auto& [each, other] : excluded) {
    if (given(each) && given(other))
      throw wrongCall(each, {}, "does not go with " + std::string(other), "give one of them");
  }
  if (comparesVariants() && !given("--out-dir")) {
    throw wrongCall(controlOptions.eachColor ? "--each-color" : "--each-preset", {}, "makes several outputs",
                    "say where to with --out-dir DIR");
  }
}

RenderSettings CommandLine::settings() const {
  RenderSettings result = settingsWithoutControls();
  result.controls = controls();
  if (!noTags) note(result);
  return result;
}

// The parameters are noted by what drives them, which may be a preset or a file.
void CommandLine::note(RenderSettings& settings) const {
  settings.version = TREADSHIFT_VERSION;
  for (const auto& [option, takesValue] : notedOptions()) {
    if (!given(option.c_str()) || isParameter(option)) continue;
    settings.noted.push_back({option, takesValue ? app->get_option(option)->results().front() : ""});
  }
}

// Apart from the files that controls may come from, which may be read only once.
RenderSettings CommandLine::settingsWithoutControls() const {
  RenderSettings result;
  result.modulePath = module;
  if (given("--block")) {
    result.blockFrames =
        wholeNumberOf("--block", block, 1, kLargestBlock,
                      "a number of samples from 1 to " + std::to_string(kLargestBlock), "64 is usual");
  }
  if (given("--channels")) result.channels = ChannelChoice(channels);
  if (given("--bits")) result.sampleFormat = sampleFormatNamed(bits);
  if (given("--tail"))
    result.tailSeconds =
        numberOf("--tail", tail, 0.0, kLongestTail, "seconds from 0 to 3600", "0.5 is plenty");
  if (given("--gain"))
    result.gainDb = numberOf("--gain", gain, -kLargestGainDb, kLargestGainDb, "decibels from -96 to 96",
                             "give a number such as -6");
  if (given("--from")) result.fromSeconds = timeOf("--from", from);
  if (given("--to")) result.toSeconds = timeOf("--to", to);
  if (result.toSeconds && *result.toSeconds <= result.fromSeconds)
    throw wrongCall("--to", to, "not after --from", "give a later time");
  if (given("--dry-gain"))
    result.dryGainDb = numberOf("--dry-gain", dryGain, -kLargestGainDb, kLargestGainDb,
                                "decibels from -96 to 96", "0 adds the recording as it is");
  result.tellsCutTail = !given("--tail") && !quiet;
  result.wetAlone = wet;
  result.aligns = align;
  result.normalizes = normalize;
  result.dithers = dither;
  if (noClobber) result.replacingRule = refuseToReplace;
  if (yes) result.replacingRule = {};
  result.keepsTags = !noTags;
  result.measuresLatency = verbose || given("--stats");
  return result;
}

double CommandLine::timeOf(const char* option, const std::string& text) const {
  const auto seconds = clockSeconds(text);
  if (!seconds || *seconds > kLatestTime)
    throw wrongCall(option, text, "not a time", "give seconds, mm:ss or hh:mm:ss, such as 1:02.5");
  return *seconds;
}

std::vector<std::string> CommandLine::inputs() const {
  if (given("--out-dir")) return files;
  return {files.front()};
}

bool CommandLine::namesOutput() const { return given("--out-dir") || files.size() > 1; }

std::vector<Variant> CommandLine::variants(const Controls& controls) const {
  if (controlOptions.eachColor) return variantsByColor(controls);
  if (controlOptions.eachPreset) return variantsByPreset(presetsFrom(controlOptions), controls);
  return {};
}

std::vector<RenderJob> CommandLine::jobs(const std::vector<Variant>& variants) const {
  const SoundType* const wanted = given("--type") ? &typeNamed(type) : nullptr;
  if (given("--out-dir")) return jobsInto(outDirectory, files, wanted, variants);
  const std::string& output = files[1];
  refuseDirectory(output);
  const SoundType& fitting = wanted ? *wanted : output == "-" ? typeNamed("au") : typeFor(output);
  return {{files[0], output, &fitting, output}};
}

void CommandLine::refuseDirectory(const std::string& output) const {
  std::error_code error;
  if (output.ends_with('/') || std::filesystem::is_directory(output, error))
    throw wrongCall("output", output, "a directory", "to write into it, give --out-dir " + output);
}

RenderJob CommandLine::ownJob(const std::string& path, const Player* player) const {
  return {files[0], path, &typeNamed(player ? "au" : "wav"), "", {}, player};
}

int CommandLine::parallelJobs() const {
  if (given("--jobs"))
    return wholeNumberOf("--jobs", jobCount, 1, kMostJobs, "a number from 1 to 256",
                         "as many as there are processors is best");
  return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

BatchReports CommandLine::reports() const {
  const bool jsonAside = namesOutput() && !given("--out-dir") && files[1] == "-";
  return {quiet, verbose, given("--stats"), jsonAside};
}
