// What a recording carries beside its sound, and what its output tells of how it was made. Files come from
// the tools that write them, and other tools read the outputs.
#include "Program.h"
#include "SoundFiles.h"

#include <algorithm>
#include <doctest/doctest.h>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

constexpr int kWav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;

bool isThere(const std::string& tools) {
  const bool all =
      shell("for tool in " + tools + "; do command -v $tool >/dev/null || exit 1; done").status == 0;
  if (!all) MESSAGE("not checked: of ", tools, " not all are there");
  return all;
}

void writeTake(const Workspace& work, const std::string& name, unsigned seed = 1) {
  writeSound(work.path(name), {48000, 1, kWav16, softNoise(24000, seed)});
}

// A line of shell in the workspace, which must go well.
std::string sh(const Workspace& work, const std::string& line) {
  Surroundings surroundings;
  surroundings.directory = work.path("");
  const Outcome outcome = shell(line, surroundings);
  CAPTURE(line);
  CAPTURE(outcome.err);
  CHECK(outcome.status == 0);
  return outcome.out;
}

// The texts as ffprobe shows them, "TAG:title=..." in small letters.
std::string probed(const Workspace& work, const std::string& name) {
  return sh(work, "ffprobe -v error -show_entries format_tags:stream_tags " + name + " | tr A-Z a-z");
}

std::string commentOf(const Workspace& work, const std::string& name) {
  SF_INFO info = {};
  SNDFILE* const file = sf_open(work.path(name).c_str(), SFM_READ, &info);
  REQUIRE(file != nullptr);
  const char* const text = sf_get_string(file, SF_STR_COMMENT);
  const std::string comment = text ? text : "";
  sf_close(file);
  return comment;
}

void writeWithComment(const Workspace& work, const std::string& name, const std::string& comment) {
  SF_INFO info = {0, 44100, 1, kWav16, 0, 0};
  SNDFILE* const file = sf_open(work.path(name).c_str(), SFM_WRITE, &info);
  REQUIRE(file != nullptr);
  REQUIRE(sf_set_string(file, SF_STR_COMMENT, comment.c_str()) == 0);
  const auto samples = softNoise(3000);
  REQUIRE(sf_write_double(file, samples.data(), 3000) == 3000);
  REQUIRE(sf_close(file) == 0);
}

std::string number32(std::uint32_t number) {
  std::string bytes;
  for (int i = 0; i < 4; ++i)
    bytes += static_cast<char>(number >> 8 * i);
  return bytes;
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

const std::vector<std::string> kOutputs = {"out.wav",  "out.aiff", "out.flac", "out.ogg",
                                           "out.opus", "out.mp3",  "out.rf64", "out.caf"};

const std::string kBext = "a take" + std::string(256 + 32 + 32 - 6, '\0') + "2024-02-0312:34:56" +
                          number32(0x12345678) + number32(1) + std::string(256, '\0') + "A=ANALOGUE\r\n";
const std::string kLabels =
    "adtl" + chunk("labl", number32(1) + "verse" + '\0') + chunk("labl", number32(2) + "end" + '\0');
const std::string kSampler = std::string(28, '\2') + number32(1) + number32(0) + number32(7) + number32(0) +
                             number32(10) + number32(999) + number32(0) + number32(2);

} // namespace

