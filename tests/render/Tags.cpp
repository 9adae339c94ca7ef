// What a recording carries beside its sound, and what its output tells of how it was made. Files come from
// the tools that write them, and other tools read the outputs.
#include "Program.h"
#include "SoundFiles.h"

#include <doctest/doctest.h>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

void writeTakeAt48(const std::string& path, unsigned seed = 1) {
  writeSound(path, {48000, 1, kWav16, softNoise(24000, seed)});
}

std::string commentOf(const std::string& path) {
  SF_INFO info = {};
  SNDFILE* const file = sf_open(path.c_str(), SFM_READ, &info);
  REQUIRE(file != nullptr);
  const char* const text = sf_get_string(file, SF_STR_COMMENT);
  const std::string comment = text ? text : "";
  sf_close(file);
  return comment;
}

void writeWithComment(const std::string& path, const std::string& comment) {
  SF_INFO info = {0, 44100, 1, kWav16, 0, 0};
  SNDFILE* const file = sf_open(path.c_str(), SFM_WRITE, &info);
  REQUIRE(file != nullptr);
  REQUIRE(sf_set_string(file, SF_STR_COMMENT, comment.c_str()) == 0);
  const auto samples = softNoise(3000);
  REQUIRE(sf_write_double(file, samples.data(), 3000) == 3000);
  REQUIRE(sf_close(file) == 0);
}

std::string chunk(const std::string& id, const std::string& bytes) {
  return id + number32(static_cast<std::uint32_t>(bytes.size())) + bytes +
         std::string(bytes.size() % 2, '\0');
}

std::string cuePoint(std::uint32_t name, std::uint32_t frame) {
  return number32(name) + number32(frame) + "data" + number32(0) + number32(0) + number32(frame);
}

// A WAV file of 1000 frames with these chunks in front of the sound.
void writeChunks(const std::string& path, const std::string& chunks) {
  const std::string format =
      std::string("\1\0\1\0", 4) + number32(44100) + number32(88200) + std::string("\2\0\20\0", 4);
  const std::string body = "WAVE" + chunk("fmt ", format) + chunks + chunk("data", std::string(2000, '\1'));
  writeBytes(path, "RIFF" + number32(static_cast<std::uint32_t>(body.size())) + body);
}

const std::string kBext = "a take" + std::string(256 + 32 + 32 - 6, '\0') + "2024-02-0312:34:56" +
                          number32(0x12345678) + number32(1) + std::string(256, '\0') + "A=ANALOGUE\r\n";
const std::string kLabels =
    "adtl" + chunk("labl", number32(1) + "verse" + '\0') + chunk("labl", number32(2) + "end" + '\0');
const std::string kSampler = std::string(28, '\2') + number32(1) + number32(0) + number32(7) + number32(0) +
                             number32(10) + number32(999) + number32(0) + number32(2);

} // namespace

