#include "render/SoundFormat.h"

#include "render/Fault.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <sndfile.h>
#include <vector>

namespace {

struct Container {
  const char* name;
  int format;
  std::vector<std::string> extensions;
};

const std::vector<Container>& containers() {
  static const std::vector<Container> list = {
      {"WAV", SF_FORMAT_WAV, {".wav", ".wave"}},
      {"FLAC", SF_FORMAT_FLAC, {".flac"}},
      {"OGG", SF_FORMAT_OGG, {".ogg", ".oga"}},
      {"AIFF", SF_FORMAT_AIFF, {".aiff", ".aif", ".aifc"}},
  };
  return list;
}

std::string containerName(int container) {
  for (const Container& candidate : containers()) {
    if (candidate.format == container) return candidate.name;
  }
  return "";
}

std::string formatName(int sampleFormat) {
  SF_FORMAT_INFO info = {};
  info.format = sampleFormat;
  const bool known = sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof info) == 0 && info.name;
  return known ? info.name : "the input's sample format";
}

// Sample formats to try in turn, nearest first: the same; if it cannot be had, one that loses nothing, then
// those that lose least. Coded formats decode to what 16 bits hold, lossy ones of music to floats.
std::vector<int> nearestFirst(int sampleFormat) {
  switch (sampleFormat) {
  case SF_FORMAT_PCM_S8:
  case SF_FORMAT_PCM_U8:
    return {sampleFormat, SF_FORMAT_PCM_S8, SF_FORMAT_PCM_U8, SF_FORMAT_PCM_16, SF_FORMAT_VORBIS};
  case SF_FORMAT_PCM_24:
    return {SF_FORMAT_PCM_24, SF_FORMAT_PCM_32, SF_FORMAT_VORBIS};
  case SF_FORMAT_PCM_32:
    return {SF_FORMAT_PCM_32, SF_FORMAT_PCM_24, SF_FORMAT_VORBIS};
  case SF_FORMAT_DOUBLE:
    return {SF_FORMAT_DOUBLE, SF_FORMAT_FLOAT, SF_FORMAT_PCM_24, SF_FORMAT_VORBIS};
  case SF_FORMAT_FLOAT:
  case SF_FORMAT_VORBIS:
  case SF_FORMAT_OPUS:
  case SF_FORMAT_MPEG_LAYER_I:
  case SF_FORMAT_MPEG_LAYER_II:
  case SF_FORMAT_MPEG_LAYER_III:
    return {sampleFormat, SF_FORMAT_FLOAT, SF_FORMAT_PCM_24, SF_FORMAT_VORBIS};
  default:
    return {sampleFormat, SF_FORMAT_PCM_16, SF_FORMAT_VORBIS};
  }
}

bool canHold(int format, const SoundInfo& input) {
  SF_INFO info = {};
  info.samplerate = input.rateHz;
  info.channels = input.channels;
  info.format = format;
  return sf_format_check(&info) != 0;
}

// The variants of WAV that carry more than the plain one stay what they are.
int keptVariant(int container, int inputFormat) {
  const int inputContainer = inputFormat & SF_FORMAT_TYPEMASK;
  const bool isVariant = inputContainer == SF_FORMAT_WAVEX || inputContainer == SF_FORMAT_RF64;
  return container == SF_FORMAT_WAV && isVariant ? inputContainer : container;
}

std::int64_t bytesPerSample(int format) {
  switch (format & SF_FORMAT_SUBMASK) {
  case SF_FORMAT_DOUBLE:
    return 8;
  case SF_FORMAT_FLOAT:
    return 4;
  default:
    return (wholeNumberBits(format) + 7) / 8;
  }
}

// Sizes in WAV and AIFF headers are 32-bit numbers of bytes; the headers need a little of that.
bool isTooLongFor32Bits(int format, const SoundInfo& input) {
  constexpr std::int64_t kLargestBytes = 0xffffffffLL - 0x10000;
  const std::int64_t bytesPerFrame = bytesPerSample(format) * input.channels;
  return bytesPerFrame > 0 && input.frames > kLargestBytes / bytesPerFrame;
}

void makeRoom(OutputFormat& output, const std::string& path, const SoundInfo& input) {
  const int container = output.format & SF_FORMAT_TYPEMASK;
  const bool has32BitSizes =
      container == SF_FORMAT_WAV || container == SF_FORMAT_WAVEX || container == SF_FORMAT_AIFF;
  if (!has32BitSizes || !isTooLongFor32Bits(output.format, input)) return;
  if (container == SF_FORMAT_AIFF) {
    throw Fault(ExitStatus::couldNot, "output", path, "the sound is too long for AIFF (4 GB)",
                "use .wav or .flac");
  }
  output.format = SF_FORMAT_RF64 | (output.format & SF_FORMAT_SUBMASK);
  output.notice += std::string(output.notice.empty() ? "" : "; ") +
                   "longer than a plain WAV can be (4 GB), written as RF64";
}

} // namespace

int containerFor(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
  for (const Container& container : containers()) {
    const auto& known = container.extensions;
    if (std::find(known.begin(), known.end(), extension) != known.end()) return container.format;
  }
  throw Fault(ExitStatus::wrongCall, "output", path, "the name's extension names no sound format",
              "use .wav, .flac, .ogg or .aiff");
}

OutputFormat outputFormatFor(const std::string& path, int container, const SoundInfo& input) {
  const int wanted = input.format & SF_FORMAT_SUBMASK;
  const int variant = keptVariant(container, input.format);
  for (int sampleFormat : nearestFirst(wanted)) {
    if (!canHold(variant | sampleFormat, input)) continue;
    OutputFormat output = {variant | sampleFormat, ""};
    if (sampleFormat != wanted) {
      output.notice = containerName(container) + " does not hold " + formatName(wanted) + "; written as " +
                      formatName(sampleFormat);
    }
    makeRoom(output, path, input);
    return output;
  }
  throw Fault(ExitStatus::couldNot, "output", path,
              containerName(container) + " cannot hold " + std::to_string(input.channels) + " channels at " +
                  std::to_string(input.rateHz) + " Hz",
              "use .wav");
}

int wholeNumberBits(int format) {
  switch (format & SF_FORMAT_SUBMASK) {
  case SF_FORMAT_PCM_S8:
  case SF_FORMAT_PCM_U8:
    return 8;
  case SF_FORMAT_PCM_24:
    return 24;
  case SF_FORMAT_PCM_32:
    return 32;
  case SF_FORMAT_FLOAT:
  case SF_FORMAT_DOUBLE:
  case SF_FORMAT_VORBIS:
  case SF_FORMAT_OPUS:
    return 0;
  default:
    return 16;
  }
}
