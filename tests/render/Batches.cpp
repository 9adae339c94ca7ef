// Several recordings in one call.
#include "Program.h"
#include "SoundFiles.h"

#include <algorithm>
#include <csignal>
#include <doctest/doctest.h>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

Names namesIn(const std::string& directory) {
  Names list;
  for (const auto& entry : fs::directory_iterator(directory))
    list.push_back(entry.path().filename());
  std::sort(list.begin(), list.end());
  return list;
}

// Twelve recordings of different lengths and noises.
Names writeTakes(const Workspace& work) {
  Names paths;
  for (unsigned i = 0; i < 12; ++i) {
    paths.push_back(work.path("take" + std::to_string(i) + ".wav"));
    writeSound(paths.back(), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(3000 + 1000 * i, i + 1)});
  }
  return paths;
}

Names with(Names words, const Names& more) {
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

} // namespace

TEST_CASE("each of several recordings becomes what it becomes alone, however many run at a time") {
  const Workspace work;
  const Names takes = writeTakes(work);
  const Names course = {"--pedal", "0:0,0.1:1", "--dither"};
  for (const char* jobs : {"1", "2", "8"}) {
    CAPTURE(jobs);
    const std::string directory = work.path(std::string("bent") + jobs);
    const Outcome outcome = render(with(with(takes, course), {"--out-dir", directory, "--jobs", jobs}));
    CHECK(outcome.status == 0);
    CHECK(outcome.out == "");
    CHECK(outcome.err == "");
    REQUIRE(namesIn(directory).size() == takes.size());
    for (const std::string& take : takes) {
      REQUIRE(render(with({take, work.path("alone.wav")}, course)).status == 0);
      CHECK(fileBytes(directory + "/" + fs::path(take).filename().string()) ==
            fileBytes(work.path("alone.wav")));
    }
  }
}

TEST_CASE("each colour and each preset of each recording, as one by one") {
  const Workspace work;
  const Names takes = {work.path("a.wav"), work.path("b.c.flac")};
  writeSound(takes[0], {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(9000, 1)});
  writeSound(takes[1], {44100, 2, SF_FORMAT_FLAC | SF_FORMAT_PCM_16, softNoise(9000, 2)});
  const Names moves = {"--pedal", "0:0.2,0.1:1"};
  const std::string directory = work.path("colors");
  REQUIRE(render(with(with(takes, moves), {"--each-color", "--out-dir", directory, "-j", "2"})).status == 0);
  const Names names = {"semitone-down",     "quarter-tone-up",           "octave-up",
                       "two-octaves-down",  "octave-down-to-up",         "fifth-down-to-fourth-up",
                       "five-octaves-down", "five-octaves-down-with-dry"};
  CHECK(namesIn(directory).size() == 16);
  for (std::size_t color = 0; color < names.size(); ++color) {
    CAPTURE(color);
    const Names one = with({"--color", std::to_string(color)}, moves);
    REQUIRE(render(with({takes[0], work.path("one.wav")}, one)).status == 0);
    CHECK(fileBytes(directory + "/a-" + names[color] + ".wav") == fileBytes(work.path("one.wav")));
    REQUIRE(render(with({takes[1], work.path("one.flac")}, one)).status == 0);
    CHECK(fileBytes(directory + "/b.c-" + names[color] + ".flac") == fileBytes(work.path("one.flac")));
  }
  writeBytes(work.path("own.conf"), "[Deep & Dull]\ncolor = 3\ntone = 0.1\n[Half]\ncolor = 0\npedal = 0.5\n");
  const Names own = {"--load-preset", work.path("own.conf"), "--tone", "0.4"};
  REQUIRE(render(with(with({takes[0]}, own), {"--each-preset", "--out-dir", work.path("presets")})).status ==
          0);
  CHECK(namesIn(work.path("presets")) == Names{"a-deep-dull.wav", "a-half.wav"});
  for (const auto& [name, preset] : {std::pair{"a-deep-dull.wav", "Deep & Dull"}, {"a-half.wav", "Half"}}) {
    REQUIRE(render(with(with({takes[0], work.path("one.wav")}, own), {"--preset", preset})).status == 0);
    CHECK(fileBytes(work.path("presets/") + name) == fileBytes(work.path("one.wav")));
  }
}