TEST_CASE("texts that other tools wrote stay in every type that holds them") {
  if (!isThere("ffmpeg ffprobe lame flac oggenc opusenc")) return;
  const Workspace work;
  writeTake(work, "take.wav");
  const std::string texts =
      "-metadata title=Tück -metadata artist=Someone -metadata album=Lot -metadata date=2020 "
      "-metadata track=3 -metadata genre=Blues -metadata comment=mine ";
  const std::string ogg = "-t Tück -a Someone -l Lot -G Blues -d 2020 -c COMMENT=mine -c TRACKNUMBER=3 ";
  const std::vector<std::pair<std::string, std::string>> tools = {
      {"ffmpeg.wav", "ffmpeg -v error -i take.wav " + texts + "ffmpeg.wav"},
      {"ffmpeg.flac", "ffmpeg -v error -i take.wav " + texts + "ffmpeg.flac"},
      {"ffmpeg.mp3", "ffmpeg -v error -i take.wav " + texts + "ffmpeg.mp3"},
      {"ffmpeg.opus", "ffmpeg -v error -i take.wav " + texts + "ffmpeg.opus"},
      {"ffmpeg.aiff", "ffmpeg -v error -i take.wav " + texts + "-write_id3v2 1 ffmpeg.aiff"},
      {"lame.mp3",
       "lame --quiet --id3v2-utf16 --tt Tück --ta Someone --tl Lot --ty 2020 --tn 3 --tg Blues --tc mine "
       "take.wav lame.mp3"},
      {"flac.flac", "flac -s -T TITLE=Tück -T ARTIST=Someone -T ALBUM=Lot -T DATE=2020 -T TRACKNUMBER=3 -T "
                    "GENRE=Blues -T COMMENT=mine -o flac.flac take.wav"},
      {"oggenc.ogg", "oggenc -Q " + ogg + "-o oggenc.ogg take.wav"},
      {"opusenc.opus", "opusenc --quiet --title Tück --artist Someone --album Lot --date 2020 --genre Blues "
                       "--comment COMMENT=mine --comment TRACKNUMBER=3 take.wav opusenc.opus"}};
  for (const auto& row : tools) {
    const std::string &input = row.first, &call = row.second;
    sh(work, "export LC_ALL=C.UTF-8; " + call);
    const bool isOneForAll = input == "ffmpeg.flac"; // the others differ in how they are read
    for (const std::string& output :
         isOneForAll ? kOutputs : std::vector<std::string>{"out.wav", "out.mp3"}) {
      CAPTURE(input);
      CAPTURE(output);
      sh(work, "treadshift-render -q --on off " + input + " " + output);
      const std::string found = probed(work, output);
      CAPTURE(found);
      for (const char* text :
           {"=tück", "artist=someone", "album=lot", "date=2020", "genre=blues", "comment=mine\n"})
        CHECK(holds(found, text));
      CHECK((holds(found, "track=3") || holds(found, "tracknumber=3")));
      CHECK(sh(work, "ffmpeg -v error -i " + output + " -f null - 2>&1") == "");
    }
  }
}

TEST_CASE("texts with names of their own stay, those of the old file go, and -v tells what is lost") {
  if (!isThere("flac metaflac ffprobe")) return;
  const Workspace work;
  writeTake(work, "take.wav");
  sh(work, "flac -s -T ALBUMARTIST=Band -T MOOD=blue -T ENCODER=old -T REPLAYGAIN_TRACK_GAIN=-3dB -o in.flac "
           "take.wav");
  sh(work, "treadshift-render in.flac out.flac");
  const std::string listed = sh(work, "metaflac --list --block-type=VORBIS_COMMENT out.flac");
  CHECK(holds(listed, "ALBUMARTIST=Band"));
  CHECK(holds(listed, "MOOD=blue"));
  CHECK_FALSE(holds(listed, "REPLAYGAIN"));
  CHECK_FALSE(holds(listed, "old"));
  const Outcome outcome = render({work.path("in.flac"), work.path("out.caf"), "-v"});
  CHECK(holds(outcome.err,
              "not kept of what the recording carries: encoder, replaygain_track_gain, albumartist, mood\n"));
  CHECK_FALSE(holds(render({work.path("in.flac"), work.path("new.caf")}).err, "not kept"));
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
  writeChunks(work.path("in.wav"), all);
  for (const char* output : {"out.wav", "out.rf64"}) {
    const Outcome outcome = render({work.path("in.wav"), work.path(output), "-v"});
    CHECK_FALSE(holds(outcome.err, "not kept"));
    for (const std::string& each : kept) {
      CAPTURE(each.substr(0, 4));
      const std::string bytes = fileBytes(work.path(output)), content = each.substr(8, each.size() - 9);
      const std::size_t at = bytes.find(content);
      REQUIRE(at != std::string::npos);
      CHECK(bytes.substr(at - 8, 4) == each.substr(0, 4));
    }
    CHECK(readSound(work.path(output)).samples.size() == 1000);
  }
  const Outcome flac = render({work.path("in.wav"), work.path("out.flac"), "-v"});
  CHECK(holds(flac.err, "carries: cue, LIST, smpl, bext, iXML\n"));

  writeChunks(work.path("in.wav"), chunk("cue ", number32(2) + cuePoint(1, 500) + cuePoint(2, 1001)) +
                                       chunk("smpl", std::string(kSampler).replace(48, 4, number32(1000))));
  const Outcome behind = render({work.path("in.wav"), work.path("out.wav"), "-v"});
  CHECK(holds(behind.err, "carries: 1 cue point behind the end, 1 loop behind the end\n"));
  CHECK(holds(fileBytes(work.path("out.wav")), chunk("cue ", number32(1) + cuePoint(1, 500))));
}

TEST_CASE("chunks that lie about themselves break nothing") {
  const Workspace work;
  for (const std::string& lie :
       {chunk("cue ", number32(0xffffffff)), chunk("cue ", "\1"), chunk("smpl", "12345"),
        chunk("smpl", std::string(36, '\xff')), chunk("bext", ""), chunk("LIST", "adt")}) {
    writeChunks(work.path("in.wav"), lie);
    const Outcome outcome = render({work.path("in.wav"), work.path("out.wav"), "-q"});
    if (outcome.status != 0) {
      CHECK(holds(outcome.err, ": input '")); // what libsndfile does not read, its tags cannot mend
      continue;
    }
    CHECK(readSound(work.path("out.wav")).samples.size() == readSound(work.path("in.wav")).samples.size());
    fs::remove(work.path("out.wav"));
  }
}

