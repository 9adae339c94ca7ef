// The standard input and output in the place of files.
#include "Program.h"
#include "SoundFiles.h"

#include <doctest/doctest.h>

namespace {

using Names = std::vector<std::string>;

Surroundings inside(const Workspace& work) {
  Surroundings surroundings;
  surroundings.directory = work.path("");
  surroundings.environment = {"TMPDIR=" + work.path("")};
  return surroundings;
}

} // namespace

TEST_CASE("recordings of all types come through a pipe") {
  const std::pair<const char*, int> types[] = {
      {"wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24},   {"au", SF_FORMAT_AU | SF_FORMAT_FLOAT},
      {"flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16}, {"ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS},
      {"aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16}, {"caf", SF_FORMAT_CAF | SF_FORMAT_PCM_16},
      {"voc", SF_FORMAT_VOC | SF_FORMAT_PCM_16},   {"mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III},
      {"w64", SF_FORMAT_W64 | SF_FORMAT_DOUBLE}};
  for (const auto& row : types) {
    const auto extension = row.first;
    const auto format = row.second;
    CAPTURE(extension);
    const Workspace work;
    const std::string in = std::string("in.") + extension;
    writeSound(work.path(in), {44100, 2, format, softNoise(30000)});
    const Outcome outcome = shell("treadshift-render -q " + in + " direct.wav --pedal 0:0,0.2:1 && cat " +
                                      in + " | treadshift-render -q - piped.wav --pedal 0:0,0.2:1",
                                  inside(work));
    CHECK(outcome.status == 0);
    CHECK(outcome.err == "");
    CHECK(readSound(work.path("piped.wav")).samples == readSound(work.path("direct.wav")).samples);
    CHECK(work.names() == Names{"direct.wav", in, "piped.wav"});
  }
}

TEST_CASE("the standard output gets AU in the sample format of the input") {
  const std::pair<int, int> formats[] = {{SF_FORMAT_PCM_16, SF_FORMAT_PCM_16},
                                         {SF_FORMAT_PCM_24, SF_FORMAT_PCM_24},
                                         {SF_FORMAT_FLOAT, SF_FORMAT_FLOAT}};
  for (const auto& row : formats) {
    const auto given = row.first;
    const auto written = row.second;
    CAPTURE(given);
    const Workspace work;
    writeSound(work.path("in.wav"), {48000, 2, SF_FORMAT_WAV | given, softNoise(20000)});
    const Outcome outcome = shell(
        "treadshift-render in.wav - --on off | cat > piped.au; treadshift-render in.wav - --on off > kept.au",
        inside(work));
    CHECK(outcome.status == 0);
    CHECK(outcome.err == "");
    for (const char* name : {"piped.au", "kept.au"}) {
      CAPTURE(name);
      const Sound out = readSound(work.path(name));
      CHECK(out.format == (SF_FORMAT_AU | written));
      CHECK(out.rateHz == 48000);
      CHECK(out.samples == readSound(work.path("in.wav")).samples);
    }
  }
}

TEST_CASE("other types go to the standard output whole") {
  for (const char* type : {"wav", "flac", "ogg", "aiff", "rf64"}) {
    CAPTURE(type);
    const Workspace work;
    writeSound(work.path("in.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(20000)});
    const std::string option = std::string(" --type ") + type;
    const Outcome outcome = shell("treadshift-render in.wav named" + option +
                                      " && treadshift-render in.wav -" + option + " | cat > piped",
                                  inside(work));
    CHECK(outcome.status == 0);
    CHECK(outcome.err == "");
    CHECK(fileBytes(work.path("piped")) == fileBytes(work.path("named")));
    CHECK(work.names() == Names{"in.wav", "named", "piped"});
  }
}

TEST_CASE("a chain of pedals works between programs") {
  const Workspace work;
  writeSound(work.path("in.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_DOUBLE, softNoise(30000)});
  const Outcome outcome = shell(
      "treadshift-render in.wav a.wav --pedal 1 && treadshift-render a.wav b.wav --color 2 --pedal 0.5 &&"
      "cat in.wav | treadshift-render - - --pedal 1 | treadshift-render - - --color 2 --pedal 0.5 > b.au",
      inside(work));
  CHECK(outcome.status == 0);
  CHECK(readSound(work.path("b.au")).samples == readSound(work.path("b.wav")).samples);
}

TEST_CASE("a recording cut short in a pipe is no recording") {
  const Workspace work;
  writeSound(work.path("in.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(40000)});
  const Outcome outcome = shell("head -c 40044 in.wav | treadshift-render - out.wav", inside(work));
  CHECK(outcome.status == 1);
  // 20000 of 40000 frames at 44100 Hz.
  CHECK(outcome.err ==
        "treadshift-render: input '-': damaged or cut short after 0.454 s of 0.907 s; give the whole file\n");
  CHECK(work.names() == Names{"in.wav"});
}

TEST_CASE("a pipe of unknown length is played to its end") {
  const Workspace work;
  writeSound(work.path("in.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(5000)});
  const auto expected = readSound(work.path("in.wav")).samples;
  std::string bytes = fileBytes(work.path("in.wav"));
  REQUIRE(bytes.substr(36, 4) == "data");
  // What programs put in place of the length that they do not know yet.
  for (const char* length : {"\xff\xff\xff\xff", "\x00\xf0\xff\x7f"}) {
    writeBytes(work.path("in.wav"), bytes.replace(40, 4, length, 4));
    const Outcome outcome = shell("cat in.wav | treadshift-render - out.wav --on off", inside(work));
    CHECK(outcome.status == 0);
    CHECK(outcome.err == "");
    const Sound out = readSound(work.path("out.wav"));
    CHECK(out.format == (SF_FORMAT_WAV | SF_FORMAT_PCM_16));
    CHECK(out.samples == expected);
  }
}

TEST_CASE("nothing in the pipe is an error") {
  const Workspace work;
  for (const char* source : {"true |", ": | cat |", "printf RI |", "echo no sound at all |", "< /dev/null"}) {
    CAPTURE(source);
    const std::string line = source[0] == '<' ? std::string("treadshift-render - out.wav ") + source
                                              : std::string(source) + " treadshift-render - out.wav";
    const Outcome outcome = shell(line, inside(work));
    CHECK(outcome.status == 1);
    CHECK(holds(outcome.err, "treadshift-render: input '-': not a sound file that can be read"));
    CHECK(work.names().empty());
  }
}

TEST_CASE("a reader that goes away is an error of one line") {
  const Workspace work;
  writeSound(work.path("in.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(400000)});
  for (const char* type : {"au", "wav"}) {
    CAPTURE(type);
    const Outcome outcome = shell(std::string("{ treadshift-render in.wav - --type ") + type +
                                      "; echo $? > status; } | head -c 100 > start",
                                  inside(work));
    CHECK(outcome.err == "treadshift-render: output '-': cannot be written: Broken pipe\n");
    CHECK(fileBytes(work.path("status")) == "1\n");
    CHECK(work.names() == Names{"in.wav", "start", "status"});
  }
}

TEST_CASE("no sound goes to a terminal, and none is read from one") {
  if (!hasTerminals()) {
    MESSAGE("not checked: there are no pseudo-terminals here");
    return;
  }
  const Workspace work;
  writeSound(work.path("in.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(4000)});
  Surroundings terminal;
  terminal.outputIsTerminal = true;
  const Outcome outcome = render({work.path("in.wav"), "-"}, terminal);
  CHECK(outcome.status == 2);
  CHECK(outcome.out == "");
  CHECK(outcome.err ==
        "treadshift-render: output '-': the standard output is a terminal; send it to a file or a "
        "program, with > or |\n");
}

TEST_CASE("an input that is also the standard output is refused") {
  const Workspace work;
  writeSound(work.path("in.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(4000)});
  const std::string bytes = fileBytes(work.path("in.wav"));
  for (const char* line : {"treadshift-render in.wav - >> in.wav", "treadshift-render - - < in.wav >> in.wav",
                           "treadshift-render - in.wav < in.wav"}) {
    CAPTURE(line);
    const Outcome outcome = shell(line, inside(work));
    CHECK(outcome.status == 1);
    CHECK(holds(outcome.err, "the same file as the input; "));
    CHECK(fileBytes(work.path("in.wav")) == bytes);
  }
}

TEST_CASE("a closed standard stream is not taken by a file") {
  const Workspace work;
  writeSound(work.path("in.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, noise(4000)});
  REQUIRE(shell("treadshift-render -q in.wav right.wav --gain 40", inside(work)).status == 0);
  const std::string right = fileBytes(work.path("right.wav"));
  for (const char* closed : {"<&-", ">&-", "2>&-", "<&- >&- 2>&-"}) {
    CAPTURE(closed);
    // The gain makes it say something.
    CHECK(shell("treadshift-render in.wav out.wav --gain 40 " + std::string(closed), inside(work)).status ==
          0);
    CHECK(fileBytes(work.path("out.wav")) == right);
  }
  for (const char* type : {"au", "wav"}) {
    const Outcome outcome =
        shell("treadshift-render in.wav - >&- -q --type " + std::string(type), inside(work));
    CHECK(outcome.status == 1);
    CHECK(holds(outcome.err, "treadshift-render: output '-': cannot be written: "));
  }
  CHECK(holds(shell("treadshift-render - out.wav <&-", inside(work)).err, "input '-': not a sound file"));
  CHECK(work.names() == Names{"in.wav", "out.wav", "right.wav"});
}
