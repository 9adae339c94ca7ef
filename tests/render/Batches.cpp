// Several recordings in one call.
#include "Program.h"
#include "SoundFiles.h"

#include <csignal>
#include <doctest/doctest.h>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

const std::string kTold = "treadshift-render: ";

// Twelve recordings of different lengths and noises: take0.wav to take11.wav.
Names writeTakes() {
  Names names;
  for (unsigned i = 0; i < 12; ++i) {
    names.push_back("take" + std::to_string(i) + ".wav");
    writeTake(names.back(), 3000 + 1000 * i, i + 1);
  }
  return names;
}

} // namespace

TEST_CASE("each of several recordings becomes what it becomes alone, however many run at a time") {
  const Workspace work;
  const Names takes = writeTakes();
  const std::string course = "--pedal 0:0,0.1:1 --dither ";
  for (const std::string& take : takes)
    REQUIRE(render(take + " alone-" + take + " " + course).status == 0);
  for (const std::string jobs : {"1", "2", "8"}) {
    CAPTURE(jobs);
    const std::string directory = "bent" + jobs;
    const Outcome outcome = render("take*.wav --out-dir " + directory + " --jobs " + jobs + " " + course);
    CHECK(outcome.status == 0);
    CHECK(outcome.out == "");
    CHECK(outcome.err == "");
    REQUIRE(namesIn(directory).size() == takes.size());
    for (const std::string& take : takes)
      CHECK(contentsOf(directory + "/" + take) == contentsOf("alone-" + take));
  }
}

TEST_CASE("each colour and each preset of each recording, as one by one") {
  const Workspace work;
  writeTake("a.wav", 9000, 1);
  writeTake("b.c.flac", 9000, 2, SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 2);
  const std::string moves = "--pedal 0:0.2,0.1:1 ";
  REQUIRE(render("a.wav b.c.flac --each-color --out-dir colors -j 2 " + moves).status == 0);
  CHECK(namesIn("colors").size() == 16);
  const Names names = {"semitone-down",     "quarter-tone-up",           "octave-up",
                       "two-octaves-down",  "octave-down-to-up",         "fifth-down-to-fourth-up",
                       "five-octaves-down", "five-octaves-down-with-dry"};
  for (std::size_t color = 0; color < names.size(); ++color) {
    CAPTURE(color);
    const std::string one = "--color " + std::to_string(color) + " " + moves;
    REQUIRE(render("a.wav one.wav " + one).status == 0);
    CHECK(contentsOf("colors/a-" + names[color] + ".wav") == contentsOf("one.wav"));
    CHECK(fs::exists("colors/b.c-" + names[color] + ".flac"));
  }
  REQUIRE(render("b.c.flac one.flac --color 7 " + moves).status == 0);
  CHECK(contentsOf("colors/b.c-five-octaves-down-with-dry.flac") == contentsOf("one.flac"));

  writeBytes("own.conf", "[Deep & Dull]\ncolor = 3\ntone = 0.1\n[Half]\ncolor = 0\npedal = 0.5\n");
  const std::string own = " --load-preset own.conf --tone 0.4 ";
  REQUIRE(render("a.wav --each-preset --out-dir presets" + own).status == 0);
  CHECK(namesIn("presets") == Names{"a-deep-dull.wav", "a-half.wav"});
  for (const auto& [name, preset] : {std::pair{"a-deep-dull.wav", "'Deep & Dull'"}, {"a-half.wav", "Half"}}) {
    REQUIRE(render("a.wav one.wav --preset " + std::string(preset) + own).status == 0);
    CHECK(contentsOf("presets/" + std::string(name)) == contentsOf("one.wav"));
  }
}

TEST_CASE("one that cannot be rendered does not keep the others") {
  const Workspace work;
  writeTakes();
  writeBytes("take3.wav", "no sound");
  const Outcome outcome = render("take*.wav missing.wav --out-dir bent -j 3");
  CHECK(outcome.status == 1);
  CHECK(linesOf(outcome.err).size() == 2);
  CHECK(holds(outcome.err, kTold + "input 'take3.wav': not a sound file that can be read"));
  CHECK(holds(outcome.err, kTold + "input 'missing.wav': No such file or directory; "));
  CHECK(namesIn("bent").size() == 11);
}

TEST_CASE("each failure has its own reason, whatever runs beside it") {
  const Workspace work;
  writeTakes();
  for (int i = 0; i < 60; ++i)
    writeBytes("bad" + std::to_string(i) + ".wav", std::string("RIFF\x24\0\0\0WAVE", 12));
  const Outcome outcome = render("take*.wav bad*.wav --out-dir bent --jobs 8");
  CHECK(outcome.status == 1);
  int told = 0;
  for (const std::string& line : linesOf(outcome.err))
    told += holds(line, "(Error in WAV file. No 'data' chunk marker)");
  CHECK(told == 60);
}

TEST_CASE("no recording keeps a descriptor") {
  const Workspace work;
  writeTakes();
  const Outcome outcome = shell("ulimit -n 12; treadshift-render take*.wav --out-dir bent --jobs 1");
  CHECK(outcome.err == "");
  CHECK(outcome.status == 0);
}