TEST_CASE("with --no-tags there are none, and the sound is the same") {
  const Workspace work;
  writeWithComment(work, "in.wav", "mine");
  for (const char* type : {".wav", ".flac", ".ogg", ".mp3", ".aiff"}) {
    CAPTURE(type);
    const std::string with = std::string("with") + type, without = std::string("without") + type;
    REQUIRE(render({work.path("in.wav"), work.path(with), "--color", "2"}).status == 0);
    REQUIRE(render({work.path("in.wav"), work.path(without), "--color", "2", "--no-tags"}).status == 0);
    CHECK(holds(fileBytes(work.path(with)), "mine\ntreadshift-render 0.1.0: --color 2"));
    CHECK_FALSE(holds(fileBytes(work.path(without)), "mine"));
    CHECK_FALSE(holds(fileBytes(work.path(without)), "treadshift"));
    CHECK(readSound(work.path(with)).samples == readSound(work.path(without)).samples);
  }
}

TEST_CASE("what an output tells brings back its bytes, and options given besides go over it") {
  const Workspace work;
  writeTake(work, "take.wav");
  writeTake(work, "other.wav", 2);
  writeBytes(work.path("sweep.csv"), "0,0.1\n0.1234567890123,1\n0.3,0.7\n");
  sh(work, "treadshift-render take.wav one.wav --preset octave-climb --pedal sweep.csv --tone 0:0.3,0.2:1 "
           "--gain -3 "
           "--dither --bits 24 --channels left --tail 0.1 --block 100");
  const std::string line = sh(work, "treadshift-render --again one.wav");
  CHECK(line == "treadshift-render 0.1.0: --mode 0 --tone 0:0.3,0.2:1 --color 2 --pedal "
                "0:0.1,0.1234567890123:1,0.3:0.7 --block 100 --bits 24 --channels left --tail 0.1 --gain -3 "
                "--dither\n");
  CHECK(commentOf(work, "one.wav") + "\n" == line);
  sh(work, "treadshift-render --again one.wav take.wav two.wav");
  CHECK(fileBytes(work.path("two.wav")) == fileBytes(work.path("one.wav")));
  sh(work, "treadshift-render --again one.wav other.wav three.wav --gain -6 --pedal 1");
  sh(work,
     "treadshift-render other.wav four.wav --preset octave-climb --pedal 1 --tone 0:0.3,0.2:1 --gain -6 "
     "--dither --bits 24 --channels left --tail 0.1 --block 100");
  CHECK(fileBytes(work.path("three.wav")) == fileBytes(work.path("four.wav")));
  sh(work, "treadshift-render --again one.wav other.wav five.wav --preset bass-drop --no-tags");
  sh(work, "treadshift-render other.wav six.wav --preset bass-drop --pedal sweep.csv --gain -3 --no-tags "
           "--dither --bits 24 --channels left --tail 0.1 --block 100");
  CHECK(readSound(work.path("five.wav")).samples == readSound(work.path("six.wav")).samples);
  // Shapes and intervals are told as what they come to.
  sh(work, "treadshift-render take.wav shape.wav --interval sine:0.3:-2st-+3st --tone steps:0.2:0.1-0.9-0.4");
  sh(work, "treadshift-render --again shape.wav take.wav again.wav");
  CHECK(fileBytes(work.path("again.wav")) == fileBytes(work.path("shape.wav")));
  CHECK(holds(commentOf(work, "shape.wav"), " --tone steps:0.2:0.1-0.9-0.4 --color "));
  CHECK(holds(commentOf(work, "shape.wav"), " --pedal sine:0.3:"));
  sh(work, "treadshift-render --again shape.wav take.wav fifth.wav --interval +1st");
  // A rendering of a rendering tells both, and repeats the last.
  sh(work, "treadshift-render one.wav seven.flac --color 0");
  CHECK(commentOf(work, "seven.flac") == line + "treadshift-render 0.1.0: --color 0");
  CHECK(sh(work, "treadshift-render --again seven.flac") == "treadshift-render 0.1.0: --color 0\n");
}

