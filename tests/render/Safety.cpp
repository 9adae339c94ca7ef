// An output appears whole or not at all, and the input is never at risk.
#include "Program.h"
#include "SoundFiles.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <doctest/doctest.h>
#include <fcntl.h>
#include <filesystem>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

void writeInput(const Workspace& work) {
  writeSound(work.path("in.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, noise(40000)});
}

// in.wav as a pipe that stays open, so that the program waits in the middle of its work.
class SlowInput {
public:
  explicit SlowInput(const Workspace& place) : work(place) {
    writeInput(work);
    bytes = fileBytes(work.path("in.wav"));
    fs::remove(work.path("in.wav"));
    REQUIRE(mkfifo(work.path("in.wav").c_str(), 0600) == 0);
  }
  ~SlowInput() { close(input); }
  SlowInput(const SlowInput&) = delete;
  SlowInput& operator=(const SlowInput&) = delete;

  // Until the unfinished output is there.
  void handFirstPart(const Program& program) {
    input = open(work.path("in.wav").c_str(), O_RDWR); // waits for nobody, should the program have ended
    REQUIRE(write(input, bytes.data(), kFirstPart) == kFirstPart);
    while (program.isRunning() && program.filesWrittenIn(work.path("")) == 0)
      usleep(1000);
  }

  void handRest() {
    const auto rest = static_cast<long>(bytes.size()) - kFirstPart;
    REQUIRE(write(input, bytes.data() + kFirstPart, rest) == rest);
    close(input);
    input = -1;
  }

private:
  static constexpr long kFirstPart = 20000; // bytes

  const Workspace& work;
  std::string bytes;
  int input = -1;
};

unsigned permissions(const std::string& path) {
  struct stat status = {};
  REQUIRE(stat(path.c_str(), &status) == 0);
  return status.st_mode & 07777;
}

} // namespace

TEST_CASE("an existing output is replaced by a whole new one") {
  const Workspace work;
  writeInput(work);
  writeBytes(work.path("out.wav"), "an older rendering");
  CHECK(render({work.path("in.wav"), work.path("out.wav"), "-y"}).status == 0);
  CHECK(readSound(work.path("out.wav")).samples.size() == 40000);
  CHECK(work.names() == Names{"in.wav", "out.wav"});
}

TEST_CASE("an existing output survives when the input turns out to be damaged") {
  const Workspace work;
  writeSound(work.path("whole.flac"), {44100, 1, SF_FORMAT_FLAC | SF_FORMAT_PCM_16, noise(40000)});
  const std::string bytes = fileBytes(work.path("whole.flac"));
  writeBytes(work.path("half.flac"), bytes.substr(0, bytes.size() / 2));
  writeBytes(work.path("out.wav"), "an older rendering");
  CHECK(render({work.path("half.flac"), work.path("out.wav"), "-y"}).status == 1);
  CHECK(fileBytes(work.path("out.wav")) == "an older rendering");
  CHECK(work.names() == Names{"half.flac", "out.wav", "whole.flac"});
}

TEST_CASE("no picture and no preset takes the place of a sound of the same call") {
  const Workspace work;
  writeInput(work);
  const std::string input = work.path("in.wav"), output = work.path("out.wav");
  const std::string before = fileBytes(input);
  for (const std::string& sound : {input, output}) {
    const Outcome outcome = render({input, output, "--save-preset", sound});
    CHECK(outcome.status == 2);
    CHECK(holds(outcome.err,
                "--save-preset '" + sound + "': the same file as '" + sound + "'; give another name\n"));
  }
  CHECK(fileBytes(input) == before);
  CHECK(work.names() == Names{"in.wav"});
}

TEST_CASE("when there is no room nothing is left behind") {
  const Workspace work;
  writeInput(work);
  for (const char* output : {"out.wav", "out.flac", "out.aiff", "out.ogg"}) {
    CAPTURE(output);
    writeBytes(work.path(output), "an older rendering");
    Surroundings tight;
    tight.largestFileBytes = 6000;
    const Outcome outcome = render({work.path("in.wav"), work.path(output), "-qy"}, tight);
    CHECK(outcome.status == 1);
    CHECK(holds(outcome.err, "treadshift-render: output '" + work.path(output) + "': cannot be written"));
    CHECK(std::count(outcome.err.begin(), outcome.err.end(), '\n') == 1);
    CHECK(fileBytes(work.path(output)) == "an older rendering");
    fs::remove(work.path(output));
    CHECK(work.names() == Names{"in.wav"});
  }
}

TEST_CASE("the room runs out at any byte") {
  const Workspace work;
  writeSound(work.path("in.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, noise(3000)});
  for (const char* output : {"out.wav", "out.flac", "out.ogg", "out.mp3"}) {
    REQUIRE(render({work.path("in.wav"), work.path(output), "-q"}).status == 0);
    const auto size = static_cast<long>(fileBytes(work.path(output)).size());
    fs::remove(work.path(output));
    for (long limit : {0L, 1L, 44L, 100L, size / 2, size - 1}) {
      CAPTURE(output);
      CAPTURE(limit);
      Surroundings tight;
      tight.largestFileBytes = limit;
      CHECK(render({work.path("in.wav"), work.path(output), "-q"}, tight).status == 1);
      CHECK(work.names() == Names{"in.wav"});
    }
  }
}

TEST_CASE("the input cannot be the output, under no name") {
  const Workspace work;
  writeInput(work);
  const std::string bytes = fileBytes(work.path("in.wav"));
  fs::create_hard_link(work.path("in.wav"), work.path("hard.wav"));
  fs::create_symlink(work.path("in.wav"), work.path("soft.wav"));
  for (const char* output : {"in.wav", "./in.wav", "hard.wav", "soft.wav"}) {
    const Outcome outcome = render({work.path("in.wav"), work.path(output)});
    CHECK(outcome.status == 1);
    CHECK(holds(outcome.err, "the same file as the input; give another name\n"));
  }
  CHECK(fileBytes(work.path("in.wav")) == bytes);
  CHECK(work.names() == Names{"hard.wav", "in.wav", "soft.wav"});
}

TEST_CASE("outputs that are no files stay what they are") {
  const Workspace work;
  writeInput(work);
  fs::create_directory(work.path("folder.wav"));
  REQUIRE(mkfifo(work.path("pipe.wav").c_str(), 0600) == 0);
  CHECK(holds(render({work.path("in.wav"), work.path("folder.wav")}).err,
              "': a directory; to write into it, give --out-dir "));
  CHECK(holds(render({work.path("in.wav"), work.path("pipe.wav")}).err, "': not a regular file; "));
  CHECK(fs::is_directory(work.path("folder.wav")));
  CHECK(fs::is_fifo(work.path("pipe.wav")));
  CHECK(work.names() == Names{"folder.wav", "in.wav", "pipe.wav"});
}

TEST_CASE("a link leads to its file and stays a link") {
  const Workspace work;
  writeInput(work);
  writeBytes(work.path("real.wav"), "an older rendering");
  fs::create_symlink("real.wav", work.path("link.wav"));
  CHECK(render({work.path("in.wav"), work.path("link.wav"), "-y"}).status == 0);
  CHECK(fs::is_symlink(work.path("link.wav")));
  CHECK(readSound(work.path("real.wav")).samples.size() == 40000);
}

TEST_CASE("a link that leads nowhere yet leads to the output") {
  const Workspace work;
  writeInput(work);
  fs::create_symlink("second.wav", work.path("first.wav"));
  fs::create_symlink("new.wav", work.path("second.wav"));
  CHECK(render({work.path("in.wav"), work.path("first.wav")}).status == 0);
  CHECK(work.names() == Names{"first.wav", "in.wav", "new.wav", "second.wav"});
  CHECK(fs::is_symlink(work.path("first.wav")));
  CHECK(fs::is_symlink(work.path("second.wav")));
  CHECK_FALSE(fs::is_symlink(work.path("new.wav")));
  CHECK(readSound(work.path("new.wav")).samples.size() == 40000);

  fs::create_symlink("round.wav", work.path("round.wav"));
  const Outcome outcome = render({work.path("in.wav"), work.path("round.wav")});
  CHECK(outcome.status == 1);
  CHECK(holds(outcome.err, "round.wav': Too many levels of symbolic links; give the name of a file\n"));
  CHECK(fs::is_symlink(work.path("round.wav")));
}

TEST_CASE("with --no-clobber a preset that is there stays") {
  const Workspace work;
  const std::string preset = work.path("own.conf");
  CHECK(render({"--save-preset", preset, "--color", "2", "-n"}).status == 0);
  const std::string before = fileBytes(preset);
  const Outcome outcome = render({"--save-preset", preset, "--color", "3", "-n"});
  CHECK(outcome.status == 1);
  CHECK(holds(outcome.err, "own.conf': exists already; "));
  CHECK(fileBytes(preset) == before);
}

TEST_CASE("a preset leaves out that the pedal moves, and says so") {
  const Workspace work;
  const std::string preset = work.path("own.conf");
  const Outcome outcome = render({"--save-preset", preset, "--color", "2", "--pedal", "0:0,1:1"});
  CHECK(outcome.status == 0);
  CHECK(outcome.err == "treadshift-render: --save-preset '" + preset +
                           "': the pedal moves, which a preset does not hold: left out\n");
  CHECK(render({"--save-preset", preset, "--color", "2", "--pedal", "0:0,1:1", "-q"}).err == "");
  CHECK(render({"--save-preset", preset, "--color", "2", "--pedal", "1"}).err == "");
}

TEST_CASE("the sound that --normalize keeps waiting does so where TMPDIR says") {
  const Workspace work;
  writeInput(work);
  Surroundings surroundings;
  surroundings.environment = {"TMPDIR=" + work.path("none")};
  const Outcome outcome = render({work.path("in.wav"), work.path("out.wav"), "--normalize"}, surroundings);
  CHECK(outcome.status == 1);
  CHECK(outcome.err ==
        "treadshift-render: temporary file in '" + work.path("none") +
            "': No such file or directory; make room, or name another directory with TMPDIR\n");
  CHECK(work.names() == Names{"in.wav"});
}

TEST_CASE("permissions are those of the replaced file, or the usual ones") {
  const Workspace work;
  writeInput(work);
  const mode_t before = umask(027);
  CHECK(render({work.path("in.wav"), work.path("new.wav")}).status == 0);
  umask(before);
  CHECK(permissions(work.path("new.wav")) == 0640);
  writeBytes(work.path("old.wav"), "an older rendering");
  REQUIRE(chmod(work.path("old.wav").c_str(), 0604) == 0);
  CHECK(render({work.path("in.wav"), work.path("old.wav"), "-y"}).status == 0);
  CHECK(permissions(work.path("old.wav")) == 0604);
}

TEST_CASE("not even SIGKILL leaves anything behind, where files need no name") {
  const Workspace work;
  const int nameless = open(work.path("").c_str(), O_TMPFILE | O_WRONLY, 0600);
  if (nameless < 0) {
    MESSAGE("not checked: there are no files without names here");
    return;
  }
  close(nameless);
  SlowInput input(work);
  writeBytes(work.path("out.wav"), "an older rendering");
  Program program({work.path("in.wav"), work.path("out.wav"), "-y", "--normalize"});
  input.handFirstPart(program);
  program.signal(SIGKILL);
  CHECK(program.wait().status == 128 + SIGKILL);
  CHECK(work.names() == Names{"in.wav", "out.wav"});
  CHECK(fileBytes(work.path("out.wav")) == "an older rendering");
}

TEST_CASE("a signal in the middle leaves nothing behind") {
  for (int number : {SIGINT, SIGTERM, SIGHUP}) {
    CAPTURE(number);
    const Workspace work;
    SlowInput input(work);
    writeBytes(work.path("out.wav"), "an older rendering");
    Program program({work.path("in.wav"), work.path("out.wav"), "-y"});
    input.handFirstPart(program);
    program.signal(number);
    const Outcome outcome = program.wait();
    CHECK(outcome.status == 128 + number);
    CHECK(outcome.err == "treadshift-render: interrupted; no unfinished output is left\n");
    CHECK(work.names() == Names{"in.wav", "out.wav"});
    CHECK(fileBytes(work.path("out.wav")) == "an older rendering");
  }
}

// The last look at the module comes behind the rendering, and before the output gets its name.
TEST_CASE("an existing output survives when the module is gone in the end") {
  const Workspace work;
  SlowInput input(work);
  fs::copy_file(TREADSHIFT_MODULE, work.path("module.so"));
  writeBytes(work.path("out.wav"), "an older rendering");
  Program program({work.path("in.wav"), work.path("out.wav"), "-vy", "--module", work.path("module.so")});
  input.handFirstPart(program);
  fs::remove(work.path("module.so"));
  input.handRest();
  const Outcome outcome = program.wait();
  CHECK(outcome.status == 1);
  CHECK(holds(outcome.err, "module.so': no such file; give a treadshift.so\n"));
  CHECK(fileBytes(work.path("out.wav")) == "an older rendering");
  CHECK(work.names() == Names{"in.wav", "out.wav"});
}

TEST_CASE("a signal ends a program whose messages nobody reads") {
  const Workspace work;
  SlowInput input(work);
  REQUIRE(mkfifo(work.path("messages").c_str(), 0600) == 0);
  const int messages = open(work.path("messages").c_str(), O_RDWR | O_NONBLOCK);
  const std::string filling(65536, '.');
  while (write(messages, filling.data(), filling.size()) > 0)
    continue;
  Surroundings surroundings;
  surroundings.directory = work.path("");
  Program program = Program::command(
      {"/bin/sh", "-c", "exec '" TREADSHIFT_RENDER "' in.wav out.wav 2>messages"}, surroundings);
  input.handFirstPart(program);
  program.signal(SIGTERM);
  CHECK(program.wait().status == 128 + SIGTERM);
  close(messages);
  CHECK(work.names() == Names{"in.wav", "messages"});
}

TEST_CASE("a program that was told to survive its terminal does") {
  const Workspace work;
  SlowInput input(work);
  Surroundings surroundings;
  surroundings.ignoresHangUp = true;
  Program program({work.path("in.wav"), work.path("out.wav"), "-q"}, surroundings);
  input.handFirstPart(program);
  program.signal(SIGHUP);
  input.handRest();
  CHECK(program.wait().status == 0);
  CHECK(readSound(work.path("out.wav")).samples.size() == 40000);
}

TEST_CASE("progress tells a share, the speed and the time left, and clears its line") {
  if (!hasTerminals()) {
    MESSAGE("not checked: there are no pseudo-terminals here");
    return;
  }
  // The pipe's header tells 40000 frames, and the program is made to wait after about half of them.
  const Workspace work;
  writeInput(work);
  const std::string bytes = fileBytes(work.path("in.wav"));
  fs::remove(work.path("in.wav"));
  REQUIRE(mkfifo(work.path("in.wav").c_str(), 0600) == 0);
  Surroundings terminal;
  terminal.errorIsTerminal = true;
  Program program({work.path("in.wav"), work.path("out.wav"), "--on", "off"}, terminal);
  const int input = open(work.path("in.wav").c_str(), O_WRONLY);
  REQUIRE(write(input, bytes.data(), 40044) == 40044);
  for (int waiting = 1; waiting > 0 && program.isRunning(); usleep(1000))
    REQUIRE(ioctl(input, FIONREAD, &waiting) == 0); // bytes in the pipe
  usleep(300000);                                   // longer than from drawing to drawing
  REQUIRE(write(input, bytes.data() + 40044, 40000) == 40000);
  close(input);
  const Outcome outcome = program.wait();
  CHECK(outcome.status == 0);
  CAPTURE(outcome.err);
  // 24 columns for the whole, so 12 for half and a little.
  CHECK(holds(outcome.err, "\r[############            ]  50 %  "));
  CHECK(holds(outcome.err, " x real time  0:00 left"));
  CHECK(outcome.err.substr(outcome.err.rfind('\r', outcome.err.size() - 2)).find_first_not_of("\r ") ==
        std::string::npos);
}

TEST_CASE("a message makes the progress line go first") {
  if (!hasTerminals()) {
    MESSAGE("not checked: there are no pseudo-terminals here");
    return;
  }
  const Workspace work;
  writeInput(work);
  Surroundings terminal;
  terminal.errorIsTerminal = true;
  const Outcome outcome = render({work.path("in.wav"), work.path("out.wav"), "--gain", "60"}, terminal);
  const std::size_t message = outcome.err.find("treadshift-render: output ");
  REQUIRE(message != std::string::npos);
  REQUIRE(message > 2);
  CHECK(outcome.err.substr(message - 2, 2) == " \r");
}

TEST_CASE("progress shows on a terminal, and not when quiet") {
  if (!hasTerminals()) {
    MESSAGE("not checked: there are no pseudo-terminals here");
    return;
  }
  const Workspace work;
  writeInput(work);
  Surroundings terminal;
  terminal.errorIsTerminal = true;
  CHECK(holds(render({work.path("in.wav"), work.path("out.wav")}, terminal).err, " x real time"));
  CHECK(render({work.path("in.wav"), work.path("out.wav"), "-q"}, terminal).err == "");
}

TEST_CASE("without a terminal the program says nothing when all is well") {
  const Workspace work;
  writeInput(work);
  const Outcome piped = render({work.path("in.wav"), work.path("out.wav"), "--on", "off"});
  CHECK(piped.err == "");
  CHECK(piped.out == "");
}

TEST_CASE("a sound from a pipe is rendered to its end") {
  const Workspace work;
  writeInput(work);
  const std::string bytes = fileBytes(work.path("in.wav"));
  REQUIRE(mkfifo(work.path("pipe").c_str(), 0600) == 0);
  Program program({work.path("pipe"), work.path("piped.wav")});
  writeBytes(work.path("pipe"), bytes);
  CHECK(program.wait().status == 0);
  CHECK(render({work.path("in.wav"), work.path("direct.wav")}).status == 0);
  CHECK(fileBytes(work.path("piped.wav")) == fileBytes(work.path("direct.wav")));
}
