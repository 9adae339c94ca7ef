// Fuzz target: recordings of any bytes, the formats that answer them, and what is written.
#include "fuzz/Check.h"
#include "fuzz/MemoryFile.h"
#include "fuzz/Refusal.h"
#include "fuzz/ScriptBytes.h"
#include "fuzz/SoundScript.h"
#include "fuzz/Target.h"
#include "render/sound/InputSound.h"
#include "render/sound/OggSerial.h"
#include "render/sound/SoundWriter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace {

constexpr std::int64_t kMostSamples = 1 << 18; // read from one recording
constexpr std::int64_t kFramesAtOnce = 64;
constexpr const char* kTypes[] = {"wav", "flac", "ogg", "opus", "mp3", "aiff", "au", "caf", "w64", "rf64"};
constexpr const char* kFormats[] = {"16", "24", "32", "float", "double"};
constexpr const char* kChannels[] = {"each", "left", "right", "mix"};

// Every type's answer to such a sound: a format or a refusal.
void chooseFormats(const SoundInfo& sound) {
  for (const char* type : kTypes) {
    try {
      const OutputFormat output = outputFormatFor("out", typeNamed(type), {}, sound);
      expect(!formatText(output.format).empty(), "a format has no name");
      expect(sound.frames <= mostFrames(output.format, sound.channels),
             "a format is too small for its sound");
    } catch (const Fault& fault) {
      checkRefusal(fault);
    }
  }
}

void readRecording(int choice, const std::uint8_t* data, std::size_t size) {
  static MemoryFile file;
  file.fill(data, size);
  const double tail = (choice & 0x40) != 0 ? 0.001 : 0.0;
  InputSound sound(file.name(), ChannelChoice(kChannels[choice >> 4 & 3]), tail);
  const SoundInfo& info = sound.info();
  expect(info.rateHz >= 1 && info.channels >= 1 && info.frames != 0, "a recording without sound is taken");
  chooseFormats(info);
  std::vector<double> samples(static_cast<std::size_t>(kFramesAtOnce) * info.channels);
  for (std::int64_t done = 0; done < kMostSamples;) {
    const std::int64_t frames = sound.read(samples.data(), kFramesAtOnce);
    const auto end = samples.begin() + frames * info.channels;
    expect(std::all_of(samples.begin(), end, [](double x) { return std::isfinite(x); }),
           "a recording's sample is no number");
    if (frames < kFramesAtOnce) return;
    done += frames * info.channels;
  }
}

void fixPages(const std::uint8_t* data, std::size_t size) {
  static MemoryFile file;
  file.fill(data, size);
  fixOggSerial(file.descriptor());
}

// What was written reads back with its length, and without loss as it was.
void checkWritten(const MemoryFile& file, const SoundInfo& info, const std::vector<double>& samples) {
  const bool isExact = (info.format & SF_FORMAT_SUBMASK) == SF_FORMAT_DOUBLE;
  const bool isLossless = isExact || wholeNumberBits(info.format) != 0;
  SoundReader reader(file.name());
  if (isLossless)
    expect(reader.info().frames == static_cast<std::int64_t>(samples.size()) / info.channels,
           "frames are lost");
  std::vector<double> got(samples.size());
  reader.read(got.data(), static_cast<std::int64_t>(got.size()) / info.channels);
  for (std::size_t i = 0; i < got.size() && isExact; ++i)
    expect(sameNumber(got[i], samples[i]), "a sample reads back as another one");
  for (std::size_t i = 0; i < got.size() && isLossless && !isExact; ++i)
    expect(std::abs(got[i]) <= 1.0, "a clipped sample is beyond full scale");
}

// The type comes from the first byte that is left, sound and its form from the rest.
void writeRecording(int choice, ScriptBytes& script) {
  SoundInfo info;
  info.rateHz = script.flag() ? 44100 : 8000;
  info.channels = 1 + script.below(3);
  info.frames = script.below(300);
  info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
  const char* const type = kTypes[script.byte() % std::size(kTypes)];
  const int bits = script.byte();
  const std::optional<int> wanted =
      bits % 6 == 5 ? std::nullopt : std::optional(sampleFormatNamed(kFormats[bits % 6]));
  info.format = outputFormatFor("out", typeNamed(type), wanted, info).format;
  std::vector<double> samples(static_cast<std::size_t>(info.frames) * info.channels);
  fillSound(script, samples.data(), static_cast<int>(samples.size()));

  MemoryFile file;
  SoundWriter writer(file, info, (choice & 0x10) != 0);
  writer.write(samples.data(), info.frames);
  expect(writer.clippedSamples() <= static_cast<std::int64_t>(samples.size()),
         "more is clipped than there is");
  writer.publish();
  if (info.frames > 0) checkWritten(file, info, samples);
}

void play(int choice, const std::uint8_t* data, std::size_t size) {
  ScriptBytes script(data, size);
  switch (choice & 3) {
  case 0:
    return fixPages(data, size);
  case 1:
    return writeRecording(choice, script);
  default:
    return readRecording(choice, data, size);
  }
}

} // namespace

// The first byte says what the others are.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  try {
    play(data[0], data + 1, size - 1);
  } catch (const Fault& fault) {
    checkRefusal(fault);
  }
  return 0;
}