TEST_CASE("a compared recording replaces no other") {
  const Workspace work;
  for (const char* name : {"a.wav", "a-octave-up.wav"})
    writeSound(work.path(name), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(1000)});
  const Outcome outcome =
      render({work.path("a.wav"), work.path("a-octave-up.wav"), "--each-color", "--out-dir", work.path("")});
  CHECK(outcome.status == 2);
  CHECK(holds(outcome.err, "would replace the input '" + work.path("a-octave-up.wav") + "'"));
  CHECK(work.names() == Names{"a-octave-up.wav", "a.wav"});
}

TEST_CASE("one that cannot be rendered does not keep the others") {
  const Workspace work;
  Names takes = writeTakes(work);
  writeBytes(takes[3], "no sound");
  takes.push_back(work.path("missing.wav"));
  const Outcome outcome = render(with(takes, {"--out-dir", work.path("bent"), "-j", "3"}));
  CHECK(outcome.status == 1);
  CHECK(std::count(outcome.err.begin(), outcome.err.end(), '\n') == 2);
  CHECK(holds(outcome.err, "treadshift-render: input '" + takes[3] + "': not a sound file that can be read"));
  CHECK(holds(outcome.err, "treadshift-render: input '" + takes[12] + "': No such file or directory; "));
  CHECK(namesIn(work.path("bent")).size() == 11);
}

TEST_CASE("each failure has its own reason, whatever runs beside it") {
  const Workspace work;
  Names takes = writeTakes(work);
  for (int i = 0; i < 60; ++i) {
    takes.push_back(work.path("bad" + std::to_string(i) + ".wav"));
    writeBytes(takes.back(), std::string("RIFF\x24\0\0\0WAVE", 12));
  }
  const Outcome outcome = render(with(takes, {"--out-dir", work.path("bent"), "--jobs", "8"}));
  CHECK(outcome.status == 1);
  int told = 0;
  const char* const reason = "(Error in WAV file. No 'data' chunk marker)";
  for (std::size_t at = 0; (at = outcome.err.find(reason, at)) != std::string::npos; ++at)
    ++told;
  CHECK(told == 60);
}

TEST_CASE("outputs keep the names, and the extensions that can be written") {
  const Workspace work;
  const int mono16 = SF_FORMAT_PCM_16;
  writeSound(work.path("a.flac"), {44100, 1, SF_FORMAT_FLAC | mono16, softNoise(1000)});
  writeSound(work.path("b.AIFF"), {44100, 1, SF_FORMAT_AIFF | mono16, softNoise(1000)});
  writeSound(work.path("c.voc"), {44100, 1, SF_FORMAT_VOC | mono16, softNoise(1000)});
  writeSound(work.path("d"), {44100, 1, SF_FORMAT_WAV | mono16, softNoise(1000)});
  const Names inputs = {work.path("a.flac"), work.path("b.AIFF"), work.path("c.voc"), work.path("d")};
  CHECK(render(with(inputs, {"--out-dir", work.path("kept/deep")})).status == 0);
  CHECK(namesIn(work.path("kept/deep")) == Names{"a.flac", "b.AIFF", "c.voc.wav", "d.wav"});
  CHECK(readSound(work.path("kept/deep/b.AIFF")).format == (SF_FORMAT_AIFF | mono16));
  CHECK(render(with(inputs, {"--out-dir", work.path("typed"), "--type", "flac"})).status == 0);
  CHECK(namesIn(work.path("typed")) == Names{"a.flac", "b.flac", "c.flac", "d.flac"});
  CHECK(readSound(work.path("typed/d.flac")).format == (SF_FORMAT_FLAC | mono16));
}

