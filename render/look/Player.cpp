#include "render/look/Player.h"

#include "render/sound/SoundFormat.h"
#include "render/text/Fault.h"

#include <filesystem>
#include <poll.h>
#include <unistd.h>

namespace {

bool isPlainFile(const std::string& path) {
  const SoundType* const type = typeOfName(path);
  return type && (type->name == "wav" || type->name == "au");
}

// An AU file of 16 bits, mono at 44100 Hz, of 50 ms of zeros. It fits into any pipe.
std::string momentOfSilence() {
  constexpr char kHeader[] = ".snd\0\0\0\x18\0\0\x11\x3a\0\0\0\x03\0\0\xac\x44\0\0\0\x01";
  constexpr std::size_t kHeaderBytes = 24, kFrames = 2205, kSoundBytes = 2 * kFrames;
  std::string bytes(kHeader, kHeaderBytes);
  return bytes.append(kSoundBytes, '\0');
}

std::string failureOf(const std::string& program, const SubprocessEnd& end) {
  return program + ": " + (end.firstLine.empty() ? "status " + std::to_string(end.status) : end.firstLine);
}

} // namespace

// What is written goes into a running player.
class Player::Stream final : public Output {
public:
  Stream(const Program& player, const std::string& recording)
      : playerName(player.name), shownName(recording),
        process(player.path, player.streamOptions, "/", Subprocess::Input::pipe) {}

  int descriptor() const override { return process.input(); }
  const std::string& name() const override { return shownName; }
  bool isStream() const override { return true; }
  void publish() override { waitForPlayer(); }

  // A write fails when the player has gone, and it knows why.
  void explainFailure() override {
    struct pollfd reader = {process.input(), 0, 0};
    const bool hasGone = !hasEnded && poll(&reader, 1, 0) > 0 && (reader.revents & POLLERR) != 0;
    waitForPlayer();
    if (hasGone) fail(shownName, playerName + ": ended before the sound did");
  }

private:
  void waitForPlayer() {
    if (hasEnded) return;
    hasEnded = true;
    const SubprocessEnd end = process.wait();
    if (end.status != 0) fail(shownName, failureOf(playerName, end));
  }

  std::string playerName;
  std::string shownName;
  Subprocess process;
  bool hasEnded = false;
};

// pw-play takes what comes from - for raw samples.
Player::Player() {
  for (Program program : {Program{"pw-play", "", {}, {"/dev/stdin"}, false},
                          Program{"play", "", {"-q"}, {"-q", "-t", "au", "-"}, false},
                          Program{"aplay", "", {"-q"}, {"-q", "-"}, true}}) {
    program.path = findProgram(program.name);
    if (!program.path.empty()) programs.push_back(program);
  }
  if (programs.empty()) {
    throw Fault(ExitStatus::couldNot, "--play", {}, "there is none of the players pw-play, play and aplay",
                "install the package pipewire-bin, sox or alsa-utils");
  }
}

void Player::fail(const std::string& shownName, const std::string& failures) {
  throw Fault(ExitStatus::couldNot, "--play", shownName, "could not be played (" + failures + ")");
}

std::unique_ptr<Output> Player::stream(const std::string& shownName) const {
  return std::make_unique<Stream>(worksFor(shownName), shownName);
}

const Player::Program& Player::worksFor(const std::string& shownName) const {
  if (programs.size() == 1) return programs.front();
  const std::string silence = momentOfSilence();
  std::string failures;
  for (const Program& program : programs) {
    Subprocess process(program.path, program.streamOptions, "/", Subprocess::Input::pipe);
    const bool taken = write(process.input(), silence.data(), silence.size()) >= 0;
    const SubprocessEnd end = process.wait();
    if (taken && end.status == 0) return program;
    failures += (failures.empty() ? "" : ", ") + failureOf(program.name, end);
  }
  fail(shownName, failures);
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
    failures += (failures.empty() ? "" : ", ") + failureOf(program.name, end);
  }
  if (!failures.empty()) fail(shownName, failures);
  throw Fault(ExitStatus::couldNot, "--play", shownName, "no player for this type is there",
              "install the package sox");
}
