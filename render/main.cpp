// treadshift-render: renders recordings through the pedal, as a host does, and writes the bent ones.

#include "render/command/CommandLine.h"
#include "render/file/Interruption.h"
#include "render/file/OutputFile.h"
#include "render/file/TemporaryDirectory.h"
#include "render/look/PitchPicture.h"
#include "render/look/Player.h"
#include "render/module/Listing.h"
#include "render/module/ModulePath.h"
#include "render/text/Console.h"
#include "render/text/Fault.h"

#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <new>
#include <optional>
#include <string>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace {

// A standard stream that the caller has closed would be taken by the next file to be opened, and that file
// would get what is meant for the stream. What is written to a closed standard output still fails.
void occupyStandardStreams() {
  for (int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", stream == STDERR_FILENO ? O_WRONLY : O_RDONLY);
  }
}

// The directory for several outputs; one that was made for nothing goes again.
class OutputDirectory {
public:
  explicit OutputDirectory(const std::string& name) : path(name) {
    if (path.empty()) return;
    std::error_code error;
    isNew = std::filesystem::create_directories(path, error);
    if (!error && std::filesystem::is_directory(path, error)) return;
    throw Fault(ExitStatus::couldNot, "--out-dir", path,
                error ? "cannot be made: " + error.message() : "not a directory", "name another");
  }
  ~OutputDirectory() {
    std::error_code ignored;
    if (isNew) std::filesystem::remove(path, ignored);
  }
  OutputDirectory(const OutputDirectory&) = delete;
  OutputDirectory& operator=(const OutputDirectory&) = delete;

private:
  std::string path;
  bool isNew = false;
};

void printLists(const CommandLine& line) {
  if (line.controlOptions.listColors) printText(colorList());
  if (line.controlOptions.listPresets) printText(presetList());
  if (!line.again.empty() && !line.renders()) printText(settingsNoteOf(line.again) + "\n");
  if (line.show) printText(listEffect(findModule(line.module), line.controls()));
}

std::vector<std::string> soundsOf(const CommandLine& line) {
  std::vector<std::string> sounds = line.inputs();
  if (line.namesOutput()) {
    for (const RenderJob& job : line.jobs())
      sounds.push_back(job.outputPath);
  }
  return sounds;
}

void refuseSamePath(const std::string& option, const std::string& path, const std::string& other) {
  if (path == other || isSameFile(path, other))
    throw Fault(ExitStatus::wrongCall, option, path, "the same file as '" + other + "'", "give another name");
}

// Refuses to write an option's file over a sound of the same call.
void refuseOverSounds(const std::string& option, const std::string& path, const CommandLine& line) {
  if (path.empty() || !line.renders()) return;
  for (const std::string& sound : soundsOf(line))
    refuseSamePath(option, path, sound);
}

void tellFoundColor(const Controls& controls) {
  const auto found = controls.foundColor();
  if (!found) return;
  const Color& color = kColorTable[*found];
  printMessage("--interval: in colour " + std::to_string(color.number) + ", " + std::string(color.name) +
               " (" + std::string(mixText(color.mixMode)) + "); --color takes another");
}

// The controls come from files that may be read only once.
void saveAsked(const CommandLine& line, const Controls& controls) {
  const std::string& path = line.controlOptions.savePreset;
  savePreset(path, controls, !line.noClobber);
  const Course* const pedal = controls.course(kPedalPos);
  if (pedal && !pedal->constant() && !line.quiet)
    printMessage(
        messageLine("--save-preset", path, "the pedal moves, which a preset does not hold: left out"));
}

ExitStatus renderAndFollow(const CommandLine& line) {
  RenderSettings settings = line.settings();
  if (!line.quiet) tellFoundColor(settings.controls);
  const int parallel = line.parallelJobs();
  std::optional<Player> player;
  if (line.play) player.emplace();
  std::optional<TemporaryDirectory> ownPlace;
  std::vector<RenderJob> jobs;
  if (line.namesOutput()) {
    jobs = line.jobs(line.variants(settings.controls));
  } else if (player) {
    jobs = {line.ownJob("", &*player)};
    if (!settings.sampleFormat) settings.sampleFormat = sampleFormatNamed("16"); // what all players take
  } else {
    ownPlace.emplace();
    jobs = {line.ownJob(ownPlace->path() + "/bent.wav", nullptr)};
  }
  std::optional<PitchPicture> picture;
  if (!line.plot.empty()) picture.emplace(line.plot, !line.noClobber);
  settings.modulePath = findModule(settings.modulePath);
  if (!line.controlOptions.savePreset.empty()) saveAsked(line, settings.controls);
  const OutputDirectory directory(line.outDirectory);
  const ExitStatus status = runBatch(jobs, settings, parallel, line.reports(), picture ? &*picture : nullptr);
  if (status != ExitStatus::done) return status;
  if (picture) picture->draw();
  if (player && line.namesOutput()) player->play(jobs.front().outputPath, jobs.front().outputPath);
  return status;
}

ExitStatus run(const CommandLine& line) {
  line.check();
  refuseOverSounds("--plot", line.plot, line);
  refuseOverSounds("--save-preset", line.controlOptions.savePreset, line);
  if (!line.plot.empty()) refuseSamePath("--plot", line.plot, line.controlOptions.savePreset);
  printLists(line);
  if (line.renders()) return renderAndFollow(line);
  if (!line.controlOptions.savePreset.empty()) saveAsked(line, line.controls());
  return ExitStatus::done;
}

ExitStatus answer(int argc, char** argv) {
  CommandLine line;
  const auto helpOrVersion = line.parse(argc, argv);
  if (!helpOrVersion) return run(line);
  printText(*helpOrVersion);
  return ExitStatus::done;
}

} // namespace

int main(int argc, char** argv) {
  try {
    occupyStandardStreams();
    guardAgainstInterruption();
    return static_cast<int>(answer(argc, argv));
  } catch (const Fault& fault) {
    printMessage(fault.what());
    return static_cast<int>(fault.status());
  } catch (const std::bad_alloc&) {
    printMessage("out of memory; a smaller --block takes less");
  } catch (const std::exception& error) {
    printMessage(messageLine("failed", {}, error.what()));
  }
  return static_cast<int>(ExitStatus::couldNot);
}
