// Recordings that other people's programs wrote: every sample arrives, or the recording is refused.
#include "Program.h"
#include "SoundFiles.h"

#include <algorithm>
#include <cmath>
#include <doctest/doctest.h>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kFrames = 40000;

// src.wav and more.wav: 16 bit, stereo; src.raw: the samples of the first without a header; tail: an ID3v1
// tag, head: an ID3v2 tag with room for more.
void writeSources(const Workspace& work) {
  writeSound(work.path("src.wav"), {44100, 2, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(2 * kFrames)});
  writeSound(work.path("more.wav"), {44100, 2, SF_FORMAT_WAV | SF_FORMAT_PCM_16, softNoise(2 * 9000, 7)});
  writeBytes(work.path("src.raw"), fileBytes(work.path("src.wav")).substr(44));
  writeBytes(work.path("tail"), "TAG" + std::string(125, ' '));
  writeBytes(work.path("head"), std::string("ID3\4\0\0\0\0\0\x20", 10) + std::string(32, '\0'));
}

Surroundings inside(const Workspace& work) {
  Surroundings surroundings;
  surroundings.directory = work.path("");
  surroundings.environment = {"TMPDIR=" + work.path("")};
  return surroundings;
}

// Whether all of them are installed; says so when one is not.
bool haveTools(const std::string& names) {
  const bool have =
      shell("for tool in " + names + "; do command -v $tool >/dev/null || exit 1; done").status == 0;
  if (!have) MESSAGE("not checked: one is not installed of " << names);
  return have;
}

// Without what the tools have to say about pipes.
void make(const Workspace& work, const std::string& commands) {
  const Outcome outcome = shell(commands + " 2>/dev/null", inside(work));
  REQUIRE(outcome.status == 0);
}

std::vector<double> joined(std::vector<double> first, const std::vector<double>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

double largestDifference(const std::vector<double>& a, const std::vector<double>& b) {
  double largest = 0.0;
  for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i)
    largest = std::max(largest, std::abs(a[i] - b[i]));
  return largest;
}

// Renders "in" from the file and through a pipe; the idle pedal changes nothing. Answers what arrived.
std::vector<double> arrived(const Workspace& work) {
  const Outcome outcome = shell("treadshift-render in direct.wav --on off --bits double && "
                                "cat in | treadshift-render - piped.wav --on off --bits double",
                                inside(work));
  CHECK(outcome.status == 0);
  CHECK(outcome.err == "");
  if (outcome.status != 0) return {};
  const auto samples = readSound(work.path("direct.wav")).samples;
  CHECK(readSound(work.path("piped.wav")).samples == samples);
  return samples;
}

void checkRefused(const Workspace& work, const std::string& name, const std::string& wrong) {
  for (const std::string& line :
       {"treadshift-render " + name + " out.wav", "cat " + name + " | treadshift-render - out.wav"}) {
    CAPTURE(line);
    const Outcome outcome = shell(line, inside(work));
    CHECK(outcome.status == 1);
    CAPTURE(outcome.err);
    CHECK(outcome.err.starts_with("treadshift-render: input '"));
    CHECK(holds(outcome.err, wrong));
    CHECK(std::count(outcome.err.begin(), outcome.err.end(), '\n') == 1);
    CHECK_FALSE(fs::exists(work.path("out.wav")));
  }
}

} // namespace

