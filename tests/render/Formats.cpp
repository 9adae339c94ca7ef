// What the output keeps of the input's format, and what happens to samples that it cannot hold.
#include "Program.h"
#include "SoundFiles.h"

#include <algorithm>
#include <chrono>
#include <doctest/doctest.h>
#include <filesystem>
#include <thread>

namespace {

struct Format {
  const char* extension;
  int format;
};

std::string name(const std::string& stem, const Format& format) { return stem + format.extension; }

std::string with(const std::string& bytes, std::size_t offset, const std::string& part) {
  std::string changed = bytes;
  return changed.replace(offset, part.size(), part);
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
      {".aiff", SF_FORMAT_AIFF | SF_FORMAT_FLOAT},  {".aiff", SF_FORMAT_AIFF | SF_FORMAT_DOUBLE},
      {".flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_S8}, {".flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16},
      {".FLAC", SF_FORMAT_FLAC | SF_FORMAT_PCM_24},
  };
  for (const Format& format : formats) {
    CAPTURE(format.extension);
    CAPTURE(format.format);
    const Workspace work;
    Sound in = {44100, 2, format.format, noise(6000)};
    in.samples[0] = -1.0; // the ends of the range
    in.samples[1] = 1.0;
    const std::string inPath = work.path(name("in", format)), outPath = work.path(name("out", format));
    writeSound(inPath, in);
    const Outcome outcome = render({inPath, outPath, "--on", "off"});
    CHECK(outcome.status == 0);
    CHECK(outcome.err == "");
    CHECK(readSound(outPath).format == readSound(inPath).format);
    CHECK(readSound(outPath).samples == readSound(inPath).samples);
  }
}

TEST_CASE("the shortest sounds keep their length and samples in formats of floats") {
  for (const char* extension : {".wav", ".aiff", ".aifc", ".au", ".caf", ".w64", ".rf64"}) {
    for (const char* bits : {"float", "double"}) {
      for (int frames : {1, 2, 5, 6}) {
        CAPTURE(extension);
        CAPTURE(bits);
        CAPTURE(frames);
        const Workspace work;
        const Sound in = {44100, 1, SF_FORMAT_WAV | SF_FORMAT_DOUBLE, noise(frames)};
        writeSound(work.path("in.wav"), in);
        const std::string out = work.path(std::string("out") + extension);
        CHECK(render({work.path("in.wav"), out, "--bits", bits, "--on", "off"}).status == 0);
        CHECK(readSound(out).samples == in.samples);
      }
    }
  }
}

