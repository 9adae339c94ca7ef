// Fuzz target: the renderer's command line, up to the jobs that it asks for.
#include "fuzz/Check.h"
#include "fuzz/Courses.h"
#include "fuzz/LineFiles.h"
#include "fuzz/Refusal.h"
#include "fuzz/Target.h"
#include "render/command/CommandLine.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kMostWords = 40;

// One word per line of the input.
std::vector<std::string> wordsOf(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> words = {"treadshift-render", ""};
  for (std::size_t i = 0; i < size && words.size() <= kMostWords; ++i) {
    if (data[i] == '\n')
      words.emplace_back();
    else if (data[i] != '\0') // ends a word of a command line
      words.back() += static_cast<char>(data[i]);
  }
  for (std::string& word : words)
    word = confined(word);
  if (words.back().empty()) words.pop_back();
  return words;
}

// False when they ask for help or the version.
bool parse(CommandLine& line, std::vector<std::string>& words) {
  std::vector<char*> pointers;
  for (std::string& word : words)
    pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return !line.parse(static_cast<int>(words.size()), pointers.data());
}

void checkSettings(const RenderSettings& settings) {
  expect(settings.blockFrames >= 1 && settings.blockFrames <= 1048576, "a block size out of range is taken");
  expect(settings.tailSeconds >= 0.0 && settings.tailSeconds <= 3600.0, "a tail out of range is taken");
  expect(settings.gainDb >= -96.0 && settings.gainDb <= 96.0, "a gain out of range is taken");
  expect(settings.fromSeconds >= 0.0, "a part that begins before the recording is taken");
  expect(!settings.toSeconds || *settings.toSeconds > settings.fromSeconds, "an empty part is taken");
  checkCourses(settings.controls);
}

void follow(const CommandLine& line) {
  line.check();
  line.reports();
  const Controls controls = line.controls();
  checkCourses(controls);
  if (!line.controlOptions.savePreset.empty()) checkPreset(controls);
  if (!line.renders()) return;
  checkSettings(line.settings());
  const int parallel = line.parallelJobs();
  expect(parallel >= 1 && (parallel <= 256 || !line.renders()), "a number of jobs out of range is taken");
  if (!line.namesOutput()) return;
  const auto variants = line.variants(controls);
  const auto jobs = line.jobs(variants);
  expect(jobs.size() == line.inputs().size() * std::max<std::size_t>(1, variants.size()),
         "there are not as many jobs as recordings in each setting");
  for (const RenderJob& job : jobs)
    expect(job.type != nullptr, "a job has no type");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const LineFiles files;
  std::vector<std::string> words = wordsOf(data, size);
  CommandLine line;
  try {
    if (parse(line, words)) follow(line);
  } catch (const Fault& fault) {
    checkRefusal(fault);
  }
  return 0;
}
