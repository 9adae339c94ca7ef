// Recordings that other people's programs wrote: every sample arrives, or the recording is refused.
#include "Program.h"
#include "SoundFiles.h"

#include <algorithm>
#include <doctest/doctest.h>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kFrames = 40000;

// An empty directory with src.wav and more.wav: 16 bit, stereo; src.raw: the samples of the first without a
// header; tail: an ID3v1 tag, head: an ID3v2 tag with room for more.
struct Sources : Workspace {
  Sources() {
    writeTake("src.wav", 2 * kFrames, 1, kWav16, 2);
    writeTake("more.wav", 2 * 9000, 7, kWav16, 2);
    writeBytes("src.raw", contentsOf("src.wav").substr(44));
    writeBytes("tail", "TAG" + std::string(125, ' '));
    writeBytes("head", std::string("ID3\4\0\0\0\0\0\x20", 10) + std::string(32, '\0'));
  }
};

// Makes "in" by a line of shell, without what the tools have to say about pipes. Whether they are installed.
bool make(const std::string& tools, const std::string& line) {
  if (!isInstalled(tools)) return false;
  REQUIRE(shell("rm -f in a b whole; { " + line + "; } 2>/dev/null").status == 0);
  return true;
}

// Renders "in" from the file and through a pipe; the idle pedal changes nothing. Answers what arrived.
std::vector<double> arrived() {
  const Names before = namesIn(".");
  const Outcome outcome = shell("treadshift-render in direct.wav --on off --bits double && "
                                "cat in | treadshift-render - piped.wav --on off --bits double");
  CHECK(outcome.status == 0);
  CHECK(outcome.err == "");
  if (outcome.status != 0) return {};
  const auto samples = samplesOf("direct.wav");
  CHECK(samplesOf("piped.wav") == samples);
  fs::remove("direct.wav");
  fs::remove("piped.wav");
  CHECK(namesIn(".") == before);
  return samples;
}

void checkNoSound(const std::string& name, const std::string& wrong) {
  checkRefused(1, name + " out.wav", "input '" + name + "': " + wrong);
  const Outcome outcome = shell("cat " + name + " | treadshift-render - out.wav");
  CHECK(outcome.status == 1);
  CAPTURE(outcome.err);
  CHECK(outcome.err.starts_with("treadshift-render: input '-': "));
  CHECK(holds(outcome.err, wrong));
  CHECK(linesOf(outcome.err).size() == 1);
  CHECK_FALSE(fs::exists("out.wav"));
}

} // namespace

TEST_CASE("what loses nothing arrives whole from the programs that write it") {
  struct Case {
    const char* tools;
    std::string make; // "in" from the sources
    bool twice;       // whether more.wav follows
  };
  const std::string encode =
      "flac -s -c --force-raw-format --endian=little --sign=signed --channels=2 --bps=16 "
      "--sample-rate=44100 - < src.raw | cat > ";
  const Case cases[] = {
      {"flac", "flac -s src.wav -o in", false},
      {"flac", encode + "in", false},
      {"flac", encode + "a && cat a tail > in", false},
      {"flac", "flac -s src.wav -o a && cat a tail > in", false},
      {"flac", "flac -s src.wav -o a && cat head head a tail > in", false},
      {"flac", "flac -s --ogg src.wav -o in", false},
      {"flac", "flac -s --ogg src.wav -o a && flac -s --ogg more.wav -o b && cat a b > in", true},
      {"sox", "sox src.wav -t aiff - | cat > in", false},
      {"sox", "sox src.wav -b 24 -t aifc - | cat > in", false},
      {"sox", "cat src.wav | sox -t wav - -t wav - | cat > in", false},
      {"sox", "cat src.wav | sox -t wav - -b 32 -e float -t wav - | cat > in", false},
      {"sox", "cat src.wav | sox -t wav - -b 24 -t au - | cat > in", false},
      {"sox", "sox src.wav -b 24 -t w64 in", false},
      {"sox", "sox src.wav -b 24 -t flac - | cat > in", false},
      {"sox", "sox src.wav -b 32 -B -t wav in", false},
      {"sox", "sox src.wav -b 24 -t caf in", false},
  };
  const Sources sources;
  const auto source = samplesOf("src.wav");
  auto both = source;
  const auto more = samplesOf("more.wav");
  both.insert(both.end(), more.begin(), more.end());
  for (const Case& one : cases) {
    CAPTURE(one.make);
    if (make(one.tools, one.make)) CHECK(arrived() == (one.twice ? both : source));
  }
}