TEST_CASE("texts that other tools wrote stay in every type that holds them") {
  if (!isInstalled("ffmpeg lame flac oggenc opusenc")) return;
  const Workspace work;
  writeTakeAt48("take.wav");
  const std::string ffmpeg =
      "ffmpeg -v error -i take.wav -metadata title=Tück -metadata artist=Someone -metadata "
      "album=Lot -metadata date=2020 -metadata track=3 -metadata genre=Blues -metadata "
      "comment=mine ";
  const std::string ogg = "-t Tück -a Someone -l Lot -G Blues -d 2020 -c COMMENT=mine -c TRACKNUMBER=3 ";
  const std::pair<std::string, std::string> tools[] = {
      {"ffmpeg.flac", ffmpeg},
      {"ffmpeg.wav", ffmpeg},
      {"ffmpeg.mp3", ffmpeg},
      {"ffmpeg.opus", ffmpeg},
      {"ffmpeg.aiff", ffmpeg + "-write_id3v2 1 "},
      {"lame.mp3",
       "lame --quiet --id3v2-utf16 --tt Tück --ta Someone --tl Lot --ty 2020 --tn 3 --tg Blues --tc "
       "mine take.wav "},
      {"flac.flac", "flac -s -T TITLE=Tück -T ARTIST=Someone -T ALBUM=Lot -T DATE=2020 -T TRACKNUMBER=3 -T "
                    "GENRE=Blues -T COMMENT=mine take.wav -o "},
      {"oggenc.ogg", "oggenc -Q " + ogg + "take.wav -o "},
      {"opusenc.opus", "opusenc --quiet --title Tück --artist Someone --album Lot --date 2020 --genre Blues "
                       "--comment COMMENT=mine --comment TRACKNUMBER=3 take.wav "}};
  Names outputs;
  for (const auto& [input, call] : tools) {
    sh("export LC_ALL=C.UTF-8; " + call + input);
    Names types = {"wav", "mp3"};
    if (input == "ffmpeg.flac") // one for all, the others differ in how they are read
      types = {"wav", "aiff", "flac", "ogg", "opus", "mp3", "rf64", "caf"};
    for (const std::string& type : types) {
      outputs.push_back("from-" + input + "." + type);
      sh("treadshift-render -q --on off " + input + " " + outputs.back());
    }
  }
  // One call tells the texts of all, in lines "title : Tück" below each file's name, and decodes them.
  std::string inputs, maps;
  for (const std::string& output : outputs) {
    maps += " -map " + std::to_string(linesOf(inputs).size()) + ":a";
    inputs += " -i " + output + " \\\n";
  }
  const std::string told = sh("ffmpeg -hide_banner -nostdin -v level+info" + inputs + maps +
                              " -f null - 2>&1 | sed 's/ *: /=/' | tr A-Z a-z")
                               .out;
  CHECK_FALSE(holds(told, "[error]"));
  CHECK_FALSE(holds(told, "[fatal]"));
  for (const std::string& output : outputs) {
    CAPTURE(output);
    const std::size_t start = told.find("from '" + output + "'");
    REQUIRE(start != std::string::npos);
    const std::string found = told.substr(start, told.find("input #", start) - start);
    CAPTURE(found);
    for (const char* text :
         {"title=tück", "artist=someone", "album=lot", "date=2020", "genre=blues", "comment=mine\n"})
      CHECK(holds(found, text));
    CHECK((holds(found, "track=3") || holds(found, "tracknumber=3")));
  }
}

TEST_CASE("texts with names of their own stay, those of the old file go, and -v tells what is lost") {
  if (!isInstalled("flac metaflac")) return;
  const Workspace work;
  writeTakeAt48("take.wav");
  sh("flac -s -T ALBUMARTIST=Band -T MOOD=blue -T ENCODER=old -T REPLAYGAIN_TRACK_GAIN=-3dB -o in.flac "
     "take.wav");
  sh("treadshift-render in.flac out.flac");
  const std::string listed = sh("metaflac --list --block-type=VORBIS_COMMENT out.flac").out;
  CHECK(holds(listed, "ALBUMARTIST=Band"));
  CHECK(holds(listed, "MOOD=blue"));
  CHECK_FALSE(holds(listed, "REPLAYGAIN"));
  CHECK_FALSE(holds(listed, "old"));
  CHECK(holds(render("in.flac out.caf -v").err,
              "not kept of what the recording carries: encoder, replaygain_track_gain, albumartist, mood\n"));
  CHECK_FALSE(holds(render("in.flac new.caf").err, "not kept"));
}

TEST_CASE("cue points, loops and time reference stay as they stand, but for those behind the end") {
  const Workspace work;
  const std::string cues = chunk("cue ", number32(2) + cuePoint(1, 500) + cuePoint(2, 1000));
  // The bytes of each but for its size: libsndfile fills up to four bytes.
  const std::string kept[] = {cues, chunk("LIST", kLabels), chunk("smpl", kSampler), chunk("bext", kBext),
                              chunk("iXML", "<BWFXML/>")};
  std::string all;
  for (const std::string& each : kept)
    all += each;
  writeChunks("in.wav", all);
  for (const std::string output : {"out.wav", "out.rf64"}) {
    CHECK_FALSE(holds(render("in.wav -v " + output).err, "not kept"));
    const std::string bytes = contentsOf(output);
    for (const std::string& each : kept) {
      CAPTURE(each.substr(0, 4));
      const std::size_t at = bytes.find(each.substr(8, each.size() - 9));
      REQUIRE(at != std::string::npos);
      CHECK(bytes.substr(at - 8, 4) == each.substr(0, 4));
    }
    CHECK(samplesOf(output).size() == 1000);
  }
  CHECK(holds(render("in.wav out.flac -v").err, "carries: cue, LIST, smpl, bext, iXML\n"));

  writeChunks("in.wav", chunk("cue ", number32(2) + cuePoint(1, 500) + cuePoint(2, 1001)) +
                            chunk("smpl", std::string(kSampler).replace(48, 4, number32(1000))));
  CHECK(
      holds(render("in.wav out.wav -v").err, "carries: 1 cue point behind the end, 1 loop behind the end\n"));
  CHECK(holds(contentsOf("out.wav"), chunk("cue ", number32(1) + cuePoint(1, 500))));
}

