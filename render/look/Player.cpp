#include "render/look/Player.h"

#include "render/look/Subprocess.h"
#include "render/sound/SoundFormat.h"
#include "render/text/Fault.h"

#include <filesystem>

namespace {

bool isPlainFile(const std::string& path) {
  const SoundType* const type = typeOfName(path);
  return type && (type->name == "wav" || type->name == "au");
}

} // namespace

Player::Player() {
  for (Program program : {Program{"pw-play", "", {}, false}, Program{"play", "", {"-q"}, false},
                          Program{"aplay", "", {"-q"}, true}}) {
    program.path = findProgram(program.name);
    if (!program.path.empty()) programs.push_back(program);
  }
  if (programs.empty()) {
    throw Fault(ExitStatus::couldNot, "--play", {}, "there is none of the players pw-play, play and aplay",
                "install the package pipewire-bin, sox or alsa-utils");
  }
}

// A name that begins with a dash would be taken for an option.
void Player::play(const std::string& path, const std::string& shownName) const {
  const std::string file = std::filesystem::absolute(path);
  std::string failures;
  for (const Program& program : programs) {
    if (program.plainFilesOnly && !isPlainFile(file)) continue;
    std::vector<std::string> arguments = program.options;
    arguments.push_back(file);
    const SubprocessEnd end = Subprocess(program.path, arguments, "/").wait();
    if (end.status == 0) return;
    failures += (failures.empty() ? "" : ", ") + program.name + ": " +
                (end.firstLine.empty() ? "status " + std::to_string(end.status) : end.firstLine);
  }
  throw Fault(ExitStatus::couldNot, "--play", shownName,
              failures.empty() ? "no player for this type is there"
                               : "could not be played (" + failures + ")",
              failures.empty() ? "install the package sox" : "");
}