TEST_CASE("a comment names settings and nothing else") {
  const Workspace work;
  writeBytes(work.path("1:1"), "");
  const std::string start = "treadshift-render 9.9: ";
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
      {"mine", "its comment does not tell how this program made it; "},
      {"treadshift-render: --color 2", "its comment does not tell how this program made it; "},
  };
  Surroundings surroundings;
  surroundings.directory = work.path("");
  for (const auto& row : comments) {
    const std::string &comment = row.first, &wrong = row.second;
    CAPTURE(comment);
    writeWithComment(work, "in.wav", comment);
    const auto before = work.names();
    const Outcome outcome = render({"--again", "in.wav", "in.wav", "out.wav"}, surroundings);
    CHECK(outcome.status == 1);
    CHECK(holds(outcome.err, "treadshift-render: --again 'in.wav': " + wrong));
    CHECK(std::count(outcome.err.begin(), outcome.err.end(), '\n') == 1);
    CHECK(work.names() == before);
  }
  writeWithComment(work, "in.wav", start + "--tone 9");
  CHECK(holds(render({"--again", "in.wav", "in.wav", "out.wav"}, surroundings).err,
              "--tone '9': the value is out of range"));
  CHECK(holds(render({"--again", "none.wav", "in.wav", "out.wav"}, surroundings).err,
              "--again 'none.wav': no such file; "));
  CHECK(holds(render({"--again", "", "in.wav", "out.wav"}, surroundings).err, "--again '': no file; "));
}

TEST_CASE("a course too long for a comment is told, and asked for again") {
  const Workspace work;
  writeTake(work, "take.wav");
  std::string sweep;
  for (int i = 0; i < 200; ++i)
    sweep += std::to_string(i * 0.001) + "," + (i % 2 ? "1" : "0") + "\n";
  writeBytes(work.path("sweep.csv"), sweep);
  const Outcome outcome =
      render({work.path("take.wav"), work.path("out.wav"), "--pedal", work.path("sweep.csv"), "-v"});
  CHECK(outcome.status == 0);
  CHECK(holds(outcome.err, "the comment does not tell --pedal, whose course of "));
  CHECK(commentOf(work, "out.wav") == "treadshift-render 0.1.0: --pedal '(too long to keep)'");
  CHECK(render({"--again", work.path("out.wav"), work.path("take.wav"), work.path("two.wav")}).status == 1);
  sh(work, "treadshift-render --again out.wav take.wav two.wav --pedal sweep.csv");
  CHECK(fileBytes(work.path("two.wav")) == fileBytes(work.path("out.wav")));
}

TEST_CASE("a recording that this program did not make is replaced only with -y") {
  const Workspace work;
  writeTake(work, "a.wav");
  writeTake(work, "b.wav", 2);
  const std::string before = fileBytes(work.path("b.wav"));
  const std::string right = "; to render several recordings give --out-dir DIR, to replace it -y\n";
  const auto refused = [&](const std::string& output, const std::string& wrong) {
    const Outcome outcome = render({work.path("a.wav"), work.path(output)});
    CHECK(outcome.status == 1);
    CHECK(outcome.err == "treadshift-render: output '" + work.path(output) + "': " + wrong + right);
  };
  const std::string foreign = "exists, and this program did not make it";
  refused("b.wav", foreign);
  CHECK(fileBytes(work.path("b.wav")) == before);
  writeBytes(work.path("text.flac"), "no sound at all");
  refused("text.flac", foreign);
  writeBytes(work.path("empty.wav"), "");
  for (const char* output :
       {"c.wav", "c.rf64", "c.flac", "c.ogg", "c.opus", "c.mp3", "c.aiff", "c.caf", "empty.wav"}) {
    CAPTURE(output);
    for (const char* color : {"1", "2"}) // new, and over its own
      CHECK(render({work.path("a.wav"), work.path(output), "--color", color}).status == 0);
  }
  for (const char* output : {"c.au", "c.w64"}) {
    CHECK(render({work.path("a.wav"), work.path(output)}).status == 0);
    refused(output, "exists, and a file of this type does not tell whether this program made it");
  }
  CHECK(render({work.path("a.wav"), work.path("b.wav"), "-y"}).status == 0);
  CHECK(fileBytes(work.path("b.wav")) != before);

  fs::create_directory(work.path("bent"));
  writeTake(work, "bent/a.wav");
  writeTake(work, "d.wav");
  const Outcome several = render({work.path("a.wav"), work.path("d.wav"), "--out-dir", work.path("bent")});
  CHECK(several.status == 1);
  CHECK(std::count(several.err.begin(), several.err.end(), '\n') == 1);
  CHECK(holds(several.err, "bent/a.wav': " + foreign));
  CHECK(fs::exists(work.path("bent/d.wav")));
  const Outcome both = render({work.path("a.wav"), work.path("b.wav"), "-y", "-n"});
  CHECK(both.status == 2);
  CHECK(both.err == "treadshift-render: --yes: contradicts --no-clobber; give one of them\n");
}