TEST_CASE("two recordings that would become one file are a wrong call") {
  const Workspace work;
  fs::create_directory(work.path("one"));
  fs::create_directory(work.path("two"));
  for (const char* name : {"one/a.wav", "two/a.wav", "one/a.flac"})
    writeSound(work.path(name), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(1000)});
  const auto check = [&](const Names& arguments, const std::string& message) {
    const Outcome outcome = render(with(arguments, {"--out-dir", work.path("bent")}));
    CHECK(outcome.status == 2);
    CHECK(outcome.err == "treadshift-render: " + message);
    CHECK(work.names() == Names{"one", "two"});
  };
  check({work.path("one/a.wav"), work.path("two/a.wav")},
        "input '" + work.path("two/a.wav") + "': would become '" + work.path("bent/a.wav") + "', as '" +
            work.path("one/a.wav") + "' does; render them into different directories\n");
  check({work.path("one/a.wav"), work.path("one/a.flac"), "--type", "aiff"},
        "input '" + work.path("one/a.flac") + "': would become '" + work.path("bent/a.aiff") + "', as '" +
            work.path("one/a.wav") + "' does; render them into different directories\n");
  check({work.path("one/a.wav"), work.path("one/a.wav")},
        "input '" + work.path("one/a.wav") + "': named twice; name it once\n");
  check({"-"}, "input '-': the standard input has no name for --out-dir to keep; name the output instead\n");
}