TEST_CASE("music arrives whole, as its own decoder hears it") {
  struct Case {
    const char* tools;
    const char* make;   // "in" from the sources
    const char* decode; // "in" to heard.wav
    double within;      // of full scale; 16-bit decoders round
  };
  constexpr double kRounded = 1.01 / 65536;
  const char* const mpg123 = "mpg123 -q -e f32 -w heard.wav in";
  const char* const ungapped = "mpg123 -q -e f32 --no-gapless -w heard.wav in";
  const char* const oggdec = "oggdec -Q -o heard.wav in";
  const char* const opusdec = "opusdec --quiet --float --rate 48000 in heard.wav";
  const Case cases[] = {
      {"lame mpg123", "lame --quiet -V2 -t src.wav in", mpg123, 0.0},
      {"lame mpg123", "lame --quiet -b 128 -t src.wav in", mpg123, 0.0},
      {"lame mpg123", "lame --quiet -V2 src.wav in", mpg123, 0.0},
      {"lame mpg123", "lame --quiet -b 192 -m m src.wav in", mpg123, 0.0},
      {"lame mpg123", "lame --quiet --resample 16 -b 32 src.wav in", mpg123, 0.0},
      {"lame mpg123", "lame --quiet --freeformat -b 400 src.wav in", mpg123, 0.0},
      {"lame mpg123", "lame --quiet -V2 --tt Title --add-id3v2 src.wav in", mpg123, 0.0},
      {"lame mpg123", "lame --quiet -b 128 -t src.wav a && cat head a tail > in", mpg123, 0.0},
      {"lame mpg123", "lame --quiet -V2 -t src.wav a && lame --quiet -b 128 -t more.wav b && cat a b > in",
       mpg123, 0.0},
      {"lame mpg123", "lame --quiet -V2 src.wav a && lame --quiet --tt T more.wav b && cat a b > in",
       ungapped, 0.0},
      {"oggenc oggdec", "oggenc -Q src.wav -o in", oggdec, kRounded},
      {"oggenc oggdec", "oggenc -Q src.wav -o a && oggenc -Q more.wav -o b && cat a b > in", oggdec,
       kRounded},
      {"oggenc oggdec vcut", "oggenc -Q src.wav -o whole && vcut whole a b 12345 && mv b in", oggdec,
       kRounded},
      {"oggenc oggdec vcut", "oggenc -Q src.wav -o whole && vcut whole a b 12345 && cat a b > in", oggdec,
       kRounded},
      {"opusenc opusdec", "opusenc --quiet src.wav in", opusdec, 0.0},
      {"opusenc opusdec", "opusenc --quiet src.wav a && opusenc --quiet more.wav b && cat a b > in", opusdec,
       0.0},
  };
  const Sources sources;
  for (const Case& one : cases) {
    CAPTURE(std::string(one.make));
    if (!make(one.tools, one.make + std::string(" && ") + one.decode)) continue;
    const auto heard = samplesOf("heard.wav");
    REQUIRE(heard.size() > 10000);
    CHECK(largestDifference(arrived(), heard) <= one.within);
  }
}

// The length that the first frame tells is the recording's, to the sample.
TEST_CASE("an MP3 that tells its length is as long as what was encoded") {
  const Sources sources;
  for (const std::string options : {"-V2", "-b 320", "--abr 150"}) {
    CAPTURE(options);
    if (make("lame", "lame --quiet " + options + " src.wav in")) CHECK(arrived().size() == 2 * kFrames);
  }
}

// 32 frames at 8000 Hz: n/64 - 1/4 on the left, 1/4 - n/128 on the right, which every format holds exactly.
// Made by ffmpeg 5.1.9: ffmpeg -f lavfi -i "aevalsrc=n/64-0.25|0.25-n/128:s=8000:d=0.004" -bitexact, followed
// by what stands beside the name.
TEST_CASE("what ffmpeg writes arrives as it was meant") {
  const char* const names[] = {
      "float32.w64",   // -c:a pcm_f32le float32.w64
      "float64.w64",   // -c:a pcm_f64le float64.w64
      "float64.aiff",  // -c:a pcm_f64be float64.aiff
      "float32le.caf", // -c:a pcm_f32le float32le.caf
      "long24.wav",    // -c:a pcm_s24le -rf64 always long24.wav
      "piped.aiff",    // -c:a pcm_s16be -f aiff - | cat > piped.aiff
      "piped.au",      // -c:a pcm_s24be -f au - | cat > piped.au
      "piped.caf",     // -c:a pcm_s16be -f caf - | cat > piped.caf
      "piped.oga",     // -c:a flac -f ogg - | cat > piped.oga
      "piped.rf64",    // -c:a pcm_s16le -f wav -rf64 always - | cat > piped.rf64
      "piped.w64",     // -c:a pcm_s16le -f w64 - | cat > piped.w64
      "piped.wav",     // -c:a pcm_s16le -f wav - | cat > piped.wav
  };
  std::vector<double> expected;
  for (int n = 0; n < 32; ++n) {
    expected.push_back(n / 64.0 - 0.25);
    expected.push_back(0.25 - n / 128.0);
  }
  for (const char* name : names) {
    CAPTURE(std::string(name));
    const Workspace work;
    fs::copy_file(std::string(TREADSHIFT_FIXTURES "/") + name, "in");
    CHECK(arrived() == expected);
  }
}