TEST_CASE("what loses nothing arrives whole from the programs that write it") {
  struct Case {
    const char* tools;
    const char* make; // "in" from the sources
    bool twice;       // whether more.wav follows
  };
  const std::string encode =
      "flac -s -c --force-raw-format --endian=little --sign=signed --channels=2 --bps=16 "
      "--sample-rate=44100 - < src.raw | cat > ";
  const std::string unknown = encode + "in", unknownWithTail = encode + "a && cat a tail > in";
  const Case cases[] = {
      {"flac", "flac -s src.wav -o in", false},
      {"flac", unknown.c_str(), false},
      {"flac", unknownWithTail.c_str(), false},
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
  const Workspace work;
  writeSources(work);
  const auto source = readSound(work.path("src.wav")).samples;
  const auto both = joined(source, readSound(work.path("more.wav")).samples);
  for (const Case& one : cases) {
    CAPTURE(std::string(one.make));
    if (!haveTools(one.tools)) continue;
    make(work, std::string("rm -f in a b && ") + one.make);
    CHECK(arrived(work) == (one.twice ? both : source));
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
  const Workspace work;
  writeSources(work);
  for (const Case& one : cases) {
    CAPTURE(std::string(one.make));
    if (!haveTools(one.tools)) continue;
    make(work, std::string("rm -f in a b whole heard.wav && ") + one.make);
    make(work, one.decode);
    const auto heard = readSound(work.path("heard.wav")).samples;
    REQUIRE(heard.size() > 10000);
    const auto samples = arrived(work);
    CHECK(samples.size() == heard.size());
    CHECK(largestDifference(samples, heard) <= one.within);
  }
}

// The length that the first frame tells is the recording's, to the sample.
TEST_CASE("an MP3 that tells its length is as long as what was encoded") {
  if (!haveTools("lame")) return;
  const Workspace work;
  writeSources(work);
  for (const char* options : {"-V2", "-b 320", "--abr 150"}) {
    CAPTURE(std::string(options));
    make(work, std::string("lame --quiet ") + options + " src.wav in");
    CHECK(arrived(work).size() == 2 * kFrames);
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
    fs::copy_file(std::string(TREADSHIFT_FIXTURES "/") + name, work.path("in"));
    CHECK(arrived(work) == expected);
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
  const Workspace work;
  writeSources(work);
  for (const auto& row : makes) {
    CAPTURE(std::string(row.second));
    if (!haveTools(row.first)) continue;
    make(work, std::string("rm -f in && ") + row.second);
    const std::string bytes = fileBytes(work.path("in"));
    writeBytes(work.path("half"), bytes.substr(0, bytes.size() / 2));
    checkRefused(work, "half", "cut short");
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
      SF_FORMAT_AVR | SF_FORMAT_PCM_16,  SF_FORMAT_MAT4 | SF_FORMAT_PCM_16};
  for (int format : formats) {
    CAPTURE(format);
    const Workspace work;
    writeSound(work.path("in"), {44100, 1, format, softNoise(20000)});
    const std::string bytes = fileBytes(work.path("in"));
    arrived(work);
    for (const std::size_t kept : {bytes.size() / 2, bytes.size() * 9 / 10}) {
      CAPTURE(kept);
      writeBytes(work.path("cut"), bytes.substr(0, kept));
      checkRefused(work, "cut", "");
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
      {"sox", "sox src.wav -t w64 - | cat > in", "a second header stands where its sound should begin"},
  };
  const Workspace work;
  writeSources(work);
  for (const Case& one : cases) {
    CAPTURE(std::string(one.make));
    if (!haveTools(one.tools)) continue;
    make(work, std::string("rm -f in a b && ") + one.make);
    checkRefused(work, "in", one.wrong);
  }
}

TEST_CASE("damage in the middle is heard of, whatever the decoder does about it") {
  const std::pair<const char*, const char*> makes[] = {{"lame", "lame --quiet -V2 -t src.wav in"},
                                                       {"flac", "flac -s src.wav -o in"},
                                                       {"flac", "flac -s --ogg src.wav -o in"},
                                                       {"oggenc", "oggenc -Q src.wav -o in"},
                                                       {"opusenc", "opusenc --quiet src.wav in"}};
  const Workspace work;
  writeSources(work);
  for (const auto& row : makes) {
    CAPTURE(std::string(row.second));
    if (!haveTools(row.first)) continue;
    make(work, std::string("rm -f in && ") + row.second);
    const std::string bytes = fileBytes(work.path("in"));
    // Some bytes more, many more, and some less.
    const std::string start = bytes.substr(0, bytes.size() / 2);
    for (const std::string& changed : {start + std::string(700, '\x55') + bytes.substr(bytes.size() / 2),
                                       start + std::string(9000, '\x55') + bytes.substr(bytes.size() / 2),
                                       start + bytes.substr(bytes.size() / 2 + 700)}) {
      writeBytes(work.path("damaged"), changed);
      checkRefused(work, "damaged", "damaged or cut short");
    }
  }
}

// Were a pipe copied before it is looked at, the limit on files would be met.
TEST_CASE("what is no sound is refused by its first bytes") {
  const Workspace work;
  writeBytes(work.path("page.pdf"), "%PDF-1.5\n" + std::string(300000, 'x'));
  writeBytes(work.path("utf16.txt"), std::string("\xff\xfeh\0i\0\n\0", 8));
  writeBytes(work.path("one-frame-start.mp3"), "\xff\xfb\x90\x64" + std::string(200000, 'x'));
  writeBytes(work.path("film.avi"), std::string("RIFF\0\0\0\0AVI ", 12) + std::string(200000, 'x'));
  const char* const sources[] = {"treadshift-render - out.wav < /dev/zero",
                                 "treadshift-render /dev/zero out.wav",
                                 "cat /dev/zero | treadshift-render - out.wav",
                                 "yes | treadshift-render - out.wav",
                                 "yes RIFF | treadshift-render - out.wav",
                                 "{ printf fLaC; cat /dev/zero; } | treadshift-render - out.wav",
                                 "{ printf OggS; cat /dev/zero; } | treadshift-render - out.wav",
                                 "cat page.pdf | treadshift-render - out.wav",
                                 "cat one-frame-start.mp3 | treadshift-render - out.wav",
                                 "treadshift-render page.pdf out.wav",
                                 "treadshift-render utf16.txt out.wav",
                                 "treadshift-render film.avi out.wav",
                                 "treadshift-render one-frame-start.mp3 out.wav"};
  Surroundings tight = inside(work);
  tight.largestFileBytes = 100000;
  for (const char* source : sources) {
    CAPTURE(std::string(source));
    const Outcome outcome = shell(source, tight);
    CHECK(outcome.status == 1);
    CAPTURE(outcome.err);
    CHECK(holds(outcome.err, "': not a sound file that can be read (it begins like no type of sound that the "
                             "program knows); give a sound file, such as WAV, FLAC, OGG, MP3 or AIFF\n"));
    CHECK_FALSE(fs::exists(work.path("out.wav")));
  }
}