TEST_CASE("no recording is replaced by another's output") {
  const Workspace work;
  fs::create_directory(work.path("one"));
  writeSound(work.path("one/a.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(1000)});
  writeSound(work.path("a.flac"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(2000)});
  fs::create_symlink("a.flac", work.path("a.wav"));
  const std::string bytes = fileBytes(work.path("a.flac"));
  const Outcome outcome = render({work.path("one/a.wav"), work.path("a.flac"), "--out-dir", work.path("")});
  CHECK(outcome.status == 2);
  CHECK(
      holds(outcome.err, "would replace the input '" + work.path("a.flac") + "'; give another --out-dir\n"));
  CHECK(fileBytes(work.path("a.flac")) == bytes);
  // Into its own directory is over itself.
  const Outcome own = render({work.path("one/a.wav"), "--out-dir", work.path("one")});
  CHECK(own.status == 1);
  CHECK(holds(own.err, "the same file as the input; "));
}

TEST_CASE("a directory made for nothing goes again, and one that cannot be made is told") {
  const Workspace work;
  CHECK(render({work.path("missing.wav"), "--out-dir", work.path("bent")}).status == 1);
  CHECK(work.names().empty());
  writeBytes(work.path("file"), "");
  for (const char* directory : {"file", "file/deep", "/proc/none"}) {
    const std::string path = directory[0] == '/' ? directory : work.path(directory);
    const Outcome outcome = render({work.path("missing.wav"), "--out-dir", path});
    CHECK(outcome.status == 1);
    CHECK(holds(outcome.err, "treadshift-render: --out-dir '" + path + "': "));
    CHECK(std::count(outcome.err.begin(), outcome.err.end(), '\n') == 1);
  }
}

TEST_CASE("with --no-clobber nothing that is there is replaced") {
  const Workspace work;
  const Names takes = writeTakes(work);
  fs::create_directory(work.path("bent"));
  writeBytes(work.path("bent/take4.wav"), "an older rendering");
  const Outcome outcome = render(with(takes, {"--out-dir", work.path("bent"), "-n"}));
  CHECK(outcome.status == 1);
  CHECK(outcome.err == "treadshift-render: output '" + work.path("bent/take4.wav") +
                           "': exists already; give another name, or leave out --no-clobber to replace it\n");
  CHECK(fileBytes(work.path("bent/take4.wav")) == "an older rendering");
  CHECK(namesIn(work.path("bent")).size() == takes.size());
}

TEST_CASE("with --no-clobber a file that appears meanwhile is not replaced either") {
  const Workspace work;
  writeSound(work.path("whole.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(40000)});
  const std::string bytes = fileBytes(work.path("whole.wav"));
  REQUIRE(mkfifo(work.path("in.wav").c_str(), 0600) == 0);
  Program program({work.path("in.wav"), work.path("out.wav"), "--no-clobber"});
  const int input = open(work.path("in.wav").c_str(), O_WRONLY);
  REQUIRE(write(input, bytes.data(), 20000) == 20000);
  while (program.isRunning() && program.filesWrittenIn(work.path("")) == 0)
    usleep(1000); // until the unfinished output is there
  writeBytes(work.path("out.wav"), "someone else's");
  REQUIRE(write(input, bytes.data() + 20000, bytes.size() - 20000) ==
          static_cast<long>(bytes.size() - 20000));
  close(input);
  const Outcome outcome = program.wait();
  CHECK(outcome.status == 1);
  CHECK(holds(outcome.err, "': exists already; "));
  CHECK(fileBytes(work.path("out.wav")) == "someone else's");
  CHECK(work.names() == Names{"in.wav", "out.wav", "whole.wav"});
}

TEST_CASE("a signal leaves none of several unfinished outputs behind") {
  const Workspace work;
  writeSound(work.path("whole.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(40000)});
  const std::string bytes = fileBytes(work.path("whole.wav"));
  fs::create_directory(work.path("bent"));
  int inputs[3] = {};
  Names paths;
  for (int i = 0; i < 3; ++i) {
    paths.push_back(work.path("in" + std::to_string(i) + ".wav"));
    REQUIRE(mkfifo(paths.back().c_str(), 0600) == 0);
  }
  Program program(with(paths, {"--out-dir", work.path("bent"), "--jobs", "3", "--normalize"}));
  for (int i = 0; i < 3; ++i) {
    inputs[i] = open(paths[i].c_str(), O_WRONLY);
    REQUIRE(write(inputs[i], bytes.data(), 20000) == 20000);
  }
  while (program.isRunning() && program.filesWrittenIn(work.path("bent")) < 3)
    usleep(1000);
  program.signal(SIGINT);
  const Outcome outcome = program.wait();
  for (int input : inputs)
    close(input);
  CHECK(outcome.status == 128 + SIGINT);
  CHECK(outcome.err == "treadshift-render: interrupted; no unfinished output is left\n");
  CHECK(namesIn(work.path("bent")).empty());
}

TEST_CASE("calls for several recordings that cannot work") {
  const Workspace work;
  const Names takes = writeTakes(work);
  const auto check = [&](const Names& arguments, const std::string& message) {
    const Outcome outcome = render(arguments);
    CHECK(outcome.status == 2);
    CHECK(outcome.err == "treadshift-render: " + message + "\n");
  };
  check({takes[0], takes[1], takes[2]},
        "argument '" + takes[2] +
            "': one argument too many; to render several recordings, say where to "
            "with --out-dir DIR");
  check({takes[0], takes[1], "--out-dir", work.path("bent"), "--play"},
        "--play: is for one recording at a time; give one input");
  check({takes[0], takes[1], "--out-dir", work.path("bent"), "--plot", "a.png"},
        "--plot: is for one recording at a time; give one input");
  check({takes[0], "--out-dir", ""}, "--out-dir '': no directory; give its name");
  for (const char* jobs : {"0", "257", "-1", "two", ""}) {
    check({takes[0], "--out-dir", work.path("bent"), "--jobs", jobs},
          "--jobs '" + std::string(jobs) +
              "': not a number from 1 to 256; as many as there are processors is best");
  }
  CHECK(!fs::exists(work.path("bent")));
}
