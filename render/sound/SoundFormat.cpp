#include "render/sound/SoundFormat.h"

#include "render/text/Fault.h"
#include "render/text/Text.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <sndfile.h>

namespace {

const std::vector<SoundType>& types() {
  static const std::vector<SoundType> list = {
      {"wav", SF_FORMAT_WAV, 0, {".wav", ".wave"}, false},
      {"flac", SF_FORMAT_FLAC, 0, {".flac"}, false},
      {"ogg", SF_FORMAT_OGG, SF_FORMAT_VORBIS, {".ogg", ".oga"}, false},
      {"opus", SF_FORMAT_OGG, SF_FORMAT_OPUS, {".opus"}, false},
      {"mp3", SF_FORMAT_MPEG, SF_FORMAT_MPEG_LAYER_III, {".mp3"}, false},
      {"aiff", SF_FORMAT_AIFF, 0, {".aiff", ".aif", ".aifc"}, false},
      {"au", SF_FORMAT_AU, 0, {".au", ".snd"}, true},
      {"caf", SF_FORMAT_CAF, 0, {".caf"}, false},
      {"w64", SF_FORMAT_W64, 0, {".w64"}, false},
      {"rf64", SF_FORMAT_RF64, 0, {".rf64"}, false},
  };
  return list;
}

// ".wav, .flac, ... or .rf64" or the names, for messages.
template <class Word> std::string choice(Word word) {
  std::string list;
  for (const SoundType& type : types()) {
    list += list.empty() ? "" : &type == &types().back() ? " or " : ", ";
    list += word(type);
  }
  return list;
}

std::string libraryName(int format) {
  SF_FORMAT_INFO info = {};
  info.format = format;
  const bool known = sf_command(nullptr, SFC_GET_FORMAT_INFO, &info, sizeof info) == 0 && info.name;
  return known ? info.name : "";
}

std::string sampleFormatText(int format) {
  const std::string name = libraryName(format & SF_FORMAT_SUBMASK);
  return name.empty() ? "the input's sample format" : name;
}

// Sample formats to try in turn, nearest first: the same; if it cannot be had, one that loses nothing, then
// those that lose least. Lossy formats of music decode to floats, other coded ones to whole numbers.
std::vector<int> nearestFirst(int sampleFormat) {
  switch (sampleFormat) {
  case SF_FORMAT_PCM_S8:
  case SF_FORMAT_PCM_U8:
    return {sampleFormat, SF_FORMAT_PCM_S8, SF_FORMAT_PCM_U8, SF_FORMAT_PCM_16};
  case SF_FORMAT_DOUBLE:
    return {SF_FORMAT_DOUBLE, SF_FORMAT_FLOAT, SF_FORMAT_PCM_24};
  default:
    break;
  }
  switch (wholeNumberBits(sampleFormat)) {
  case 0:
    return {SF_FORMAT_FLOAT, SF_FORMAT_PCM_24};
  case 20:
  case 24:
    return {sampleFormat, SF_FORMAT_PCM_24, SF_FORMAT_PCM_32};
  case 32:
    return {sampleFormat, SF_FORMAT_PCM_32, SF_FORMAT_PCM_24};
  default:
    return {sampleFormat, SF_FORMAT_PCM_16};
  }
}

std::vector<int> candidates(const SoundType& type, int soundFormat) {
  const int wanted = soundFormat & SF_FORMAT_SUBMASK;
  if (type.codec == 0) return nearestFirst(wanted);
  const bool sameContainer = (soundFormat & SF_FORMAT_TYPEMASK) == type.container;
  return sameContainer ? std::vector<int>{wanted, type.codec} : std::vector<int>{type.codec};
}

bool canHold(int format, const SoundInfo& sound) {
  SF_INFO info = {};
  info.samplerate = sound.rateHz;
  info.channels = sound.channels;
  info.format = format;
  return sf_format_check(&info) != 0;
}

// The variants of WAV that carry more than the plain one stay what they are.
int keptVariant(int container, int soundFormat) {
  const int soundContainer = soundFormat & SF_FORMAT_TYPEMASK;
  const bool isVariant = soundContainer == SF_FORMAT_WAVEX || soundContainer == SF_FORMAT_RF64;
  return container == SF_FORMAT_WAV && isVariant ? soundContainer : container;
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

void makeRoom(OutputFormat& output, const std::string& path, const SoundInfo& sound) {
  if (sound.frames <= mostFrames(output.format, sound.channels)) return;
  if ((output.format & SF_FORMAT_TYPEMASK) == SF_FORMAT_AIFF) {
    throw Fault(ExitStatus::couldNot, "output", path, "the sound is too long for AIFF (4 GB)",
                "use .wav or .flac");
  }
  output.format = SF_FORMAT_RF64 | (output.format & SF_FORMAT_SUBMASK);
  output.notice += std::string(output.notice.empty() ? "" : "; ") +
                   "longer than a plain WAV can be (4 GB), written as RF64";
}

OutputFormat wantedFormat(const std::string& path, const SoundType& type, int bits, const SoundInfo& sound) {
  const int format = keptVariant(type.container, sound.format) | bits;
  if (type.codec != 0 || !canHold(format, sound)) {
    throw Fault(ExitStatus::wrongCall, "output", path,
                upperCase(type.name) + " does not hold " + sampleFormatText(bits),
                type.codec != 0 ? "leave out --bits" : "give other --bits, or use .wav");
  }
  return {format, ""};
}

// A type of one codec changes the sample format by its nature; that needs no word.
OutputFormat nearestFormat(const std::string& path, const SoundType& type, const SoundInfo& sound) {
  const int wanted = sound.format & SF_FORMAT_SUBMASK;
  const int container = keptVariant(type.container, sound.format);
  for (int sampleFormat : candidates(type, sound.format)) {
    if (!canHold(container | sampleFormat, sound)) continue;
    OutputFormat output = {container | sampleFormat, ""};
    if (sampleFormat != wanted && type.codec == 0) {
      output.notice = upperCase(type.name) + " does not hold " + sampleFormatText(wanted) + "; written as " +
                      sampleFormatText(sampleFormat);
    }
    return output;
  }
  throw Fault(ExitStatus::couldNot, "output", path,
              upperCase(type.name) + " cannot hold " +
                  counted(sound.channels, "channel at ", "channels at ") + std::to_string(sound.rateHz) +
                  " Hz",
              "use .wav");
}

} // namespace

const SoundType* typeOfName(const std::string& path) {
  const std::string extension = lowerCase(std::filesystem::path(path).extension().string());
  for (const SoundType& type : types()) {
    const auto& known = type.extensions;
    if (std::find(known.begin(), known.end(), extension) != known.end()) return &type;
  }
  return nullptr;
}

const SoundType& typeFor(const std::string& path) {
  if (const SoundType* type = typeOfName(path)) return *type;
  throw Fault(ExitStatus::wrongCall, "output", path, "the name's extension names no sound format",
              "use " + choice([](const SoundType& type) { return type.extensions.front(); }));
}

const SoundType& typeNamed(const std::string& text) {
  for (const SoundType& type : types()) {
    if (type.name == lowerCase(text)) return type;
  }
  throw Fault(ExitStatus::wrongCall, "--type", text, "no such type",
              "give " + choice([](const SoundType& type) { return type.name; }));
}

int sampleFormatNamed(const std::string& text) {
  constexpr std::pair<const char*, int> kNames[] = {{"16", SF_FORMAT_PCM_16},
                                                    {"24", SF_FORMAT_PCM_24},
                                                    {"32", SF_FORMAT_PCM_32},
                                                    {"float", SF_FORMAT_FLOAT},
                                                    {"double", SF_FORMAT_DOUBLE}};
  for (const auto& [name, format] : kNames) {
    if (text == name) return format;
  }
  throw Fault(ExitStatus::wrongCall, "--bits", text, "no such sample format",
              "give 16, 24 or 32 for whole numbers, float or double");
}

OutputFormat outputFormatFor(const std::string& path, const SoundType& type, std::optional<int> bits,
                             const SoundInfo& sound) {
  OutputFormat output = bits ? wantedFormat(path, type, *bits, sound) : nearestFormat(path, type, sound);
  makeRoom(output, path, sound);
  return output;
}

int wholeNumberBits(int format) {
  switch (format & SF_FORMAT_SUBMASK) {
  case SF_FORMAT_PCM_S8:
  case SF_FORMAT_PCM_U8:
    return 8;
  case SF_FORMAT_ALAC_20:
    return 20;
  case SF_FORMAT_PCM_24:
  case SF_FORMAT_ALAC_24:
  case SF_FORMAT_DWVW_24:
    return 24;
  case SF_FORMAT_PCM_32:
  case SF_FORMAT_ALAC_32:
    return 32;
  case SF_FORMAT_FLOAT:
  case SF_FORMAT_DOUBLE:
  case SF_FORMAT_VORBIS:
  case SF_FORMAT_OPUS:
  case SF_FORMAT_MPEG_LAYER_I:
  case SF_FORMAT_MPEG_LAYER_II:
  case SF_FORMAT_MPEG_LAYER_III:
    return 0;
  default:
    return 16;
  }
}

// Sizes in WAV and AIFF headers are 32-bit numbers of bytes; the headers need a little of that.
std::int64_t mostFrames(int format, int channels) {
  constexpr std::int64_t kLargestBytes = 0xffffffffLL - 0x10000;
  const int container = format & SF_FORMAT_TYPEMASK;
  const bool has32BitSizes =
      container == SF_FORMAT_WAV || container == SF_FORMAT_WAVEX || container == SF_FORMAT_AIFF;
  const std::int64_t bytesPerFrame = bytesPerSample(format) * channels;
  return has32BitSizes && bytesPerFrame > 0 ? kLargestBytes / bytesPerFrame
                                            : std::numeric_limits<std::int64_t>::max();
}

std::string formatText(int format) {
  for (const SoundType& type : types()) {
    const bool isThis = type.container == (format & SF_FORMAT_TYPEMASK) &&
                        (type.codec == 0 || type.codec == (format & SF_FORMAT_SUBMASK));
    if (isThis) return upperCase(type.name) + ", " + sampleFormatText(format);
  }
  return libraryName(format & SF_FORMAT_TYPEMASK) + ", " + sampleFormatText(format);
}