TEST_CASE("outputs keep the names, and the extensions that can be written") {
  const Workspace work;
  writeTake("a.flac", 1000, 1, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
  writeTake("b.AIFF", 1000, 1, SF_FORMAT_AIFF | SF_FORMAT_PCM_16);
  writeTake("c.voc", 1000, 1, SF_FORMAT_VOC | SF_FORMAT_PCM_16);
  writeTake("d", 1000);
  const std::string inputs = "a.flac b.AIFF c.voc d --out-dir ";
  CHECK(render(inputs + "kept/deep").status == 0);
  CHECK(namesIn("kept/deep") == Names{"a.flac", "b.AIFF", "c.voc.wav", "d.wav"});
  CHECK(readSound("kept/deep/b.AIFF").format == (SF_FORMAT_AIFF | SF_FORMAT_PCM_16));
  CHECK(render(inputs + "typed --type flac").status == 0);
  CHECK(namesIn("typed") == Names{"a.flac", "b.flac", "c.flac", "d.flac"});
  CHECK(readSound("typed/d.flac").format == (SF_FORMAT_FLAC | SF_FORMAT_PCM_16));
}

TEST_CASE("several recordings neither become one file nor replace one another") {
  const Workspace work;
  fs::create_directory("one");
  fs::create_directory("two");
  for (const char* name : {"one/a.wav", "two/a.wav", "one/a.flac", "a.flac", "b.wav", "b-octave-up.wav"})
    writeTake(name, 1000);
  fs::create_symlink("a.flac", "a.wav");
  const std::string bytes = contentsOf("a.flac");
  const std::string apart = "' does; render them into different directories\n";
  checkRefused(2, "one/a.wav two/a.wav --out-dir bent",
               "input 'two/a.wav': would become 'bent/a.wav', as 'one/a.wav" + apart);
  checkRefused(2, "one/a.wav one/a.flac --type aiff --out-dir bent",
               "input 'one/a.flac': would become 'bent/a.aiff', as 'one/a.wav" + apart);
  checkRefused(2, "one/a.wav one/a.wav --out-dir bent", "input 'one/a.wav': named twice; name it once\n");
  checkRefused(2, "one/a.wav a.flac --out-dir .",
               "output './a.wav': would replace the input 'a.flac'; give "
               "another --out-dir\n");
  checkRefused(2, "b.wav b-octave-up.wav --each-color --out-dir .",
               "output './b-octave-up.wav': would replace the input 'b-octave-up.wav'");
  CHECK(contentsOf("a.flac") == bytes);
  // Into its own directory is over itself.
  checkRefused(1, "one/a.wav --out-dir one", "output 'one/a.wav': the same file as the input; ");
}

TEST_CASE("a directory made for nothing goes again, and one that cannot be made is told") {
  const Workspace work;
  checkRefused(1, "missing.wav --out-dir bent", "input 'missing.wav': ");
  writeBytes("file", "");
  for (const std::string directory : {"file", "file/deep", "/proc/none"})
    checkRefused(1, "missing.wav --out-dir " + directory, "--out-dir '" + directory + "': ");
}

TEST_CASE("with --no-clobber nothing is replaced that is there, or appears meanwhile") {
  const Workspace work;
  writeTakes();
  fs::create_directory("bent");
  writeBytes("bent/take4.wav", "an older rendering");
  const Outcome outcome = render("take*.wav --out-dir bent -n");
  const std::string exists =
      "': exists already; give another name, or leave out --no-clobber to replace it\n";
  CHECK(outcome.status == 1);
  CHECK(outcome.err == kTold + "output 'bent/take4.wav" + exists);
  CHECK(contentsOf("bent/take4.wav") == "an older rendering");
  CHECK(namesIn("bent").size() == 12);

  writeTake("in.wav", 40000);
  SlowInput input("in.wav");
  Program program("in.wav out.wav --no-clobber");
  input.handFirst();
  program.awaitOutputs(".");
  writeBytes("out.wav", "someone else's");
  const Names before = work.names();
  input.handRest();
  const Outcome late = program.wait();
  CHECK(late.status == 1);
  CHECK(late.err == kTold + "output 'out.wav" + exists);
  CHECK(contentsOf("out.wav") == "someone else's");
  CHECK(work.names() == before);
}

TEST_CASE("a signal leaves none of several unfinished outputs behind") {
  const Workspace work;
  for (const char* name : {"a.wav", "b.wav", "c.wav"})
    writeTake(name, 40000);
  SlowInput inputs[] = {SlowInput("a.wav"), SlowInput("b.wav"), SlowInput("c.wav")};
  fs::create_directory("bent");
  Program program("a.wav b.wav c.wav --out-dir bent --jobs 3 --normalize");
  for (SlowInput& input : inputs)
    input.handFirst();
  program.awaitOutputs("bent", 3);
  program.signal(SIGINT);
  const Outcome outcome = program.wait();
  CHECK(outcome.status == 128 + SIGINT);
  CHECK(outcome.err == "treadshift-render: interrupted; no unfinished output is left\n");
  CHECK(namesIn("bent").empty());
}