TEST_CASE("chunks that lie about themselves break nothing") {
  const Workspace work;
  for (const std::string& lie :
       {chunk("cue ", number32(0xffffffff)), chunk("cue ", "\1"), chunk("smpl", "12345"),
        chunk("smpl", std::string(36, '\xff')), chunk("bext", ""), chunk("LIST", "adt")}) {
    writeChunks("in.wav", lie);
    const Outcome outcome = render("in.wav out.wav -q");
    if (outcome.status != 0) {
      CHECK(holds(outcome.err, ": input '")); // what libsndfile does not read, its tags cannot mend
      continue;
    }
    CHECK(samplesOf("out.wav").size() == samplesOf("in.wav").size());
    fs::remove("out.wav");
  }
}

TEST_CASE("with --no-tags there are none, and the sound is the same") {
  const Workspace work;
  writeWithComment("in.wav", "mine");
  for (const std::string type : {".wav", ".flac", ".ogg", ".mp3", ".aiff"}) {
    CAPTURE(type);
    const std::string with = "with" + type, without = "without" + type;
    REQUIRE(render("in.wav --color 2 " + with).status == 0);
    REQUIRE(render("in.wav --color 2 --no-tags " + without).status == 0);
    CHECK(holds(contentsOf(with), "mine\ntreadshift-render 0.1.0: --color 2"));
    CHECK_FALSE(holds(contentsOf(without), "mine"));
    CHECK_FALSE(holds(contentsOf(without), "treadshift"));
    CHECK(samplesOf(with) == samplesOf(without));
  }
}

TEST_CASE("what an output tells brings back its bytes, and options given besides go over it") {
  const Workspace work;
  writeTakeAt48("take.wav");
  writeTakeAt48("other.wav", 2);
  writeBytes("sweep.csv", "0,0.1\n0.1234567890123,1\n0.3,0.7\n");
  const std::string rest = " --dither --bits 24 --channels left --tail 0.1 --block 100";
  sh("treadshift-render take.wav one.wav --preset octave-climb --pedal sweep.csv --tone 0:0.3,0.2:1 --gain "
     "-3" +
     rest);
  const std::string line = sh("treadshift-render --again one.wav").out;
  CHECK(line == "treadshift-render 0.1.0: --mode 0 --tone 0:0.3,0.2:1 --color 2 --pedal "
                "0:0.1,0.1234567890123:1,0.3:0.7 --block 100 --bits 24 --channels left --tail 0.1 --gain -3 "
                "--dither\n");
  CHECK(commentOf("one.wav") + "\n" == line);
  // What it repeats, what is given besides, and the same typed in full.
  struct Row {
    std::string input, again, typed;
  };
  for (const Row& row : {
           Row{"take.wav", "", "--preset octave-climb --pedal sweep.csv --tone 0:0.3,0.2:1 --gain -3"},
           {"other.wav", "--gain -6 --pedal 1",
            "--preset octave-climb --pedal 1 --tone 0:0.3,0.2:1 --gain -6"},
           {"other.wav", "--preset bass-drop --no-tags",
            "--preset bass-drop --pedal sweep.csv --gain -3 --no-tags"},
       }) {
    sh("treadshift-render -y --again one.wav " + row.input + " again.wav " + row.again);
    sh("treadshift-render -y " + row.input + " typed.wav " + row.typed + rest);
    CHECK(contentsOf("again.wav") == contentsOf("typed.wav"));
  }
  // Shapes and intervals are told as what they come to.
  sh("treadshift-render take.wav shape.wav --interval sine:0.3:-2st-+3st --tone steps:0.2:0.1-0.9-0.4");
  sh("treadshift-render -y --again shape.wav take.wav again.wav");
  CHECK(contentsOf("again.wav") == contentsOf("shape.wav"));
  CHECK(holds(commentOf("shape.wav"), " --tone steps:0.2:0.1-0.9-0.4 --color "));
  CHECK(holds(commentOf("shape.wav"), " --pedal sine:0.3:"));
  sh("treadshift-render --again shape.wav take.wav fifth.wav --interval +1st");
  // A rendering of a rendering tells both, and repeats the last.
  sh("treadshift-render one.wav seven.flac --color 0");
  CHECK(commentOf("seven.flac") == line + "treadshift-render 0.1.0: --color 0");
  CHECK(sh("treadshift-render --again seven.flac").out == "treadshift-render 0.1.0: --color 0\n");
}