TEST_CASE("a recording that was cut in half is refused, whoever wrote it") {
  const std::pair<const char*, const char*> makes[] = {
      {"flac", "flac -s src.wav -o in"},          {"flac", "flac -s src.wav -c | cat > in"},
      {"flac", "flac -s --ogg src.wav -o in"},    {"lame", "lame --quiet -V2 src.wav in"},
      {"lame", "lame --quiet -V2 -t src.wav in"}, {"oggenc", "oggenc -Q src.wav -o in"},
      {"opusenc", "opusenc --quiet src.wav in"},  {"sox", "sox src.wav -t w64 in"},
      {"sox", "sox src.wav -t caf in"},
  };
  const Sources sources;
  for (const auto& row : makes) {
    CAPTURE(std::string(row.second));
    if (!make(row.first, row.second)) continue;
    const std::string bytes = contentsOf("in");
    writeBytes("half", bytes.substr(0, bytes.size() / 2));
    checkNoSound("half", "");
  }
}

// What programs put in place of the length that they do not know yet.
TEST_CASE("a WAV file of unknown length is read to its end") {
  const Workspace work;
  writeTake("known", 5000);
  const std::string bytes = contentsOf("known");
  REQUIRE(bytes.substr(36, 4) == "data");
  for (const std::string& length : {std::string("\xff\xff\xff\xff"), std::string("\x00\xf0\xff\x7f", 4)}) {
    writeBytes("in", std::string(bytes).replace(40, 4, length).replace(4, 4, length));
    CHECK(arrived() == samplesOf("known"));
  }
}

TEST_CASE("a header that promises more than there is") {
  const int formats[] = {
      SF_FORMAT_WAV | SF_FORMAT_PCM_16,  SF_FORMAT_WAV | SF_FORMAT_IMA_ADPCM,
      SF_FORMAT_WAVEX | SF_FORMAT_FLOAT, SF_FORMAT_WAV | SF_FORMAT_PCM_16 | SF_ENDIAN_BIG,
      SF_FORMAT_RF64 | SF_FORMAT_PCM_16, SF_FORMAT_W64 | SF_FORMAT_PCM_24,
      SF_FORMAT_AIFF | SF_FORMAT_PCM_16, SF_FORMAT_AIFF | SF_FORMAT_FLOAT,
      SF_FORMAT_AU | SF_FORMAT_PCM_16,   SF_FORMAT_AU | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE,
      SF_FORMAT_CAF | SF_FORMAT_PCM_16,  SF_FORMAT_CAF | SF_FORMAT_ALAC_16,
      SF_FORMAT_SVX | SF_FORMAT_PCM_16,  SF_FORMAT_VOC | SF_FORMAT_PCM_16,
      SF_FORMAT_AVR | SF_FORMAT_PCM_16,  SF_FORMAT_MAT4 | SF_FORMAT_PCM_16,
      SF_FORMAT_FLAC | SF_FORMAT_PCM_16, SF_FORMAT_OGG | SF_FORMAT_VORBIS};
  for (int format : formats) {
    CAPTURE(format);
    const Workspace work;
    writeTake("in", 20000, 1, format);
    const std::string bytes = contentsOf("in");
    arrived();
    for (const std::size_t kept : {bytes.size() / 2, bytes.size() * 9 / 10}) {
      CAPTURE(kept);
      writeBytes("cut", bytes.substr(0, kept));
      checkNoSound("cut", "");
    }
  }
}