TEST_CASE("compressed formats stay") {
  for (const Format& format : {Format{".ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS},
                               Format{".wav", SF_FORMAT_WAV | SF_FORMAT_IMA_ADPCM}}) {
    const Workspace work;
    writeSound(work.path(name("in", format)), {48000, 1, format.format, noise(30000)});
    const Outcome outcome =
        render({work.path(name("in", format)), work.path(name("out", format)), "--on", "off"});
    CHECK(outcome.status == 0);
    CHECK(outcome.err == "");
    const Sound out = readSound(work.path(name("out", format)));
    CHECK(out.format == format.format);
    CHECK(out.rateHz == 48000);
    CHECK(out.samples.size() >= 30000);
  }
}

TEST_CASE("samples far beyond full scale stop no encoder and are told as clipped") {
  for (const char* extension : {".mp3", ".ogg", ".opus"}) {
    for (double huge : {1e12, -1e300}) {
      CAPTURE(extension);
      CAPTURE(huge);
      const Workspace work;
      Sound in = {48000, 1, SF_FORMAT_WAV | SF_FORMAT_DOUBLE, noise(6000)};
      in.samples[3000] = huge;
      writeSound(work.path("in.wav"), in);
      const std::string out = work.path(std::string("out") + extension);
      const Outcome outcome = render({work.path("in.wav"), out, "--on", "off"});
      CHECK(outcome.status == 0);
      CHECK(outcome.err.find("1 sample was beyond full scale and clipped") != std::string::npos);
      const Sound heard = readSound(out);
      CHECK(std::any_of(heard.samples.begin(), heard.samples.end(), [](double x) { return x != 0.0; }));
    }
  }
}

TEST_CASE("a container that cannot hold the format gets the nearest one and says so") {
  struct Change {
    int from;
    const char* to;
    int written;
    const char* notice;
  };
  const Change changes[] = {
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
    CAPTURE(change.to);
    const Workspace work;
    const std::string outPath = work.path("out") + change.to;
    writeSound(work.path("in"), {44100, 1, change.from, noise(3000)});
    const Outcome outcome = render({work.path("in"), outPath, "--on", "off"});
    CHECK(outcome.status == 0);
    CHECK(holds(outcome.err, "treadshift-render: output '" + outPath + "': " + change.notice));
    CHECK(holds(outcome.err, "; written as "));
    CHECK(std::count(outcome.err.begin(), outcome.err.end(), '\n') == 1);
    CHECK(readSound(outPath).format == change.written);
  }
}

TEST_CASE("a container that holds the format takes it over without a word") {
  const Workspace work;
  writeSound(work.path("in.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_24, noise(3000)});
  for (const Format& to : {Format{".flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_24},
                           Format{".aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_24}}) {
    const Outcome outcome = render({work.path("in.wav"), work.path(name("out", to)), "--on", "off"});
    CHECK(outcome.err == "");
    CHECK(readSound(work.path(name("out", to))).format == to.format);
    CHECK(readWholeNumbers(work.path(name("out", to))) == readWholeNumbers(work.path("in.wav")));
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
  writeSound(work.path("in.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_DOUBLE, samples});
  const Outcome outcome = render({work.path("in.wav"), work.path("out.flac"), "--on", "off"});
  CHECK(outcome.status == 0);
  CHECK(holds(outcome.err, ": 6 samples were beyond full scale and clipped"));
  auto written = readWholeNumbers(work.path("out.flac"));
  for (int& number : written)
    number /= 256;
  CHECK(written == expected);
  CHECK(render({work.path("in.wav"), work.path("out.flac"), "--on", "off", "-q"}).err == "");
}

TEST_CASE("a float file holds samples beyond full scale") {
  const Workspace work;
  const std::vector<double> samples = {1.5, -40.0, 0.0};
  writeSound(work.path("in.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_FLOAT, samples});
  const Outcome outcome = render({work.path("in.wav"), work.path("out.wav"), "--on", "off"});
  CHECK(outcome.err == "");
  CHECK(readSound(work.path("out.wav")).samples == samples);
}

TEST_CASE("two calls a second apart write the same bytes") {
  const Format formats[] = {{".wav", SF_FORMAT_WAV | SF_FORMAT_FLOAT},
                            {".wav", SF_FORMAT_WAV | SF_FORMAT_PCM_16},
                            {".aiff", SF_FORMAT_AIFF | SF_FORMAT_FLOAT},
                            {".flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16},
                            {".ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS}};
  const Workspace work;
  writeSound(work.path("in.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_FLOAT, noise(60000)});
  const auto renderAll = [&](const std::string& stem) {
    for (int i = 0; i < 5; ++i) {
      writeSound(work.path("in"), {44100, 1, formats[i].format, noise(60000)});
      REQUIRE(render({work.path("in"), work.path(stem + std::to_string(i)) + formats[i].extension}).status ==
              0);
    }
  };
  renderAll("first");
  std::this_thread::sleep_for(std::chrono::milliseconds(1100)); // chunks that carry the time tell seconds
  renderAll("second");
  for (int i = 0; i < 5; ++i) {
    CAPTURE(formats[i].extension);
    const std::string number = std::to_string(i) + formats[i].extension;
    CHECK(fileBytes(work.path("first" + number)) == fileBytes(work.path("second" + number)));
  }
}

TEST_CASE("a WAV file from a program that did not know its length is read to its end") {
  const Workspace work;
  writeSound(work.path("in.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, noise(3000)});
  const std::string bytes = fileBytes(work.path("in.wav"));
  REQUIRE(bytes.substr(36, 4) == "data");
  writeBytes(work.path("in.wav"), with(with(bytes, 40, "\xff\xff\xff\xff"), 4, "\xff\xff\xff\xff"));
  CHECK(render({work.path("in.wav"), work.path("out.wav"), "--on", "off"}).status == 0);
  CHECK(readSound(work.path("out.wav")).samples.size() == 3000);
}

TEST_CASE("types of their own codec are written at the rates that they know") {
  const Workspace work;
  writeSound(work.path("in.wav"), {44100, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, noise(3000)});
  const Outcome outcome = render({work.path("in.wav"), work.path("out.opus")});
  CHECK(outcome.status == 1);
  CHECK(outcome.err ==
        "treadshift-render: output '" + work.path("out.opus") +
            "': cannot be written: Opus only supports sample rates of 8000, 12000, 16000, 24000, and "
            "48000; use another type, such as .wav\n");
  CHECK(work.names() == std::vector<std::string>{"in.wav"});
  writeSound(work.path("in.wav"), {48000, 1, SF_FORMAT_WAV | SF_FORMAT_PCM_16, noise(48000)});
  const std::pair<const char*, int> types[] = {{"out.opus", SF_FORMAT_OGG | SF_FORMAT_OPUS},
                                               {"out.ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS},
                                               {"out.mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III}};
  for (const auto& row : types) {
    const auto name = row.first;
    const auto format = row.second;
    CAPTURE(name);
    CHECK(render({work.path("in.wav"), work.path(name), "--on", "off"}).err == "");
    const Sound out = readSound(work.path(name));
    CHECK(out.format == format);
    CHECK(out.samples.size() >= 48000);
    CHECK(render({work.path("in.wav"), work.path("again") + name, "--on", "off"}).status == 0);
    CHECK(fileBytes(work.path("again") + name) == fileBytes(work.path(name)));
  }
}

TEST_CASE("what decodes to floats is written as floats where it cannot be kept") {
  const Workspace work;
  for (const Format& format : {Format{".mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III},
                               Format{".opus", SF_FORMAT_OGG | SF_FORMAT_OPUS}}) {
    CAPTURE(format.extension);
    writeSound(work.path(name("in", format)), {48000, 1, format.format, noise(30000)});
    CHECK(render({work.path(name("in", format)), work.path("out.wav"), "--on", "off", "-q"}).status == 0);
    CHECK(readSound(work.path("out.wav")).format == (SF_FORMAT_WAV | SF_FORMAT_FLOAT));
    CHECK(readSound(work.path("out.wav")).samples == readSound(work.path(name("in", format))).samples);
  }
}

TEST_CASE("a sound too long for a type of 32-bit sizes is refused before it is rendered") {
  // An AU file of unknown length: 24 bytes of header and a hole of 5 GB.
  const Workspace work;
  const std::string header(".snd\0\0\0\x18\xff\xff\xff\xff\0\0\0\3\0\0\xac\x44\0\0\0\1", 24);
  writeBytes(work.path("in.au"), header);
  std::filesystem::resize_file(work.path("in.au"), 5000000000);
  const Outcome outcome = render({work.path("in.au"), work.path("out.aiff")});
  CHECK(outcome.status == 1);
  CHECK(outcome.err == "treadshift-render: output '" + work.path("out.aiff") +
                           "': the sound is too long for AIFF (4 GB); use .wav or .flac\n");
  CHECK(work.names() == std::vector<std::string>{"in.au"});
}
