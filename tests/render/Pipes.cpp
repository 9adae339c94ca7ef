// The standard input and output in the place of files.
#include "Program.h"
#include "SoundFiles.h"

#include <doctest/doctest.h>

TEST_CASE("the standard output gets AU in the sample format of the input") {
  for (int format : {SF_FORMAT_PCM_16, SF_FORMAT_PCM_24, SF_FORMAT_FLOAT}) {
    CAPTURE(format);
    const Workspace work;
    writeSound("in.wav", {48000, 2, SF_FORMAT_WAV | format, softNoise(20000)});
    CHECK(sh("treadshift-render in.wav - --on off | cat > piped.au; treadshift-render in.wav - --on off > "
             "kept.au")
              .err == "");
    for (const char* name : {"piped.au", "kept.au"}) {
      CAPTURE(name);
      const Sound out = readSound(name);
      CHECK(out.format == (SF_FORMAT_AU | format));
      CHECK(out.rateHz == 48000);
      CHECK(out.samples == samplesOf("in.wav"));
    }
  }
}

TEST_CASE("other types go to the standard output whole") {
  for (const std::string type : {"wav", "flac", "ogg", "aiff", "rf64"}) {
    const Workspace work;
    writeTake("in.wav", 20000);
    sh("treadshift-render in.wav named --type " + type + " && treadshift-render in.wav - --type " + type +
       " | cat > piped");
    CHECK(contentsOf("piped") == contentsOf("named"));
    CHECK(work.names() == Names{"in.wav", "named", "piped"});
  }
}

TEST_CASE("a chain of pedals works between programs") {
  const Workspace work;
  writeTake("in.wav", 30000, 1, kWavDouble);
  sh("treadshift-render -q in.wav a.wav --pedal 1 && treadshift-render -q a.wav b.wav --color 2 --pedal 0.5 "
     "&&"
     "cat in.wav | treadshift-render -q - - --pedal 1 | treadshift-render -q - - --color 2 --pedal 0.5 > "
     "b.au");
  CHECK(samplesOf("b.au") == samplesOf("b.wav"));
}

TEST_CASE("a recording cut short in a pipe is no recording") {
  const Workspace work;
  writeTake("in.wav", 40000);
  const Outcome outcome = shell("head -c 40044 in.wav | treadshift-render - out.wav");
  CHECK(outcome.status == 1);
  // 20000 of 40000 frames at 44100 Hz.
  CHECK(outcome.err ==
        "treadshift-render: input '-': damaged or cut short after 0.454 s of 0.907 s; give the whole file\n");
  CHECK(work.names() == Names{"in.wav"});
}

TEST_CASE("nothing in the pipe is an error") {
  const Workspace work;
  for (const std::string source : {"true", ": | cat", "printf RI", "echo no sound at all", "cat /dev/null"}) {
    CAPTURE(source);
    const Outcome outcome = shell(source + " | treadshift-render - out.wav");
    CHECK(outcome.status == 1);
    CHECK(holds(outcome.err, "treadshift-render: input '-': not a sound file that can be read"));
    CHECK(work.names().empty());
  }
}

TEST_CASE("a reader that goes away is an error of one line") {
  const Workspace work;
  writeTake("in.wav", 400000);
  for (const std::string type : {"au", "wav"}) {
    CAPTURE(type);
    const Outcome outcome =
        shell("{ treadshift-render in.wav - --type " + type + "; echo $? > status; } | head -c 100 > start");
    CHECK(outcome.err == "treadshift-render: output '-': cannot be written: Broken pipe\n");
    CHECK(contentsOf("status") == "1\n");
    CHECK(work.names() == Names{"in.wav", "start", "status"});
  }
}

TEST_CASE("no sound goes to a terminal, and none is read from one") {
  if (!hasTerminals()) return;
  const Workspace work;
  writeTake("in.wav", 4000);
  Surroundings terminal;
  terminal.outputIsTerminal = true;
  checkRefused(2, "in.wav -",
               "output '-': the standard output is a terminal; send it to a file or a program, with > or |\n",
               terminal);
}

TEST_CASE("an input that is also the standard output is refused") {
  const Workspace work;
  writeTake("in.wav", 4000);
  const std::string bytes = contentsOf("in.wav");
  for (const char* line : {"treadshift-render in.wav - >> in.wav", "treadshift-render - - < in.wav >> in.wav",
                           "treadshift-render - in.wav < in.wav"}) {
    CAPTURE(line);
    const Outcome outcome = shell(line);
    CHECK(outcome.status == 1);
    CHECK(holds(outcome.err, "the same file as the input; "));
    CHECK(contentsOf("in.wav") == bytes);
  }
}

TEST_CASE("a closed standard stream is not taken by a file") {
  const Workspace work;
  writeTake("in.wav", 4000);
  sh("treadshift-render -q in.wav right.wav --gain 60");
  for (const std::string closed : {"<&-", ">&-", "2>&-", "<&- >&- 2>&-"}) {
    CAPTURE(closed);
    CHECK(shell("treadshift-render in.wav out.wav --gain 60 " + closed).status == 0); // it says something
    CHECK(contentsOf("out.wav") == contentsOf("right.wav"));
  }
  for (const std::string type : {"au", "wav"}) {
    const Outcome outcome = shell("treadshift-render in.wav - >&- -q --type " + type);
    CHECK(outcome.status == 1);
    CHECK(holds(outcome.err, "treadshift-render: output '-': cannot be written: "));
  }
  CHECK(holds(shell("treadshift-render - out.wav <&-").err, "input '-': not a sound file"));
  CHECK(work.names() == Names{"in.wav", "out.wav", "right.wav"});
}
