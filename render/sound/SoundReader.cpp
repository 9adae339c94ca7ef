#include "render/sound/SoundReader.h"

#include "render/sound/OpeningLock.h"
#include "render/text/Fault.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace {

constexpr char kSoundFileHint[] = "give a sound file, such as WAV, FLAC, OGG, MP3 or AIFF";

// Programs that write into a pipe do not know the length and put about the largest number in its place.
constexpr unsigned long kUnknownLengthBytes = 0x7fff0000;

std::string seconds(std::int64_t frames, int rateHz) {
  char text[40];
  std::snprintf(text, sizeof text, "%.3f s", static_cast<double>(frames) / rateHz);
  return text;
}

// Whether a WAV or AIFF header promises more bytes of sound than follow. libsndfile corrects the length
// silently and tells only its log.
bool promisesMore(SNDFILE* file) {
  char log[16384] = "";
  sf_command(file, SFC_GET_LOG_INFO, log, sizeof log);
  for (const char* chunk : {"\ndata : ", "\n SSND : "}) {
    const char* line = std::strstr(log, chunk);
    if (!line) continue;
    constexpr std::string_view kBetween = " (should be ";
    char* rest = nullptr;
    const unsigned long promised = std::strtoul(line + std::strlen(chunk), &rest, 10);
    if (!std::string_view(rest).starts_with(kBetween)) continue;
    return promised > std::strtoul(rest + kBetween.size(), nullptr, 10) && promised < kUnknownLengthBytes;
  }
  return false;
}

// A pipe's header tells the length, or a number that no sample of eight bytes or fewer can reach.
std::int64_t trustedFrames(const SF_INFO& info, bool seekable) {
  constexpr sf_count_t kLargestSampleBytes = 8;
  const bool isPlausible = info.frames <= static_cast<sf_count_t>(kUnknownLengthBytes) / kLargestSampleBytes /
                                              std::max(info.channels, 1);
  return seekable || isPlausible ? info.frames : -1;
}

} // namespace

SoundReader::SoundReader(const std::string& name) : path(name) {
  const SoundSource source = openSoundSource(path);
  seekable = source.seekable;
  const SF_INFO info = openFile(source.descriptor);
  sound = {info.samplerate, info.channels, trustedFrames(info, seekable), info.format};
  if (sound.rateHz < 1 || sound.channels < 1)
    fail("the header gives no sample rate or channels", kSoundFileHint);
  if (sound.frames == 0) fail("holds no sound", "give a recording");
  refuseCutShort();
}

SF_INFO SoundReader::openFile(int descriptor) {
  std::unique_lock<std::mutex> hold;
  if (seekable) hold = holdOpenings();
  SF_INFO info = {};
  file.reset(sf_open_fd(descriptor, SFM_READ, &info, SF_TRUE));
  if (file) return info;
  std::string reason = sf_strerror(nullptr);
  if (reason.ends_with('.')) reason.pop_back();
  fail("not a sound file that can be read (" + reason + ")", kSoundFileHint);
}

void SoundReader::refuseCutShort() const {
  if (seekable && promisesMore(file.get())) {
    fail("cut short: it ends after " + seconds(sound.frames, sound.rateHz) + ", its header promises more",
         "give the whole file");
  }
}

std::int64_t SoundReader::read(double* samples, std::int64_t frames) {
  const std::int64_t count = sf_readf_double(file.get(), samples, frames);
  framesRead += count;
  if (count == frames) return count;
  const bool endsEarly = sound.frames > 0 && framesRead < sound.frames;
  if (sf_error(file.get()) != SF_ERR_NO_ERROR || endsEarly) failDamaged();
  return count;
}

void SoundReader::failDamaged() const {
  const std::string length = sound.frames > 0 ? " of " + seconds(sound.frames, sound.rateHz) : "";
  fail("damaged or cut short after " + seconds(framesRead, sound.rateHz) + length, "give the whole file");
}

void SoundReader::fail(const std::string& wrong, const std::string& right) const {
  throw Fault(ExitStatus::couldNot, "input", path, wrong, right);
}
