// An output appears whole or not at all, and the input is never at risk.
#include "Program.h"
#include "SoundFiles.h"
#include "render/file/ScratchFile.h"
#include "worker/Processes.h"

#include <csignal>
#include <cstdlib>
#include <doctest/doctest.h>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

const std::string kOlder = "an older rendering";

// A program that has begun its output and waits for the rest of in.wav.
class Rendering {
public:
  explicit Rendering(const std::string& options, const Surroundings& surroundings = {})
      : input(madeInput()), program("in.wav out.wav " + options, surroundings) {
    input.handFirst();
    program.awaitOutputs(".");
  }

private:
  static std::string madeInput() {
    writeTake("in.wav", 40000);
    return "in.wav";
  }

public:
  SlowInput input;
  Program program;
};

unsigned permissions(const std::string& path) {
  return static_cast<unsigned>(fs::status(path).permissions());
}

} // namespace

TEST_CASE("an existing output survives when the input turns out to be damaged") {
  const Workspace work;
  writeTake("whole.flac", 40000, 1, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
  writeBytes("half.flac", contentsOf("whole.flac").substr(0, 20000));
  writeBytes("out.wav", kOlder);
  checkRefused(1, "half.flac out.wav -y", "input 'half.flac': damaged or cut short");
  CHECK(contentsOf("out.wav") == kOlder);
}

TEST_CASE("no picture and no preset takes the place of a sound of the same call, or of each other") {
  const Workspace work;
  const Surroundings surroundings = withProgram("gnuplot", "echo new > picture.png\n");
  writeTake("in.png", 40000);
  const std::string before = contentsOf("in.png"), same = "': the same file as '",
                    other = "'; give another name\n";
  for (const std::string sound : {"in.png", "out.png"})
    for (const std::string option : {"--plot", "--save-preset"})
      checkRefused(2, "in.png out.png --type wav " + option + " " + sound,
                   option + " '" + sound + same + sound + other, surroundings);
  checkRefused(2, "in.png --plot ./in.png", "--plot './in.png" + same + "in.png" + other, surroundings);
  checkRefused(2, "in.png --plot both --save-preset both", "--plot 'both" + same + "both" + other,
               surroundings);
  CHECK(contentsOf("in.png") == before);
}

TEST_CASE("with --no-clobber no picture and no preset that is there is replaced, without it each is") {
  const Workspace work;
  const Surroundings surroundings = withProgram("gnuplot", "echo new > picture.png\n");
  writeTake("in.wav", 4000);
  const std::string preset = "[old]\ntone = 0.5\n";
  for (const auto& [file, call] :
       {std::pair{"old.png", "in.wav --plot old.png"}, {"old.conf", "--save-preset old.conf --color 3"}}) {
    writeBytes(file, preset);
    checkRefused(1, std::string(call) + " -n", "output '" + std::string(file) + "': exists already; ",
                 surroundings);
    CHECK(contentsOf(file) == preset);
    CHECK(render(call, surroundings).status == 0);
    CHECK(contentsOf(file) != preset);
  }
}

TEST_CASE("wherever the room runs out, nothing new is left, and what was there stays") {
  // libsndfile forgets its Vorbis encoder when the headers cannot be written, which a checked build would
  // tell.
  const Environment unasked("ASAN_OPTIONS", "detect_leaks=0");
  const Workspace work;
  writeTake("in.wav", 3000);
  for (const std::string output : {"out.wav", "out.flac", "out.aiff", "out.ogg", "out.mp3"}) {
    REQUIRE(render("-q in.wav " + output).status == 0);
    const auto size = static_cast<long>(contentsOf(output).size());
    for (const bool isThere : {false, true}) {
      fs::remove(output);
      if (isThere) writeBytes(output, kOlder);
      for (const long limit : {0L, 1L, 44L, 100L, size / 2, size - 1}) {
        CAPTURE(limit);
        Surroundings tight;
        tight.largestFileBytes = limit;
        checkRefused(1, "-qy in.wav " + output,
                     "output '" + output +
                         "': cannot be written: File too large; make room or choose another place\n",
                     tight);
        if (isThere) CHECK(contentsOf(output) == kOlder);
      }
    }
    fs::remove(output);
  }
}

TEST_CASE("the input cannot be the output, under no name") {
  const Workspace work;
  writeTake("in.wav", 4000);
  const std::string bytes = contentsOf("in.wav");
  fs::create_hard_link("in.wav", "hard.wav");
  fs::create_symlink("in.wav", "soft.wav");
  for (const std::string output : {"in.wav", "./in.wav", "hard.wav", "soft.wav"})
    checkRefused(1, "in.wav " + output,
                 "output '" + output + "': the same file as the input; give another name\n");
  CHECK(contentsOf("in.wav") == bytes);
}

TEST_CASE("outputs that are no files stay what they are") {
  const Workspace work;
  writeTake("in.wav", 4000);
  fs::create_directory("folder.wav");
  fs::create_symlink("round.wav", "round.wav");
  REQUIRE(mkfifo("pipe.wav", 0600) == 0);
  checkRefused(2, "in.wav folder.wav",
               "output 'folder.wav': a directory; to write into it, give --out-dir folder.wav");
  checkRefused(1, "in.wav pipe.wav", "output 'pipe.wav': not a regular file; ");
  checkRefused(1, "in.wav round.wav",
               "output 'round.wav': Too many levels of symbolic links; give the name of a file\n");
  CHECK(fs::is_directory("folder.wav"));
  CHECK(fs::is_fifo("pipe.wav"));
  CHECK(fs::is_symlink("round.wav"));
}

TEST_CASE("a link leads to its file, there already or not, and stays a link") {
  const Workspace work;
  writeTake("in.wav", 4000);
  writeBytes("old.wav", kOlder);
  fs::create_symlink("old.wav", "link.wav");
  fs::create_symlink("second.wav", "first.wav");
  fs::create_symlink("new.wav", "second.wav");
  CHECK(render("in.wav link.wav -y").status == 0);
  CHECK(render("in.wav first.wav").status == 0);
  CHECK(work.names() == Names{"first.wav", "in.wav", "link.wav", "new.wav", "old.wav", "second.wav"});
  for (const char* link : {"first.wav", "second.wav", "link.wav"})
    CHECK(fs::is_symlink(link));
  for (const char* file : {"new.wav", "old.wav"}) {
    CHECK_FALSE(fs::is_symlink(file));
    CHECK(samplesOf(file).size() == 4000);
  }
}

TEST_CASE("a preset leaves out that the pedal moves, and says so") {
  const Workspace work;
  const std::string call = "--save-preset own.conf --color 2 --pedal ";
  const Outcome outcome = render(call + "0:0,1:1");
  CHECK(outcome.status == 0);
  CHECK(outcome.err ==
        "treadshift-render: --save-preset 'own.conf': the pedal moves, which a preset does not "
        "hold: left out\n");
  CHECK(render(call + "0:0,1:1 -q").err == "");
  CHECK(render(call + "1").err == "");
}

TEST_CASE("the sound that --normalize keeps waiting does so where TMPDIR says") {
  const Workspace work;
  writeTake("in.wav", 4000);
  Surroundings surroundings;
  surroundings.environment = {"TMPDIR=none"};
  checkRefused(
      1, "in.wav out.wav --normalize",
      "temporary file in 'none': No such file or directory; make room, or name another directory with "
      "TMPDIR\n",
      surroundings);
  const Environment empty("TMPDIR", "");
  CHECK(temporaryDirectory() == "/tmp");
}

TEST_CASE("permissions are those of the replaced file, or the usual ones") {
  const Workspace work;
  writeTake("in.wav", 4000);
  const mode_t before = umask(027);
  CHECK(render("in.wav new.wav").status == 0);
  umask(before);
  CHECK(permissions("new.wav") == 0640);
  writeBytes("old.wav", kOlder);
  REQUIRE(chmod("old.wav", 0604) == 0);
  CHECK(render("in.wav old.wav -y").status == 0);
  CHECK(permissions("old.wav") == 0604);
}

TEST_CASE("not even SIGKILL leaves anything behind, where files need no name") {
  const Workspace work;
  const int nameless = open(".", O_TMPFILE | O_WRONLY, 0600);
  if (nameless < 0) {
    MESSAGE("not checked: there are no files without names here");
    return;
  }
  close(nameless);
  writeBytes("out.wav", kOlder);
  Rendering rendering("-y --normalize");
  rendering.program.signal(SIGKILL);
  CHECK(rendering.program.wait().status == 128 + SIGKILL);
  CHECK(work.names() == Names{"in.wav", "out.wav"});
  CHECK(contentsOf("out.wav") == kOlder);
}

TEST_CASE("a signal in the middle leaves nothing behind") {
  for (int number : {SIGINT, SIGTERM, SIGHUP}) {
    CAPTURE(number);
    const Workspace work;
    writeBytes("out.wav", kOlder);
    Rendering rendering("-y");
    rendering.program.signal(number);
    const Outcome outcome = rendering.program.wait();
    CHECK(outcome.status == 128 + number);
    CHECK(outcome.err == "treadshift-render: interrupted; no unfinished output is left\n");
    CHECK(work.names() == Names{"in.wav", "out.wav"});
    CHECK(contentsOf("out.wav") == kOlder);
  }
}

// The last look at the module comes behind the rendering, and before the output gets its name.
TEST_CASE("an existing output survives when the module is gone in the end") {
  const Workspace work;
  fs::copy_file(TREADSHIFT_MODULE, "module.so");
  writeBytes("out.wav", kOlder);
  Rendering rendering("-vy --module ./module.so");
  fs::remove("module.so");
  rendering.input.handRest();
  const Outcome outcome = rendering.program.wait();
  CHECK(outcome.status == 1);
  CHECK(holds(outcome.err, "module.so': no such file; give a treadshift.so\n"));
  CHECK(contentsOf("out.wav") == kOlder);
  CHECK(work.names() == Names{"in.wav", "out.wav"});
}

TEST_CASE("a signal ends a program whose messages nobody reads") {
  const Workspace work;
  REQUIRE(mkfifo("messages", 0600) == 0);
  const int messages = open("messages", O_RDWR | O_NONBLOCK);
  const std::string filling(65536, '.');
  while (write(messages, filling.data(), filling.size()) > 0)
    continue;
  Rendering rendering("2>messages");
  rendering.program.signal(SIGTERM);
  CHECK(rendering.program.wait().status == 128 + SIGTERM);
  close(messages);
  CHECK(work.names() == Names{"in.wav", "messages"});
}

TEST_CASE("a program that was told to survive its terminal does, and renders a pipe to its end") {
  const Workspace work;
  Surroundings surroundings;
  surroundings.ignoresHangUp = true;
  Rendering rendering("-q", surroundings);
  rendering.program.signal(SIGHUP);
  rendering.input.handRest();
  CHECK(rendering.program.wait().status == 0);
  writeTake("direct.wav", 40000);
  REQUIRE(render("direct.wav bent.wav -q").status == 0);
  CHECK(contentsOf("out.wav") == contentsOf("bent.wav"));
}

TEST_CASE(
    "progress tells a share, the speed and the time left, clears its line, and is not told when quiet") {
  if (!hasTerminals()) return;
  // Of 8192 frames 4096 are rendered at once, so the first thing that is drawn is half.
  const Workspace work;
  writeTake("in.wav", 8192);
  Surroundings terminal;
  terminal.errorIsTerminal = true;
  const std::string err = render("in.wav out.wav --on off --gain 60", terminal).err;
  CAPTURE(err);
  CHECK(err.starts_with("\r[############            ]  50 %  ")); // 24 columns for the whole
  CHECK(holds(err, " x real time  0:00 left"));
  const std::size_t message = err.find("treadshift-render: output ");
  REQUIRE(message != std::string::npos);
  REQUIRE(message > 2);
  CHECK(err.substr(message - 2, 2) == " \r"); // the line is cleared before a message ...
  CHECK(render("in.wav out.wav -q", terminal).err == "");
  const std::string silent = render("in.wav out.wav --on off", terminal).err;
  CHECK(silent.substr(silent.rfind('\r', silent.size() - 2)).find_first_not_of("\r ") ==
        std::string::npos); // ... or the end
}
