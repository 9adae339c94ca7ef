// What the output keeps of the input's format, and what happens to samples that it cannot hold.
#include "Program.h"
#include "SoundFiles.h"

#include <algorithm>
#include <doctest/doctest.h>
#include <filesystem>

namespace {

struct Format {
  std::string name;
  int format;
};

constexpr int kMp3 = SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III;
constexpr int kOpus = SF_FORMAT_OGG | SF_FORMAT_OPUS;
constexpr int kVorbis = SF_FORMAT_OGG | SF_FORMAT_VORBIS;

// Renders with the pedal off, which must go well without a word.
void pass(const std::string& arguments) {
  CAPTURE(arguments);
  const Outcome outcome = render("--on off " + arguments);
  CHECK(outcome.status == 0);
  CHECK(outcome.err == "");
}

} // namespace

TEST_CASE("formats of whole numbers and floats stay, and an idle pedal changes not one sample") {
  const Format formats[] = {
      {".wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8},   {".wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16},
      {".wav", SF_FORMAT_WAV | SF_FORMAT_PCM_24},   {".wav", SF_FORMAT_WAV | SF_FORMAT_PCM_32},
      {".wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT},    {".wav", SF_FORMAT_WAV | SF_FORMAT_DOUBLE},
      {".wav", SF_FORMAT_WAV | SF_FORMAT_ULAW},     {".wav", SF_FORMAT_WAV | SF_FORMAT_ALAW},
      {".wav", SF_FORMAT_WAVEX | SF_FORMAT_PCM_24}, {".wav", SF_FORMAT_RF64 | SF_FORMAT_PCM_16},
      {".aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_S8}, {".aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16},
      {".aif", SF_FORMAT_AIFF | SF_FORMAT_PCM_24},  {".AIFF", SF_FORMAT_AIFF | SF_FORMAT_PCM_32},
      {".aifc", SF_FORMAT_AIFF | SF_FORMAT_FLOAT},  {".aiff", SF_FORMAT_AIFF | SF_FORMAT_DOUBLE},
      {".flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_S8}, {".flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16},
      {".FLAC", SF_FORMAT_FLAC | SF_FORMAT_PCM_24},
  };
  for (const Format& row : formats) {
    CAPTURE(row.name);
    CAPTURE(row.format);
    const Workspace work;
    Sound sound = {44100, 2, row.format, noise(6000)};
    sound.samples[0] = -1.0; // the ends of the range
    sound.samples[1] = 1.0;
    const std::string in = "in" + row.name, out = "out" + row.name;
    writeSound(in, sound);
    pass(in + " " + out);
    CHECK(readSound(out).format == readSound(in).format);
    CHECK(samplesOf(out) == samplesOf(in));
  }
}

TEST_CASE("the shortest sounds keep their length and samples in formats of floats") {
  const Workspace work;
  for (int frames : {1, 2, 5, 6})
    writeSound("in" + std::to_string(frames) + ".wav", {44100, 1, kWavDouble, noise(frames)});
  for (const std::string type : {"wav", "aiff", "au", "caf", "w64", "rf64"}) {
    for (const std::string bits : {"float", "double"}) {
      CAPTURE(type);
      CAPTURE(bits);
      pass("in*.wav -y --out-dir out --type " + type + " --bits " + bits);
      for (int frames : {1, 2, 5, 6})
        CHECK(samplesOf("out/in" + std::to_string(frames) + "." + type) == noise(frames));
    }
  }
}

TEST_CASE("compressed formats stay") {
  for (const auto& [extension, format] :
       {Format{".ogg", kVorbis}, Format{".wav", SF_FORMAT_WAV | SF_FORMAT_IMA_ADPCM}}) {
    const Workspace work;
    writeSound("in" + extension, {48000, 1, format, noise(30000)});
    pass("in" + extension + " out" + extension);
    const Sound out = readSound("out" + extension);
    CHECK(out.format == format);
    CHECK(out.rateHz == 48000);
    CHECK(out.samples.size() >= 30000);
  }
}

TEST_CASE("samples far beyond full scale stop no encoder and are told as clipped") {
  const Workspace work;
  for (const std::string out : {"out.mp3", "out.ogg", "out.opus"}) {
    for (double huge : {1e12, -1e300}) {
      CAPTURE(out);
      CAPTURE(huge);
      Sound in = {48000, 1, kWavDouble, noise(6000)};
      in.samples[3000] = huge;
      writeSound("in.wav", in);
      const Outcome outcome = render("--on off in.wav " + out);
      CHECK(outcome.status == 0);
      CHECK(holds(outcome.err, "1 sample was beyond full scale and clipped"));
      const auto heard = samplesOf(out);
      CHECK(std::any_of(heard.begin(), heard.end(), [](double x) { return x != 0.0; }));
    }
  }
}

TEST_CASE("a container takes the format over without a word, or gets the nearest one and says so") {
  struct Change {
    int from;
    const char* to;
    int written;
    const char* notice; // "": none, and the samples stay
  };
  const Change changes[] = {
      {SF_FORMAT_WAV | SF_FORMAT_PCM_24, ".flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, ""},
      {SF_FORMAT_WAV | SF_FORMAT_PCM_24, ".aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_24, ""},
      {SF_FORMAT_WAV | SF_FORMAT_FLOAT, ".flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24,
       "FLAC does not hold 32 bit float"},
      {SF_FORMAT_WAV | SF_FORMAT_DOUBLE, ".flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24,
       "FLAC does not hold 64 bit float"},
      {SF_FORMAT_WAV | SF_FORMAT_PCM_32, ".flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24, "FLAC does not hold"},
      {SF_FORMAT_WAV | SF_FORMAT_PCM_U8, ".flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_S8, "FLAC does not hold"},
      {SF_FORMAT_WAV | SF_FORMAT_ULAW, ".flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, "FLAC does not hold"},
      {SF_FORMAT_AIFF | SF_FORMAT_PCM_S8, ".wav", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, "WAV does not hold"},
      {SF_FORMAT_OGG | SF_FORMAT_VORBIS, ".wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT, "WAV does not hold Vorbis"},
  };
  for (const Change& change : changes) {
    CAPTURE(change.from);
    const std::string out = std::string("out") + change.to;
    CAPTURE(out);
    const Workspace work;
    writeSound("in", {44100, 1, change.from, noise(3000)});
    const Outcome outcome = render("--on off in " + out);
    CHECK(outcome.status == 0);
    CHECK(readSound(out).format == change.written);
    if (!*change.notice) {
      CHECK(outcome.err == "");
      CHECK(samplesOf(out) == samplesOf("in"));
      continue;
    }
    CHECK(outcome.err.starts_with("treadshift-render: output '" + out + "': " + change.notice));
    CHECK(holds(outcome.err, "; written as "));
    CHECK(linesOf(outcome.err).size() == 1);
  }
}

TEST_CASE("samples beyond the range of whole numbers clip and are counted") {
  // In steps of 2^-23: the largest number is 8388607, so 1 - 2^-24 rounds to 8388608 (half to even) and
  // clips.
  const double step = 1.0 / 8388608.0;
  const std::vector<double> samples = {0.25,           1.0,         -1.0, 1.5, -1.5, 1.0 - step,
                                       1.0 - step / 2, -1.0 - step, 40.0, 0.0};
  const std::vector<int> expected = {2097152, 8388607, -8388608, 8388607, -8388608,
                                     8388607, 8388607, -8388608, 8388607, 0};
  const Workspace work;
  writeSound("in.wav", {44100, 1, kWavDouble, samples});
  const Outcome outcome = render("--on off in.wav out.flac");
  CHECK(outcome.status == 0);
  CHECK(holds(outcome.err, ": 6 samples were beyond full scale and clipped"));
  auto written = readWholeNumbers("out.flac");
  for (int& number : written)
    number /= 256;
  CHECK(written == expected);
  pass("in.wav out.flac -q");
  pass("in.wav out.wav --bits float");
  CHECK(samplesOf("out.wav")[8] == 40.0); // a float file holds them
}

// Libraries put the time into a chunk of peaks, and a serial number into Ogg.
TEST_CASE("two calls write the same bytes, and none that tell the time") {
  const Workspace work;
  writeSound("in.wav", {48000, 1, kWav16, softNoise(60000)});
  for (const std::string options :
       {"--type wav --bits float", "--type wav", "--type aiff --bits float", "--type flac", "--type ogg",
        "--type opus", "--type mp3", "--type caf --bits float"}) {
    CAPTURE(options);
    for (const std::string out : {"first ", "second "})
      REQUIRE(render("in.wav -y " + out + options).status == 0);
    CHECK(contentsOf("first") == contentsOf("second"));
    CHECK_FALSE(holds(contentsOf("first"), "PEAK"));
    CHECK_FALSE(holds(contentsOf("first"), "peak"));
  }
}

TEST_CASE("types of their own codec are written at the rates that they know, and decode to floats") {
  const Workspace work;
  writeTake("in.wav", 3000);
  checkRefused(1, "in.wav out.opus",
               "output 'out.opus': cannot be written: Opus only supports sample rates of 8000, 12000, 16000, "
               "24000, and 48000; use another type, such as .wav\n");
  writeSound("in.wav", {48000, 1, kWav16, noise(48000)});
  for (const Format& row : {Format{"out.opus", kOpus}, {"out.ogg", kVorbis}, {"out.mp3", kMp3}}) {
    CAPTURE(row.name);
    pass("in.wav " + row.name);
    const Sound out = readSound(row.name);
    CHECK(out.format == row.format);
    CHECK(out.samples.size() >= 48000);
    if (row.name == "out.ogg") continue; // which is told: WAV does not hold Vorbis
    pass("-q " + row.name + " decoded.wav");
    CHECK(readSound("decoded.wav").format == (SF_FORMAT_WAV | SF_FORMAT_FLOAT));
    CHECK(samplesOf("decoded.wav") == out.samples);
  }
}

TEST_CASE("a sound too long for a type of 32-bit sizes is refused before it is rendered") {
  // An AU file of unknown length: 24 bytes of header and a hole of 5 GB.
  const Workspace work;
  writeBytes("in.au", std::string(".snd\0\0\0\x18\xff\xff\xff\xff\0\0\0\3\0\0\xac\x44\0\0\0\1", 24));
  std::filesystem::resize_file("in.au", 5000000000);
  checkRefused(1, "in.au out.aiff",
               "output 'out.aiff': the sound is too long for AIFF (4 GB); use .wav or .flac\n");
}
