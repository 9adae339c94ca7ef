#include "render/sound/SndfileDecoder.h"

#include "render/sound/OpeningLock.h"
#include "render/sound/SoundKind.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace {

constexpr char kSoundFileHint[] = "give a sound file, such as WAV, FLAC, OGG, MP3 or AIFF";

// A pipe's header tells the length, or a number that no sample of eight bytes or fewer can reach.
constexpr sf_count_t kUnknownLengthBytes = 0x7f000000;
constexpr sf_count_t kLargestSampleBytes = 8;

SoundBytes& bytesOf(void* self) { return *static_cast<SoundBytes*>(self); }

sf_count_t lengthOf(void* self) { return bytesOf(self).size(); }

sf_count_t moveTo(sf_count_t place, int whence, void* self) {
  SoundBytes& bytes = bytesOf(self);
  if (whence == SEEK_CUR) place += bytes.position();
  if (whence == SEEK_END) place += bytes.size();
  if (place < 0) return -1;
  bytes.moveTo(place);
  return place;
}

sf_count_t readBytes(void* part, sf_count_t count, void* self) {
  return static_cast<sf_count_t>(
      bytesOf(self).read(part, static_cast<std::size_t>(std::max<sf_count_t>(count, 0))));
}

sf_count_t writeNothing(const void*, sf_count_t, void*) { return 0; }

sf_count_t positionIn(void* self) { return bytesOf(self).position(); }

// Whether the library noticed that a file of a type of its own ends before its header says. It corrects the
// length silently and tells only its log.
bool noticedMore(SNDFILE* file, std::int64_t frames) {
  char log[16384] = "";
  sf_command(file, SFC_GET_LOG_INFO, log, sizeof log);
  if (std::strstr(log, "truncated") || std::strstr(log, " should be ")) return true;
  for (const char* mark : {"Frames       : ", "Frames      : "}) // MPC2000, AVR
    if (const char* line = std::strstr(log, mark))
      return std::strtoll(line + std::strlen(mark), nullptr, 10) > frames;
  return false;
}

bool beginsSound(const std::string& bytes, std::size_t place) {
  constexpr const char* kMarks[] = {"RIFF", "RIFX", "RF64", "BW64", ".snd"};
  return std::ranges::any_of(
      kMarks, [&](const char* mark) { return place < bytes.size() && bytes.compare(place, 4, mark) == 0; });
}

SF_VIRTUAL_IO kOperations = {lengthOf, moveTo, readBytes, writeNothing, positionIn};

} // namespace

bool sndfileKnows(const SoundBytes& bytes) {
  SoundBytes start(bytes);
  SF_INFO info = {};
  const auto hold = holdOpenings();
  const std::unique_ptr<SNDFILE, SoundFileCloser> file(
      sf_open_virtual(&kOperations, SFM_READ, &info, &start));
  return file || sf_error(nullptr) != SF_ERR_UNRECOGNISED_FORMAT;
}

SndfileDecoder::SndfileDecoder(const std::string& name, const SoundBytes& recording)
    : SoundDecoder(name), bytes(recording) {
  const ContainerHeader header = readContainerHeader(bytes);
  refuseSecondSound(header);
  const bool isCutShort = header.soundBytes > bytes.size() - header.soundBegin;
  {
    const auto hold = holdOpenings();
    SF_INFO info = {};
    file.reset(sf_open_virtual(&kOperations, SFM_READ, &info, &bytes));
    if (!file && isCutShort) fail("cut short: its header promises more", "give the whole file");
    refuseUnopened();
    takeInfo(info);
  }
  if (sound.frames == SF_COUNT_MAX) sound.frames = -1; // not told
  if (isCutShort || (header.soundBegin == 0 && noticedMore(file.get(), sound.frames)))
    failCutShort(sound.frames);
}

SndfileDecoder::SndfileDecoder(const std::string& name, int descriptor)
    : SoundDecoder(name), pipe(descriptor) {
  SF_INFO info = {};
  file.reset(sf_open_fd(pipe, SFM_READ, &info, SF_FALSE));
  refuseUnopened();
  takeInfo(info);
  if (sound.frames > kUnknownLengthBytes / kLargestSampleBytes / std::max(sound.channels, 1))
    sound.frames = -1;
}

// The library has one sentence for all that it cannot make sense of, which tells of a missing file.
void SndfileDecoder::refuseUnopened() const {
  if (file) return;
  if (sf_error(nullptr) == SF_ERR_UNRECOGNISED_FORMAT) refuseForeign(path, false);
  std::string reason = sf_strerror(nullptr);
  if (reason.ends_with('.')) reason.pop_back();
  if (reason.starts_with("File does not exist")) reason = "its header is damaged or cut short";
  fail("not a sound file that can be read (" + reason + ")", kSoundFileHint);
}

void SndfileDecoder::takeInfo(const SF_INFO& info) {
  sound = {info.samplerate, info.channels, info.frames, info.format};
}

void SndfileDecoder::refuseSecondSound(const ContainerHeader& header) const {
  SoundBytes samples = bytes.part(std::min(header.soundBegin, bytes.size()), bytes.size());
  if (header.soundBegin > 0 && readContainerHeader(samples).soundBegin > 0)
    fail("damaged: a second header stands where its sound should begin", "write it into a file, not a pipe");
  if (header.end < 0 || header.end >= bytes.size()) return;
  SoundBytes rest = bytes.part(header.end, bytes.size());
  if (readContainerHeader(rest).soundBegin > 0) failJoined();
}

std::int64_t SndfileDecoder::read(double* samples, std::int64_t frames) {
  // The library takes more from a pipe than belongs to the sound when it is asked for more.
  const std::int64_t most = sound.frames > 0 ? std::min(frames, sound.frames - framesRead) : frames;
  const std::int64_t count = sf_readf_double(file.get(), samples, most);
  framesRead += count;
  if (count == frames) return count;
  const bool endsEarly = sound.frames > 0 && framesRead < sound.frames;
  if (sf_error(file.get()) != SF_ERR_NO_ERROR || endsEarly || bytes.error() != 0) failDamaged(framesRead);
  if (pipe >= 0) refuseSecondInPipe();
  return count;
}

// What the pipe brings behind the sound: nothing, or chunks that tell about it, as far as can be seen.
void SndfileDecoder::refuseSecondInPipe() const {
  std::string rest(65536, '\0');
  std::size_t length = 0;
  for (ssize_t count = 1; count > 0 && length<rest.size(); length += count> 0 ? count : 0)
    count = ::read(pipe, rest.data() + length, rest.size() - length);
  rest.resize(length);
  if (beginsSound(rest, 1)) failJoined(); // behind an odd number of bytes
  for (std::size_t place = 0; place + 8 <= rest.size();) {
    if (beginsSound(rest, place)) failJoined();
    std::size_t size = 0;
    for (std::size_t i = place + 8; i-- > place + 4;)
      size = size << 8 | static_cast<unsigned char>(rest[i]);
    place += 8 + size + size % 2;
  }
}