TEST_CASE("a comment names settings and nothing else") {
  const Workspace work;
  const std::string start = "treadshift-render 9.9: ",
                    silent = "its comment does not tell how this program made it; ";
  const std::pair<std::string, std::string> comments[] = {
      {start + "--plot a.png", "its comment names '--plot', which is no setting; "},
      {start + "--out-dir a", "its comment names '--out-dir', which is no setting; "},
      {start + "--save-preset=a", "its comment names '--save-preset=a', which is no setting; "},
      {start + "--color 2 --module evil.so", "its comment names '--module', which is no setting; "},
      {start + "other.wav", "its comment names 'other.wav', which is no setting; "},
      {start + "--pedal sweep.csv", "its comment names the file 'sweep.csv', which is not read; "},
      {start + "--pedal /dev/zero", "its comment names the file '/dev/zero', which is not read; "},
      {start + "--color 1 --color 2", "its comment names --color twice; "},
      {start + "--color", "its comment gives --color no value; "},
      {start + "--tone '0.5", "its comment has a quotation without an end; "},
      {start + "--pedal '(too long to keep)'", "its comment does not tell --pedal, which was too long; "},
      {"mine", silent},
      {"treadshift-render: --color 2", silent},
  };
  for (const auto& row : comments) {
    CAPTURE(row.first);
    writeWithComment("in.wav", row.first);
    checkRefused(1, "--again in.wav in.wav out.wav", "--again 'in.wav': " + row.second);
  }
  writeWithComment("in.wav", start + "--tone 9");
  CHECK(holds(render("--again in.wav in.wav out.wav").err, "--tone '9': the value is out of range"));
  CHECK(holds(render("--again none.wav in.wav out.wav").err, "--again 'none.wav': no such file; "));
  CHECK(holds(render("--again '' in.wav out.wav").err, "--again '': no file; "));
}

TEST_CASE("a course too long for a comment is told, and asked for again") {
  const Workspace work;
  writeTakeAt48("take.wav");
  std::string sweep;
  for (int i = 0; i < 200; ++i)
    sweep += std::to_string(i * 0.001) + "," + (i % 2 ? "1" : "0") + "\n";
  writeBytes("sweep.csv", sweep);
  const Outcome outcome = render("take.wav out.wav --pedal sweep.csv -v");
  CHECK(outcome.status == 0);
  CHECK(holds(outcome.err, "the comment does not tell --pedal, whose course of "));
  CHECK(commentOf("out.wav") == "treadshift-render 0.1.0: --pedal '(too long to keep)'");
  CHECK(render("--again out.wav take.wav two.wav").status == 1);
  sh("treadshift-render --again out.wav take.wav two.wav --pedal sweep.csv");
  CHECK(contentsOf("two.wav") == contentsOf("out.wav"));
}

TEST_CASE("a recording that this program did not make is replaced only with -y") {
  const Workspace work;
  const std::string foreign = "exists, and this program did not make it",
                    right = "; to render several recordings give --out-dir DIR, to replace it -y\n";
  writeTakeAt48("a.wav");
  writeTakeAt48("b.wav", 2);
  const std::string before = contentsOf("b.wav");
  writeBytes("text.flac", "no sound at all");
  for (const std::string output : {"b.wav", "text.flac"})
    checkRefused(1, "a.wav " + output, "output '" + output + "': " + foreign + right);
  CHECK(contentsOf("b.wav") == before);
  writeBytes("empty.wav", "");
  for (const std::string output :
       {"c.wav", "c.rf64", "c.flac", "c.ogg", "c.opus", "c.mp3", "c.aiff", "c.caf", "empty.wav"}) {
    CAPTURE(output);
    for (const std::string color : {"1", "2"}) // new, and over its own
      CHECK(render("a.wav " + output + " --color " + color).status == 0);
  }
  for (const std::string output : {"c.au", "c.w64"}) {
    CHECK(render("a.wav " + output).status == 0);
    checkRefused(1, "a.wav " + output,
                 "output '" + output +
                     "': exists, and a file of this type does not tell whether this program made it" + right);
  }
  CHECK(render("a.wav b.wav -y").status == 0);
  CHECK(contentsOf("b.wav") != before);

  fs::create_directory("bent");
  writeTakeAt48("bent/a.wav");
  writeTakeAt48("d.wav");
  const Outcome several = render("a.wav d.wav --out-dir bent");
  CHECK(several.status == 1);
  CHECK(linesOf(several.err).size() == 1);
  CHECK(holds(several.err, "bent/a.wav': " + foreign));
  CHECK(fs::exists("bent/d.wav"));
}