TEST_CASE("sounds that were joined and cannot all be heard are refused") {
  struct Case {
    const char* tools;
    const char* make; // "in" from the sources
    const char* wrong;
  };
  const char* const behind = "another sound begins behind its end";
  const char* const changes = "several sounds joined: rate, channels or format change after ";
  const Case cases[] = {
      {"sox", "sox src.wav -t aiff a && cat a a > in", behind},
      {"sox", "sox src.wav -t w64 a && cat a a > in", behind},
      {"flac", "flac -s src.wav -o a && flac -s more.wav -o b && cat a b > in", behind},
      {"flac", "flac -s src.wav -o a && flac -s more.wav -o b && cat a head b > in", behind},
      {"oggenc", "oggenc -Q src.wav -o a && oggenc -Q --resample 22050 src.wav -o b && cat a b > in",
       changes},
      {"oggenc", "oggenc -Q src.wav -o a && oggenc -Q --downmix src.wav -o b && cat a b > in", changes},
      {"oggenc opusenc", "oggenc -Q src.wav -o a && opusenc --quiet src.wav b && cat a b > in", changes},
      {"cat", "cat src.wav more.wav > in", behind},
      {"sox", "sox src.wav -t au a && cat a a > in", behind},
      {"sox", "sox src.wav -b 8 -c 1 --comment '' a.wav trim 0 1001s && cat a.wav a.wav > in", behind},
      {"lame", "lame --quiet -t src.wav a && lame --quiet -t --resample 22.05 src.wav b && cat a b > in",
       changes},
      {"lame", "lame --quiet -t src.wav a && lame --quiet -t -m m src.wav b && cat a b > in", changes},
      {"sox", "sox src.wav -t w64 - | cat > in",
       "damaged: a second header stands where its sound should begin"},
  };
  const Sources sources;
  for (const Case& one : cases) {
    CAPTURE(std::string(one.make));
    if (make(one.tools, one.make)) checkNoSound("in", one.wrong);
  }
}

TEST_CASE("damage in the middle is heard of, whatever the decoder does about it") {
  const std::pair<const char*, const char*> makes[] = {{"lame", "lame --quiet -V2 -t src.wav in"},
                                                       {"flac", "flac -s src.wav -o in"},
                                                       {"flac", "flac -s --ogg src.wav -o in"},
                                                       {"oggenc", "oggenc -Q src.wav -o in"},
                                                       {"opusenc", "opusenc --quiet src.wav in"}};
  const Sources sources;
  for (const auto& row : makes) {
    CAPTURE(std::string(row.second));
    if (!make(row.first, row.second)) continue;
    const std::string bytes = contentsOf("in"), start = bytes.substr(0, bytes.size() / 2);
    // Some bytes more, many more, and some less.
    for (const std::string& changed : {start + std::string(700, '\x55') + bytes.substr(bytes.size() / 2),
                                       start + std::string(9000, '\x55') + bytes.substr(bytes.size() / 2),
                                       start + bytes.substr(bytes.size() / 2 + 700)}) {
      writeBytes("damaged", changed);
      checkNoSound("damaged", "damaged or cut short");
    }
  }
}

// Were a pipe copied before it is looked at, the limit on files would be met.
TEST_CASE("what is no sound is refused by its first bytes") {
  const Workspace work;
  writeBytes("page.pdf", "%PDF-1.5\n" + std::string(300000, 'x'));
  writeBytes("utf16.txt", std::string("\xff\xfeh\0i\0\n\0", 8));
  writeBytes("one-frame-start.mp3", "\xff\xfb\x90\x64" + std::string(200000, 'x'));
  writeBytes("film.avi", std::string("RIFF\0\0\0\0AVI ", 12) + std::string(200000, 'x'));
  Surroundings tight;
  tight.largestFileBytes = 100000;
  const std::string wrong = "': not a sound file that can be read (it begins like no type of sound that the "
                            "program knows); give a sound file, such as WAV, FLAC, OGG, MP3 or AIFF\n";
  for (const std::string file : {"/dev/zero", "page.pdf", "utf16.txt", "film.avi", "one-frame-start.mp3"})
    checkRefused(1, file + " out.wav", "input '" + file + wrong, tight);
  checkRefused(1, "- out.wav < /dev/zero", "input '-" + wrong, tight);
  for (const std::string source :
       {"cat /dev/zero", "yes", "yes RIFF", "{ printf fLaC; cat /dev/zero; }",
        "{ printf OggS; cat /dev/zero; }", "cat page.pdf", "cat one-frame-start.mp3"}) {
    CAPTURE(source);
    const Outcome outcome = shell(source + " | treadshift-render - out.wav", tight);
    CHECK(outcome.status == 1);
    CHECK(outcome.err == "treadshift-render: input '-" + wrong);
    CHECK_FALSE(fs::exists("out.wav"));
  }
}
